#include "gui/messages/box/CDetailsDialog.h"

#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QVBoxLayout>

namespace {

constexpr int initialColumns = 72;
constexpr int initialLines = 16;

} // namespace

CDetailsDialog::CDetailsDialog(const QString &details, QWidget *parent, Qt::WindowFlags flags,
                               CustomWindowFlags customFlags)
    : CBaseDialog(parent, flags, customFlags)
{
    setObjectName(QStringLiteral("CDetailsDialog"));
    setWindowTitle(tr("Details"));
    setSizeGripEnabled(true);

    auto *text = new QPlainTextEdit(details, this);
    text->setObjectName(QStringLiteral("m_txtDetails"));
    text->setAccessibleName(tr("Details"));
    text->setReadOnly(true);
    // To look for places where a word may be broken takes time by the square of its length.
    static const QRegularExpression endlessWord(QStringLiteral("\\S{1000}"));
    if (details.contains(endlessWord))
        text->setWordWrapMode(QTextOption::WrapAnywhere);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    // Otherwise Tab could not leave the text.
    text->setTabChangesFocus(true);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->setObjectName(QStringLiteral("m_bbButtons"));
    QPushButton *close = buttons->button(QDialogButtonBox::Close);
    close->setObjectName(QStringLiteral("m_pbClose"));
    close->setDefault(true);
    close->setFocus();
    connect(close, &QPushButton::clicked, this, &QDialog::accept);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(buttons);
    const QFontMetrics metrics = text->fontMetrics();
    const QSize wanted(metrics.averageCharWidth() * initialColumns, metrics.lineSpacing() * initialLines);
    resize(wanted.boundedTo(screen()->availableGeometry().size() * 9 / 10));
}

CDetailsDialog::~CDetailsDialog() = default;
