#pragma once

#include "kov_sdk/KovTypes.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QString>

/// What the catalogue says of one code.
struct CatalogueEntry
{
    QString brief; ///< with markup, as `full`
    QString full;
    _KOV_MESSAGE_TYPE_ENUM type = KMT_UNKNOWN;
    bool mayBeHidden = false;
    bool solutionArticle = false;
};

using CatalogueEntries = QHash<KOV_RESULT, CatalogueEntry>;

/**
 * Reads the text of a catalogue file (docs/reference/message-catalogue.md). A pure function.
 */
class CatalogueReader
{
public:
    /// Larger files are refused unread.
    static constexpr int maximumFileSize = 1024 * 1024;
    /// Bytes of UTF-8 with the terminating NUL: the buffers of the programs that show the texts.
    static constexpr int maximumBriefSize = 400;
    static constexpr int maximumFullSize = 1000;

    /// False when anything is wrong; complaint() then says where and what.
    bool read(const QByteArray &file);
    const CatalogueEntries &entries() const { return m_entries; }
    QString complaint() const { return m_complaint; }

private:
    bool refuse(const QString &where, const QString &why);
    bool readMessage(const QJsonValue &value, const QString &where);
    bool readCode(const QJsonObject &message, const QString &where, KOV_RESULT &code);
    bool readType(const QJsonObject &message, const QString &where, CatalogueEntry &entry);
    bool readText(const QJsonObject &message, const QString &where, QLatin1String name, int maximumSize,
                  QString &text);
    bool readFlag(const QJsonObject &message, const QString &where, QLatin1String name, bool &flag);

    CatalogueEntries m_entries;
    QString m_complaint;
};
