#include "gui/tasks/location/UserInfo.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/tasks/location/TranslationFile_p.h"

#include <QCollator>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QMap>
#include <QStandardPaths>

#include <algorithm>

namespace {

constexpr qint64 largestFile = 4 * 1024 * 1024;

QStringList &predefinedCodes()
{
    static QStringList codes;
    return codes;
}

/// Empty when there is no such file in the data folders of the user and the system.
QByteArray dataFile(const QString &name)
{
    QFile file(QStandardPaths::locate(QStandardPaths::GenericDataLocation, name));
    return !file.fileName().isEmpty() && file.open(QIODevice::ReadOnly) ? file.read(largestFile)
                                                                        : QByteArray();
}

/// The package's names for the locale's language, the most special first.
QStringList languageFolders(const QLocale &locale)
{
    const QString language = locale.name().section(QLatin1Char('_'), 0, 0);
    QStringList folders{locale.name()};
    const QString tag = locale.bcp47Name();
    if (tag.contains(QLatin1String("-Latn")))
        folders.prepend(language + QStringLiteral("@latin"));
    else if (tag.contains(QLatin1String("-Cyrl")))
        folders.prepend(language + QStringLiteral("@cyrillic"));
    return folders << language;
}

QHash<QByteArray, QString> countryNames(const QLocale &locale)
{
    for (const QString &folder : languageFolders(locale)) {
        const auto names = TranslationFile::read(
            dataFile(QStringLiteral("locale/%1/LC_MESSAGES/iso_3166-1.mo").arg(folder)));
        if (!names.isEmpty())
            return names;
    }
    return {};
}

bool isCountryCode(const QString &code)
{
    return code.size() == 2 && std::all_of(code.begin(), code.end(), [](QChar c) {
               return c >= QLatin1Char('A') && c <= QLatin1Char('Z');
           });
}

QString nameOf(const QJsonObject &entry, const QHash<QByteArray, QString> &names)
{
    // "Bolivia" rather than "Bolivia, Plurinational State of"; but a name in the user's language first.
    QString english;
    for (const QLatin1String key : {QLatin1String("common_name"), QLatin1String("name")}) {
        const QString name = entry.value(key).toString();
        const QString translated = names.value(name.toUtf8());
        if (!translated.isEmpty())
            return translated;
        if (english.isEmpty())
            english = name;
    }
    return english;
}

QList<UserInfo::Country> packagedCountries()
{
    const auto document = QJsonDocument::fromJson(dataFile(QStringLiteral("iso-codes/json/iso_3166-1.json")));
    const QJsonArray entries = document.object().value(QLatin1String("3166-1")).toArray();
    const auto names = countryNames(QLocale());
    QList<UserInfo::Country> countries;
    for (const QJsonValue &value : entries) {
        const QJsonObject entry = value.toObject();
        const QString code = entry.value(QLatin1String("alpha_2")).toString();
        const QString name = nameOf(entry, names);
        if (isCountryCode(code) && !name.isEmpty())
            countries.append({code, name});
    }
    return countries;
}

QList<UserInfo::Country> toolkitCountries()
{
    QMap<QString, QString> names;
    for (const QLocale &locale :
         QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
        const QString code = locale.name().section(QLatin1Char('_'), 1);
        if (isCountryCode(code))
            names[code] = QLocale::countryToString(locale.country());
    }
    QList<UserInfo::Country> countries;
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        countries.append({it.key(), it.value()});
    return countries;
}

} // namespace

namespace UserInfo {

QList<Country> countries()
{
    QList<Country> result = packagedCountries();
    if (result.isEmpty()) {
        KOV_LOG(1, "(!)Warning: there is no country list of the iso-codes package, names are in English");
        result = toolkitCountries();
    }
    const QCollator collator{QLocale()};
    std::sort(result.begin(), result.end(), [&collator](const Country &left, const Country &right) {
        return collator.compare(left.name, right.name) < 0;
    });
    return result;
}

QList<Country> predefinedCountries()
{
    QList<Country> result;
    if (predefinedCodes().isEmpty())
        return result;
    const QList<Country> all = countries();
    for (const QString &code : qAsConst(predefinedCodes())) {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&code](const Country &country) { return country.code == code; });
        if (found != all.end())
            result.append(*found);
        else
            KOV_LOG(0, "(!)Error: there is no country \"%s\"", KovGui::logText(code).constData());
    }
    return result;
}

void setPredefinedCountries(const QStringList &codes)
{
    predefinedCodes() = codes;
}

QString selectRegionText()
{
    return QCoreApplication::translate("UserInfo", "Select your country or region");
}

} // namespace UserInfo
