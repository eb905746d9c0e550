#include "gui/messages/box/CMoreOptionsLabel.h"

#include <QStyleOption>
#include <QStylePainter>

namespace {

constexpr int focusMargin = 2;

}

CMoreOptionsLabel::CMoreOptionsLabel(QWidget *parent)
    : QToolButton(parent)
{
    setText(tr("More Options"));
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QToolButton::toggled, this, &CMoreOptionsLabel::showState);
    showState();
}

CMoreOptionsLabel::~CMoreOptionsLabel() = default;

QWidget *CMoreOptionsLabel::optionsArea() const
{
    return m_area;
}

void CMoreOptionsLabel::setOptionsArea(QWidget *area)
{
    m_area = area;
    showState();
}

QSize CMoreOptionsLabel::sizeHint() const
{
    const QSize text = fontMetrics().size(Qt::TextShowMnemonic, this->text());
    const int height = qMax(text.height(), style()->pixelMetric(QStyle::PM_IndicatorHeight, nullptr, this));
    return {textIndent() + text.width() + 2 * focusMargin, height + 2 * focusMargin};
}

QSize CMoreOptionsLabel::minimumSizeHint() const
{
    return sizeHint();
}

int CMoreOptionsLabel::textIndent() const
{
    // As a check box does, because it stands in one column with them.
    return style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this)
           + style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, this);
}

void CMoreOptionsLabel::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    const QRect whole = rect();
    const int indicator = style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this);

    QStyleOption arrow = option;
    arrow.rect = QStyle::visualRect(layoutDirection(), whole, QRect(0, 0, indicator, height()));
    const QStyle::PrimitiveElement collapsed
        = isRightToLeft() ? QStyle::PE_IndicatorArrowLeft : QStyle::PE_IndicatorArrowRight;
    painter.drawPrimitive(isChecked() ? QStyle::PE_IndicatorArrowDown : collapsed, arrow);

    const QRect text = QStyle::visualRect(layoutDirection(), whole, whole.adjusted(textIndent(), 0, 0, 0));
    const int alignment = int(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter));
    painter.drawItemText(text, alignment | Qt::TextShowMnemonic, palette(), isEnabled(), this->text(),
                         QPalette::WindowText);

    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = text;
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }
}

void CMoreOptionsLabel::showState()
{
    if (m_area)
        m_area->setVisible(isChecked());
}
