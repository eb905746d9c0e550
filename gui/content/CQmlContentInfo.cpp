#include "gui/content/CQmlContentInfo.h"

CQmlContentInfo::CQmlContentInfo(const QUrl &scene, CContentProvider *provider,
                                 const QMap<QString, QVariant> &params, QObject *parent)
    : CContentInfo(provider, params, parent)
    , m_scene(scene)
{ }

CQmlContentInfo::~CQmlContentInfo() = default;

QUrl CQmlContentInfo::scene() const
{
    return m_scene;
}
