#pragma once

#include "kov_sdk/CatalogueReader_p.h"

#include <QStringList>

#include <mutex>
#include <optional>

/// The built-in messages with those of the host's files on top. May be used from any thread.
class Catalogue
{
public:
    /// Reads the built-in messages on first use.
    static Catalogue &instance();

    std::optional<CatalogueEntry> find(KOV_RESULT code) const;
    /// Nothing for an unknown code. The arguments are bare text.
    std::optional<QString> description(KOV_RESULT code, bool brief, bool formatted,
                                       const QStringList &arguments = QStringList()) const;
    /// KOV_ERR_NO_DATA when the file cannot be read, KOV_ERR_INVALID_ARG when it holds an error; logged.
    KOV_RESULT load(const QString &path);

private:
    Catalogue();

    mutable std::mutex m_mutex;
    CatalogueEntries m_entries;
};
