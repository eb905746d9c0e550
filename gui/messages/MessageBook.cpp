#include "gui/messages/MessageBook_p.h"

#include "gui/messages/record/CMessageInfo.h"

namespace {

/// Equal for equal messages.
uint fingerprintOf(const CMessageInfo &message)
{
    const Messaging::MessageData &data = message.data();
    uint hash = qHash(data.code);
    for (const QString &text : {data.issuerId, data.longMsg, data.shortMsg, data.details.text()})
        hash = qHash(text, hash);
    return hash;
}

} // namespace

void MessageBook::append(CMessageInfo *message)
{
    const QString uuid = message->uuid();
    Entry entry;
    entry.message = message;
    entry.issuerId = message->data().issuerId;
    entry.fingerprint = fingerprintOf(*message);
    entry.onDestroyed
        = QObject::connect(message, &QObject::destroyed, &m_context, [this, uuid] { forget(uuid); });

    m_uuidsByIssuer[entry.issuerId].append(uuid);
    m_uuidsByFingerprint.insert(entry.fingerprint, uuid);
    m_entries.insert(uuid, entry);
}

bool MessageBook::remove(const CMessageInfo *message)
{
    if (!contains(message))
        return false;
    forget(message->uuid());
    return true;
}

CMessageInfo *MessageBook::takeFirst(const QString &issuerId)
{
    const auto uuids = m_uuidsByIssuer.constFind(issuerId);
    if (uuids == m_uuidsByIssuer.constEnd())
        return nullptr;
    CMessageInfo *message = find(uuids->first());
    forget(message->uuid());
    return message;
}

QList<CMessageInfo *> MessageBook::takeAll(const QString &issuerId)
{
    QList<CMessageInfo *> messages;
    while (CMessageInfo *message = takeFirst(issuerId))
        messages.append(message);
    return messages;
}

QList<CMessageInfo *> MessageBook::takeAll()
{
    QList<CMessageInfo *> messages;
    while (!m_uuidsByIssuer.isEmpty())
        messages.append(takeAll(m_uuidsByIssuer.firstKey()));
    return messages;
}

bool MessageBook::contains(const CMessageInfo *message) const
{
    return m_entries.contains(message->uuid());
}

CMessageInfo *MessageBook::find(const QString &uuid) const
{
    return m_entries.value(uuid).message;
}

CMessageInfo *MessageBook::findEqual(const CMessageInfo &message) const
{
    const uint fingerprint = fingerprintOf(message);
    for (auto it = m_uuidsByFingerprint.constFind(fingerprint);
         it != m_uuidsByFingerprint.constEnd() && it.key() == fingerprint; ++it) {
        CMessageInfo *candidate = find(*it);
        if (candidate->equalTo(message))
            return candidate;
    }
    return nullptr;
}

int MessageBook::count(const QString &issuerId) const
{
    return m_uuidsByIssuer.value(issuerId).size();
}

void MessageBook::forget(const QString &uuid)
{
    const Entry entry = m_entries.take(uuid);
    QObject::disconnect(entry.onDestroyed);
    m_uuidsByFingerprint.remove(entry.fingerprint, uuid);
    const auto uuids = m_uuidsByIssuer.find(entry.issuerId);
    uuids->removeOne(uuid);
    if (uuids->isEmpty())
        m_uuidsByIssuer.erase(uuids);
}
