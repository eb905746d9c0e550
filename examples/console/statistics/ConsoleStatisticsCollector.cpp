#include "examples/console/statistics/ConsoleStatisticsCollector.h"

#include "gui/messages/CMessageManager.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>
#include <QTimer>

ConsoleStatisticsCollector::ConsoleStatisticsCollector(QObject *parent)
    : CCepStatisticsCollector(parent)
{
    connect(CMessageManager::instance(), &CMessageManager::messageClosed, this, [this] {
        ++m_messages;
        Q_EMIT dataChanged();
    });
}

void ConsoleStatisticsCollector::startCollecting()
{
    QTimer::singleShot(0, this, [this] { Q_EMIT collected(data()); });
}

QString ConsoleStatisticsCollector::data() const
{
    QJsonObject pages;
    for (auto page = m_pages.cbegin(); page != m_pages.cend(); ++page)
        pages.insert(page.key(), page.value());
    const QJsonObject document{{QStringLiteral("format"), 1},
                               {QStringLiteral("application"), QCoreApplication::applicationName()},
                               {QStringLiteral("version"), QCoreApplication::applicationVersion()},
                               {QStringLiteral("system"), QSysInfo::prettyProductName()},
                               {QStringLiteral("pagesOpened"), pages},
                               {QStringLiteral("messagesAnswered"), m_messages}};
    return QString::fromUtf8(QJsonDocument(document).toJson());
}

void ConsoleStatisticsCollector::countPage(const QString &name)
{
    ++m_pages[name];
    Q_EMIT dataChanged();
}
