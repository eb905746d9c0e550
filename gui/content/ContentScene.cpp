#include "gui/content/ContentScene_p.h"

#include "gui/content/CContentInfo.h"
#include "gui/content/CContentProvider.h"
#include "gui/log/Log.h"
#include "gui/log/LogText.h"

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>

namespace {

QString textOf(const QQmlComponent &component)
{
    QStringList lines;
    const auto errors = component.errors();
    for (const QQmlError &error : errors)
        lines << error.toString();
    return lines.join(QLatin1Char('\n'));
}

} // namespace

ContentScene::ContentScene(CContentInfo &info, QQuickItem *container, QObject *parent)
    : QObject(parent)
    , m_info(&info)
    , m_container(container)
{ }

ContentScene::~ContentScene() = default;

void ContentScene::load()
{
    QQmlEngine *engine = qmlEngine(m_container);
    if (!engine) {
        KOV_LOG(0, "(!)Error: the content area is no item of a QML engine.");
        return;
    }
    const QUrl scene = m_info->scene();
    if (scene.scheme() != QLatin1String("qrc") && !scene.isLocalFile()) {
        showErrorPage(tr("\"%1\" is no local scene.").arg(scene.toString()));
        return;
    }
    QQmlComponent component(engine, scene);
    if (QQuickItem *item = make(component))
        Q_EMIT loaded(item, false);
    else
        showErrorPage(component.isError() ? textOf(component)
                                          : tr("%1 is no visible item.").arg(scene.toString()));
}

QQuickItem *ContentScene::make(QQmlComponent &component)
{
    if (!component.isReady())
        return nullptr;
    auto *context = new QQmlContext(qmlContext(m_container), this);
    context->setContextProperty(QStringLiteral("contentInfo"), m_info);
    context->setContextProperty(QStringLiteral("contentProvider"), m_info->provider());
    context->setContextProperty(QStringLiteral("contentParams"), m_info->params());
    QObject *object = component.beginCreate(context);
    auto *item = qobject_cast<QQuickItem *>(object);
    if (item) {
        item->setParentItem(m_container);
        // A scene of the engine's own would be collected as soon as no script holds it.
        item->setParent(m_container);
        QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
        context->setParent(item);
    }
    if (object)
        component.completeCreate();
    if (!item) {
        delete object;
        delete context;
    }
    return item;
}

void ContentScene::showErrorPage(const QString &errors)
{
    KOV_LOG(0, "(!)Error: a scene cannot be shown: %s", KovGui::logText(errors).constData());
    QQmlComponent component(qmlEngine(m_container), QUrl(QStringLiteral("qrc:/qml/ContentError.qml")));
    QQuickItem *item = make(component);
    if (!item)
        return;
    item->setProperty("errors", errors);
    Q_EMIT loaded(item, true);
}
