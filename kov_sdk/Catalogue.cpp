#include "kov_sdk/CatalogueMarkup_p.h"
#include "kov_sdk/Catalogue_p.h"
#include "kov_sdk/ServiceCall_p.h"

#include <QFile>
#include <QFileInfo>

static void logRefusal(const QString &path, const QString &why)
{
    const QString text = QStringLiteral("message catalogue %1 refused: %2").arg(path, why);
    KovService::logError("KovApi_LoadMessageCatalogue", text.toStdString());
}

Catalogue &Catalogue::instance()
{
    static Catalogue *const catalogue = new Catalogue;
    return *catalogue;
}

Catalogue::Catalogue()
{
    load(QStringLiteral(":/kov_sdk/messages.json"));
}

std::optional<CatalogueEntry> Catalogue::find(KOV_RESULT code) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = m_entries.constFind(code);
    return entry == m_entries.constEnd() ? std::nullopt : std::make_optional(*entry);
}

std::optional<QString> Catalogue::description(KOV_RESULT code, bool brief, bool formatted,
                                              const QStringList &arguments) const
{
    const std::optional<CatalogueEntry> entry = find(code);
    if (!entry)
        return std::nullopt;
    const QString &text = brief ? entry->brief : entry->full;
    if (!formatted)
        return CatalogueMarkup::withArguments(CatalogueMarkup::plain(text), arguments);
    QStringList escaped;
    for (const QString &argument : arguments)
        escaped.append(CatalogueMarkup::escaped(argument));
    return CatalogueMarkup::withArguments(text, escaped);
}

KOV_RESULT Catalogue::load(const QString &path)
{
    // A pipe or a device would never come to an end.
    const QFileInfo info(path);
    QFile file(path);
    const bool isOther = info.exists() && !info.isFile();
    if (isOther || !file.open(QIODevice::ReadOnly)) {
        logRefusal(path, isOther ? QStringLiteral("not a regular file") : file.errorString());
        return KOV_ERR_NO_DATA;
    }
    CatalogueReader reader;
    if (!reader.read(file.read(CatalogueReader::maximumFileSize + 1))) {
        logRefusal(path, reader.complaint());
        return KOV_ERR_INVALID_ARG;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto entry = reader.entries().cbegin(); entry != reader.entries().cend(); ++entry)
        m_entries.insert(entry.key(), entry.value());
    return KOV_SUCCESS;
}
