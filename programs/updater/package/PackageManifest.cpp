#include "programs/updater/package/PackageManifest.h"

#include "gui/tasks/download/FileName.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

namespace {

constexpr int formatNumber = 1;
constexpr int maximumProductLength = 128;
constexpr int digestSize = 32;

std::string_view view(const QByteArray &bytes)
{
    return std::string_view(bytes.constData(), size_t(bytes.size()));
}

bool isSafeComponent(const QByteArray &name)
{
    const auto isPlain = [](char c) { return c >= ' ' && c <= '~' && !std::strchr("\"*<>?|", c); };
    return FileName::isSafe(view(name)) && std::all_of(name.begin(), name.end(), isPlain);
}

bool isProductName(const QString &name)
{
    return !name.isEmpty() && name.size() <= maximumProductLength && name == name.trimmed()
           && std::all_of(name.begin(), name.end(), [](QChar c) { return c.isPrint() || c.isSurrogate(); });
}

/// False for anything but a whole number that a package may state as a size.
bool readSize(const QJsonValue &value, qint64 *size)
{
    const double number = value.toDouble(-1);
    if (number < 0 || number > double(PackageManifest::maximumTotalSize) || number != std::floor(number))
        return false;
    *size = qint64(number);
    return true;
}

bool readDigest(const QString &text, QByteArray *digest)
{
    *digest = QByteArray::fromHex(text.toLatin1());
    return digest->size() == digestSize && QLatin1String(digest->toHex()) == text;
}

bool readEntry(const QJsonObject &object, PackageEntry *entry)
{
    entry->path = object.value(QLatin1String("path")).toString().toUtf8();
    entry->isExecutable = object.value(QLatin1String("executable")).toBool();
    return object.value(QLatin1String("executable")).isBool()
           && readSize(object.value(QLatin1String("size")), &entry->size)
           && readDigest(object.value(QLatin1String("sha256")).toString(), &entry->digest);
}

QString readFiles(const QJsonArray &array, PackageManifest *manifest)
{
    if (array.size() > PackageManifest::maximumFileCount)
        return QStringLiteral("it lists more than %1 files").arg(PackageManifest::maximumFileCount);
    manifest->files.reserve(array.size());
    for (const QJsonValue &value : array) {
        PackageEntry entry;
        if (!readEntry(value.toObject(), &entry))
            return QStringLiteral("entry %1 of its list of files is incomplete")
                .arg(manifest->files.size() + 1);
        manifest->files.append(entry);
    }
    return QString();
}

/// A file in the place of a folder.
bool isBelowAnother(const QByteArray &path, const QSet<QByteArray> &paths)
{
    for (int slash = path.lastIndexOf('/'); slash > 0; slash = path.lastIndexOf('/', slash - 1)) {
        if (paths.contains(path.left(slash)))
            return true;
    }
    return false;
}

} // namespace

bool PackageManifest::isSafePath(const QByteArray &path)
{
    if (path.isEmpty() || path.size() > maximumPathLength || path == fileName)
        return false;
    const QList<QByteArray> components = path.split('/');
    return components.size() <= maximumPathDepth
           && std::all_of(components.begin(), components.end(), isSafeComponent);
}

qint64 PackageManifest::totalSize() const
{
    qint64 total = 0;
    for (const PackageEntry &entry : files)
        total += entry.size;
    return total;
}

QString PackageManifest::fault() const
{
    if (!isProductName(product))
        return QStringLiteral("its product has no usable name");
    if (files.isEmpty() || files.size() > maximumFileCount)
        return QStringLiteral("it lists no file, or more than %1").arg(maximumFileCount);
    QSet<QByteArray> paths;
    qint64 total = 0;
    for (const PackageEntry &entry : files) {
        const QString shown = QString::fromUtf8(entry.path);
        if (!isSafePath(entry.path))
            return QStringLiteral("the path \"%1\" is not safe").arg(shown);
        if (isBelowAnother(entry.path, paths))
            return QStringLiteral("the path \"%1\" leads through a file").arg(shown);
        if (!paths.isEmpty() && !(files.at(paths.size() - 1).path < entry.path))
            return QStringLiteral("the path \"%1\" stands twice or out of order").arg(shown);
        paths.insert(entry.path);
        total += entry.size;
        if (total > maximumTotalSize)
            return QStringLiteral("its files are larger than %1 bytes").arg(maximumTotalSize);
    }
    return QString();
}

QByteArray PackageManifest::text() const
{
    QJsonArray array;
    for (const PackageEntry &entry : files) {
        array.append(QJsonObject{{QStringLiteral("path"), QString::fromUtf8(entry.path)},
                                 {QStringLiteral("size"), entry.size},
                                 {QStringLiteral("executable"), entry.isExecutable},
                                 {QStringLiteral("sha256"), QString::fromLatin1(entry.digest.toHex())}});
    }
    const QString dotted = versionText(version).replace(QLatin1Char('-'), QLatin1Char('.'));
    return QJsonDocument(QJsonObject{{QStringLiteral("format"), formatNumber},
                                     {QStringLiteral("product"), product},
                                     {QStringLiteral("version"), dotted},
                                     {QStringLiteral("files"), array}})
        .toJson();
}

QString PackageManifest::parse(const QByteArray &text, PackageManifest *manifest)
{
    if (text.size() > maximumTextSize)
        return QStringLiteral("it is larger than %1 bytes").arg(maximumTextSize);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return QStringLiteral("it is no JSON object");
    const QJsonObject object = document.object();
    if (object.value(QLatin1String("format")).toDouble() != formatNumber)
        return QStringLiteral("its format is not %1").arg(formatNumber);
    PackageManifest result;
    result.product = object.value(QLatin1String("product")).toString();
    if (!parseVersion(object.value(QLatin1String("version")).toString(), &result.version))
        return QStringLiteral("its version is not four numbers");
    QString fault = readFiles(object.value(QLatin1String("files")).toArray(), &result);
    if (fault.isEmpty())
        fault = result.fault();
    if (fault.isEmpty())
        *manifest = result;
    return fault;
}
