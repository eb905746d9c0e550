#include "abstract_task/CTaskGenericId.h"

CTaskGenericId::CTaskGenericId(unsigned type)
    : m_type(type)
{ }
CTaskGenericId::CTaskGenericId(const CTaskGenericId &other) = default;
CTaskGenericId &CTaskGenericId::operator=(const CTaskGenericId &other) = default;
CTaskGenericId::~CTaskGenericId() = default;

unsigned CTaskGenericId::type() const
{
    return m_type;
}

void CTaskGenericId::addParam(const QVariant &value)
{
    m_params.insert(QString::number(m_params.size()), value);
}

void CTaskGenericId::insertParam(const QString &name, const QVariant &value)
{
    m_params.insert(name, value);
}

QHash<QString, QVariant> CTaskGenericId::params() const
{
    return m_params;
}

bool CTaskGenericId::operator==(const CTaskGenericId &other) const
{
    if (m_type != other.m_type || m_params.size() != other.m_params.size())
        return false;
    for (auto it = m_params.cbegin(); it != m_params.cend(); ++it) {
        const auto found = other.m_params.constFind(it.key());
        // QVariant's own comparison converts: without the type, true, 1 and "1" would be one task.
        if (found == other.m_params.cend() || found->userType() != it->userType() || *found != *it)
            return false;
    }
    return true;
}
