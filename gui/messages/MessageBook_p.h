#pragma once

#include <QHash>
#include <QList>
#include <QMap>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QString>

class CMessageInfo;

/**
 * Messages by issuer, oldest first, with look-ups by uuid and by equality. Owns none of them; one that is
 * deleted leaves the book by itself.
 *
 * Finding, appending and taking the oldest take the same time however many messages wait.
 */
class MessageBook
{
public:
    MessageBook() = default;
    Q_DISABLE_COPY(MessageBook)

    /// The message is in no place of this book yet.
    void append(CMessageInfo *message);
    /// False when it was not in the book.
    bool remove(const CMessageInfo *message);
    /// Null when the issuer has none.
    CMessageInfo *takeFirst(const QString &issuerId);
    QList<CMessageInfo *> takeAll(const QString &issuerId);
    QList<CMessageInfo *> takeAll();

    bool contains(const CMessageInfo *message) const;
    CMessageInfo *find(const QString &uuid) const;
    /// A message that is equal to this one (CMessageInfo::equalTo()), null when there is none.
    CMessageInfo *findEqual(const CMessageInfo &message) const;
    int count(const QString &issuerId) const;

private:
    struct Entry
    {
        QPointer<CMessageInfo> message;
        QString issuerId;
        uint fingerprint = 0;
        QMetaObject::Connection onDestroyed;
    };

    void forget(const QString &uuid);

    QMap<QString, QList<QString>> m_uuidsByIssuer;
    QHash<QString, Entry> m_entries;
    QMultiHash<uint, QString> m_uuidsByFingerprint;
    QObject m_context;
};
