#include "gui/content/CContentInfo.h"

#include "gui/content/CContentProvider.h"

CContentInfo::CContentInfo(CContentProvider *provider, const QMap<QString, QVariant> &params, QObject *parent)
    : QObject(parent)
    , m_provider(provider)
    , m_params(params)
{ }

CContentInfo::~CContentInfo() = default;

CContentProvider *CContentInfo::provider() const
{
    return m_provider;
}

QMap<QString, QVariant> CContentInfo::params() const
{
    return m_params;
}
