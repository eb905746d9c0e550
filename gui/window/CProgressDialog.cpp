#include "gui/window/CProgressDialog.h"

#include "gui/window/ProgressBar_p.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

class CProgressDialog::Private
{
public:
    explicit Private(CProgressDialog *dialog);

    QLabel *const label;
    QProgressBar *const bar;
    QDialogButtonBox *const buttons;
    QPushButton *const cancelButton;
    QSpacerItem *const stretch;
    int value = 0;
    bool canceled = false;
};

CProgressDialog::Private::Private(CProgressDialog *dialog)
    : label(new QLabel(dialog))
    , bar(new ProgressBar(dialog))
    , buttons(new QDialogButtonBox(dialog))
    , cancelButton(buttons->addButton(QDialogButtonBox::Cancel))
    , stretch(new QSpacerItem(0, 0, QSizePolicy::Minimum, QSizePolicy::Expanding))
{
    label->setObjectName(QStringLiteral("m_lblText"));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeading | Qt::AlignTop);
    label->setMinimumWidth(QFontMetrics(label->font()).averageCharWidth() * 50);
    bar->setObjectName(QStringLiteral("m_prbProgress"));
    bar->setAccessibleName(CProgressDialog::tr("Progress"));
    bar->setRange(0, 100);
    bar->setValue(0);
    buttons->setObjectName(QStringLiteral("m_bbButtons"));
    cancelButton->setObjectName(QStringLiteral("m_pbCancel"));

    auto *layout = new QVBoxLayout(dialog);
    layout->addWidget(label);
    layout->addWidget(bar);
    layout->addItem(stretch);
    layout->addWidget(buttons);
}

CProgressDialog::CProgressDialog(QWidget *parent, Qt::WindowFlags flags, CustomWindowFlags customFlags)
    : CBaseDialog(parent, flags, customFlags)
    , d(new Private(this))
{
    setObjectName(QStringLiteral("CProgressDialog"));
    connect(d->cancelButton, &QPushButton::clicked, this, &CProgressDialog::cancel);
}

CProgressDialog::~CProgressDialog() = default;

QString CProgressDialog::labelText() const
{
    return d->label->text();
}

void CProgressDialog::setLabelText(const QString &text)
{
    d->label->setText(text);
    d->bar->setAccessibleDescription(text);
}

void CProgressDialog::setRange(int minimum, int maximum)
{
    d->bar->setRange(minimum, qMax(minimum, maximum));
    setValue(d->value);
}

int CProgressDialog::minimum() const
{
    return d->bar->minimum();
}

int CProgressDialog::maximum() const
{
    return d->bar->maximum();
}

int CProgressDialog::value() const
{
    return d->value;
}

void CProgressDialog::setCancelButtonVisible(bool visible)
{
    d->buttons->setVisible(visible);
    // A window that can stretch is given a height of its own, which would look like a row without buttons.
    d->stretch->changeSize(0, 0, QSizePolicy::Minimum,
                           visible ? QSizePolicy::Expanding : QSizePolicy::Minimum);
    layout()->invalidate();
}

bool CProgressDialog::isCancelButtonVisible() const
{
    return !d->buttons->isHidden();
}

bool CProgressDialog::wasCanceled() const
{
    return d->canceled;
}

void CProgressDialog::reset()
{
    d->canceled = false;
    d->cancelButton->setEnabled(true);
    setValue(minimum());
}

void CProgressDialog::setValue(int value)
{
    const int inside = qBound(minimum(), value, maximum());
    d->bar->setValue(inside);
    if (inside == d->value)
        return;
    d->value = inside;
    Q_EMIT valueChanged(inside);
}

void CProgressDialog::cancel()
{
    if (d->canceled)
        return;
    d->canceled = true;
    d->cancelButton->setEnabled(false);
    Q_EMIT canceled();
}

void CProgressDialog::reject()
{
    if (isCancelButtonVisible())
        cancel();
}

void CProgressDialog::closeEvent(QCloseEvent *event)
{
    // Only the user's close is a wish to cancel; the owner's own close(), and that of a session that ends, is
    // not.
    if (!event->spontaneous()) {
        QWidget::closeEvent(event);
        return;
    }
    event->ignore();
    reject();
}
