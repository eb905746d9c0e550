#include "examples/console/pages/LogPage.h"

#include "gui/log/Log.h"

#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// The window shows the end of a log that may have grown for weeks.
constexpr qint64 mostBytesShown = 64 * 1024;

} // namespace

LogPage::LogPage(QWidget *parent)
    : QWidget(parent)
{
    auto *heading = new QLabel(tr("Log"), this);
    QFont font = heading->font();
    font.setPointSizeF(font.pointSizeF() * 1.5);
    font.setBold(true);
    heading->setFont(font);

    m_path = new QLabel(filePath(), this);
    m_path->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);

    auto *write = new QPushButton(tr("&Write a Record"), this);
    write->setObjectName(QStringLiteral("writeRecord"));
    connect(write, &QPushButton::clicked, this, &LogPage::writeRecord);
    auto *move = new QPushButton(tr("&Move the File Away"), this);
    move->setObjectName(QStringLiteral("moveFileAway"));
    move->setToolTip(tr("As a log rotation does; the next record makes a new file within a second"));
    connect(move, &QPushButton::clicked, this, &LogPage::moveFileAway);

    auto *verbosity = new QSpinBox(this);
    verbosity->setObjectName(QStringLiteral("verbosity"));
    verbosity->setRange(0, 4);
    verbosity->setValue(KovGui::logVerbosity());
    connect(verbosity, QOverload<int>::of(&QSpinBox::valueChanged), this, &KovGui::setLogVerbosity);
    auto *verbosityLabel = new QLabel(tr("&Verbosity:"), this);
    verbosityLabel->setBuddy(verbosity);

    m_text = new QPlainTextEdit(this);
    m_text->setObjectName(QStringLiteral("logText"));
    m_text->setAccessibleName(tr("The end of the log file"));
    m_text->setReadOnly(true);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->setMaximumBlockCount(2000);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(write);
    buttons->addWidget(move);
    buttons->addStretch();
    buttons->addWidget(verbosityLabel);
    buttons->addWidget(verbosity);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 14, 18, 14);
    layout->setSpacing(10);
    layout->addWidget(heading);
    layout->addWidget(m_path);
    layout->addLayout(buttons);
    layout->addWidget(m_text, 1);

    auto *timer = new QTimer(this);
    timer->setObjectName(QStringLiteral("refreshTimer"));
    connect(timer, &QTimer::timeout, this, &LogPage::refresh);
    timer->start(500);
}

QString LogPage::filePath() const
{
    return QString::fromUtf8(KovGui::logFilePath());
}

QString LogPage::shownText() const
{
    return m_text->toPlainText();
}

void LogPage::refresh()
{
    QFile file(filePath());
    m_path->setText(filePath());
    if (!file.open(QIODevice::ReadOnly))
        return;
    // A file that is shorter than what was read is a new one.
    if (file.size() < m_read)
        m_read = 0;
    if (file.size() == m_read)
        return;
    file.seek(qMax(m_read, file.size() - mostBytesShown));
    const QByteArray added = file.readAll();
    m_read = file.pos();
    m_text->moveCursor(QTextCursor::End);
    m_text->insertPlainText(QString::fromUtf8(added));
    m_text->verticalScrollBar()->setValue(m_text->verticalScrollBar()->maximum());
}

void LogPage::writeRecord()
{
    KovGui::log("[CONSOLE]", "console", 0, "A record written by hand.");
    refresh();
}

bool LogPage::moveFileAway()
{
    const QString path = filePath();
    QFile::remove(path + QStringLiteral(".old"));
    const bool moved = QFile::rename(path, path + QStringLiteral(".old"));
    if (moved)
        m_read = 0;
    return moved;
}
