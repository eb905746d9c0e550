#include "gui/tasks/sign_in/PasswordStore.h"

#include "gui/log/Log.h"
#include "gui/log/LogText.h"
#include "gui/platform/Module.h"
#include "gui/platform/SecretKey.h"
#include "gui/tasks/sign_in/Sealing_p.h"

using KovGui::logText;
using KovGui::Platform::SecretKey;

namespace {

constexpr char version[] = "v1:";
constexpr int versionSize = int(sizeof version) - 1;
/// Nothing that was sealed here is larger.
constexpr int maxSealedSize = 64 * 1024;

void report(unsigned level, const char *text)
{
    KOV_LOG(int(level), "%s", logText(QByteArray(text)).constData());
}

/// Null when it is missing.
const SealingFunctions *sealing()
{
    static const auto *const functions
        = static_cast<const SealingFunctions *>(KovGui::Platform::moduleFunctions("sealing", report));
    return functions;
}

/// Null when there is none; then the next call looks again.
const unsigned char *theKey()
{
    static SecretKey key;
    static bool isKnown = false;
    if (!isKnown)
        isKnown = sealing() && KovGui::Platform::secretKey(key, report);
    return isKnown ? key.data() : nullptr;
}

} // namespace

namespace PasswordStore {

QString seal(const QString &password, const QString &place)
{
    const unsigned char *key = theKey();
    if (!key)
        return QString();
    const QByteArray sealed = sealing()->seal(key, password.toUtf8(), place.toUtf8());
    return QLatin1String(version) + QString::fromLatin1(sealed.toBase64());
}

std::optional<QString> open(const QString &sealed, const QString &place)
{
    const QByteArray text = sealed.size() <= maxSealedSize ? sealed.toLatin1() : QByteArray();
    const auto decoded
        = QByteArray::fromBase64Encoding(text.mid(versionSize), QByteArray::AbortOnBase64DecodingErrors);
    const unsigned char *key = theKey();
    if (!key)
        return std::nullopt;
    QString password;
    if (!text.startsWith(version) || !decoded
        || !sealing()->open(key, decoded.decoded, place.toUtf8(), password)) {
        KOV_LOG(0, "(!)Error: the stored password of \"%s\" was not sealed by this user or was changed.",
                logText(place).constData());
        return std::nullopt;
    }
    return password;
}

} // namespace PasswordStore
