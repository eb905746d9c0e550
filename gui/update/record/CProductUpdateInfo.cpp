#include "gui/update/record/CProductUpdateInfo.h"

#include "gui/update/record/UpdateSettings_p.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QSettings>

#include <tuple>

namespace {

QString findVersion(const QString &text)
{
    // The dots between the numbers are not escaped: package names use other separators there.
    static const QRegularExpression pattern(QStringLiteral("[-\\.](\\d+).(\\d+).(\\d+).(\\d+)"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return QString();
    return QStringLiteral("%1.%2.%3-%4")
        .arg(match.captured(1), match.captured(2), match.captured(3), match.captured(4));
}

QString majorPart(const QString &version)
{
    return version.section(QLatin1Char('.'), 0, 0);
}

void enterGroup(QSettings &settings, bool majorUpgrade)
{
    settings.beginGroup(UpdateSettings::productUpdateGroup);
    settings.beginGroup(majorUpgrade ? UpdateSettings::majorUpgradeGroup : UpdateSettings::minorUpdateGroup);
}

} // namespace

CProductUpdateInfo::CProductUpdateInfo(UpdateType type)
    : updateType(type)
{
    // The folder is chosen when the download starts.
    download.destinationDirectory.clear();
}

bool CProductUpdateInfo::isSameUpdate(const CProductUpdateInfo &other) const
{
    const auto key = [](const CProductUpdateInfo &info) {
        return std::make_tuple(info.isMajorUpgrade(), info.transactionId, info.download.url,
                               info.download.md5.toLower());
    };
    return key(*this) == key(other);
}

QString CProductUpdateInfo::getVersion() const
{
    return isMajorUpgrade() ? getVersionFromFileName(download.url) : findVersion(transactionId);
}

QString CProductUpdateInfo::getMajorVersion() const
{
    return majorPart(getVersion());
}

QString CProductUpdateInfo::getVersionFromFileName(const QString &path)
{
    QString slashed = path;
    // A path of the other system keeps its directories otherwise, and a version in one of them would win.
    slashed.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return findVersion(QFileInfo(slashed).completeBaseName());
}

QString CProductUpdateInfo::getMajorVersionFromFileName(const QString &path)
{
    return majorPart(getVersionFromFileName(path));
}

void CProductUpdateInfo::load()
{
    QSettings settings;
    enterGroup(settings, isMajorUpgrade());
    const auto text = [&settings](QLatin1String key) { return settings.value(key).toString(); };
    transactionId = text(UpdateSettings::transactionId);
    purchaseUrl = text(UpdateSettings::purchaseUrl);
    updateDescription = text(UpdateSettings::updateDescription);
    download.url = text(UpdateSettings::downloadUrl);
    download.size = settings.value(UpdateSettings::updateSize).toLongLong();
    download.destinationDirectory = text(UpdateSettings::destinationFolder);
    download.md5 = text(UpdateSettings::updateMd5);
}

void CProductUpdateInfo::store() const
{
    QSettings settings;
    enterGroup(settings, isMajorUpgrade());
    settings.setValue(UpdateSettings::transactionId, transactionId);
    settings.setValue(UpdateSettings::purchaseUrl, purchaseUrl);
    settings.setValue(UpdateSettings::updateDescription, updateDescription);
    settings.setValue(UpdateSettings::downloadUrl, download.url);
    settings.setValue(UpdateSettings::destinationFolder, download.destinationDirectory);
    settings.setValue(UpdateSettings::updateSize, download.size);
    settings.setValue(UpdateSettings::updateMd5, download.md5);
}
