#include "examples/console/pages/ConsolePage.h"

#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTime>
#include <QVBoxLayout>

ConsolePage::ConsolePage(const QString &title, QWidget *parent)
    : QWidget(parent)
    , m_area(new QWidget(this))
    , m_events(new QPlainTextEdit(this))
{
    auto *heading = new QLabel(title, this);
    QFont font = heading->font();
    font.setPointSizeF(font.pointSizeF() * 1.5);
    font.setBold(true);
    heading->setFont(font);

    m_events->setReadOnly(true);
    m_events->setObjectName(QStringLiteral("events"));
    m_events->setAccessibleName(tr("What happened"));
    m_events->setPlaceholderText(tr("What happens is listed here."));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 14, 18, 14);
    layout->setSpacing(10);
    layout->addWidget(heading);
    layout->addWidget(m_area);
    layout->addWidget(m_events, 1);
}

QListWidget *ConsolePage::createCodeList(const QList<QPair<QString, int>> &entries,
                                         const std::function<void(int code)> &action)
{
    auto *list = new QListWidget(m_area);
    for (const auto &[text, code] : entries)
        (new QListWidgetItem(text, list))->setData(Qt::UserRole, code);
    list->setCurrentRow(0);
    list->setFixedHeight(list->sizeHintForRow(0) * entries.size() + 2 * list->frameWidth() + 4);
    connect(list, &QListWidget::itemActivated, this, [list, action] { action(chosenCode(list)); });
    return list;
}

int ConsolePage::chosenCode(const QListWidget *list)
{
    return list->currentItem()->data(Qt::UserRole).toInt();
}

void ConsolePage::report(const QString &line)
{
    m_lastEvent = line;
    m_events->appendPlainText(QTime::currentTime().toString(QStringLiteral("HH:mm:ss  ")) + line);
    Q_EMIT reported(line);
}
