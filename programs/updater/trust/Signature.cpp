#include "programs/updater/trust/Signature.h"

#include "programs/updater/trust/SigningKey.h"

#include <QCryptographicHash>
#include <QIODevice>
#include <QLocale>
#include <QStringList>
#include <algorithm>
#include <sodium.h>

namespace {

using namespace Signature;

/// Before the signed text, so that no signature of the same key over anything else can pass for one of these.
const QByteArray &domain()
{
    static const QByteArray prefix("Tessarine update signature 1\0", 29);
    return prefix;
}

QString dottedVersion(const VersionNumber &version)
{
    return QStringLiteral("%1.%2.%3.%4").arg(version[0]).arg(version[1]).arg(version[2]).arg(version[3]);
}

/// Everything that is signed, to the line feed before the signature's line.
QByteArray signedText(const Statement &statement, const QByteArray &key)
{
    const bool isPackage = statement.role == Role::Package;
    QByteArray text = "Tessarine-Signature: 1\nRole: ";
    text += isPackage ? "package" : "catalogue";
    text += "\nProduct: " + statement.product.toUtf8();
    text += isPackage ? "\nVersion: " + dottedVersion(statement.version).toLatin1()
                      : "\nLine: " + statement.line.toUtf8();
    text += "\nCounter: " + QByteArray::number(statement.counter);
    text += "\nExpires: " + timeText(statement.expires).toLatin1();
    text += "\nSize: " + QByteArray::number(statement.size);
    text += "\nSHA-512: " + statement.digest.toHex();
    return text + "\nKey: " + key + '\n';
}

QByteArray wholeText(const QByteArray &text, const QByteArray &signature)
{
    return text + "Signature: " + signature.toHex() + '\n';
}

struct Parsed
{
    Statement statement;
    QByteArray signature;
};

/// Takes the values from where they have to stand, whatever they are called and however they are spelled: the
/// caller writes them again and compares. False when they make no sense.
bool parse(const QByteArray &file, Parsed *parsed)
{
    QList<QByteArray> values;
    for (const QByteArray &line : file.split('\n'))
        values.append(line.mid(line.indexOf(' ') + 1));
    const bool isPackage = values.value(1) == "package";
    if (values.size() != 11)
        return false;
    Statement &statement = parsed->statement;
    statement.role = isPackage ? Role::Package : Role::Catalogue;
    statement.product = QString::fromUtf8(values.at(2));
    const QString versionOrLine = QString::fromUtf8(values.takeAt(3));
    if (isPackage ? !parseVersion(versionOrLine, &statement.version) : !isName(versionOrLine))
        return false;
    if (!isPackage)
        statement.line = versionOrLine;
    statement.counter = values.at(3).toULongLong();
    statement.expires = parseTime(QString::fromLatin1(values.at(4)));
    statement.size = values.at(5).toLongLong();
    statement.digest = QByteArray::fromHex(values.at(6));
    statement.key = values.at(7);
    parsed->signature = QByteArray::fromHex(values.at(8));
    return isName(statement.product) && statement.expires.isValid() && statement.size >= 0
           && statement.digest.size() == int(crypto_hash_sha512_BYTES)
           && parsed->signature.size() == int(crypto_sign_BYTES);
}

bool isSignedBy(const PublicKey &key, const QByteArray &text, const QByteArray &signature)
{
    const QByteArray message = domain() + text;
    return key.size() == int(crypto_sign_PUBLICKEYBYTES)
           && crypto_sign_verify_detached(reinterpret_cast<const unsigned char *>(signature.constData()),
                                          reinterpret_cast<const unsigned char *>(message.constData()),
                                          static_cast<unsigned long long>(message.size()),
                                          reinterpret_cast<const unsigned char *>(key.constData()))
                  == 0;
}

} // namespace

QByteArray Signature::fingerprint(const PublicKey &key)
{
    return QCryptographicHash::hash(key, QCryptographicHash::Sha512).left(8).toHex();
}

bool Signature::isName(const QString &text)
{
    return !text.isEmpty() && text.size() <= maximumNameLength && text == text.trimmed()
           && std::all_of(text.begin(), text.end(),
                          [](QChar character) { return character.isPrint() || character.isSurrogate(); });
}

QVector<Signature::PublicKey> Signature::builtInKeys()
{
    QVector<PublicKey> keys;
    for (const char *digits : {KOV_UPDATE_PUBLIC_KEY, KOV_UPDATE_PUBLIC_KEY_NEXT}) {
        if (*digits != '\0')
            keys.append(QByteArray::fromHex(digits));
    }
    return keys;
}

QString Signature::read(const QByteArray &file, const QVector<PublicKey> &keys, Statement *statement)
{
    if (file.size() > maximumFileSize)
        return QStringLiteral("its signature is longer than %1 bytes").arg(maximumFileSize);
    Parsed parsed;
    if (!parse(file, &parsed))
        return QStringLiteral("its signature has not the form of one");
    const QByteArray text = signedText(parsed.statement, parsed.statement.key);
    if (wholeText(text, parsed.signature) != file)
        return QStringLiteral("its signature has not the form of one");
    const auto key = std::find_if(keys.begin(), keys.end(), [&parsed](const PublicKey &known) {
        return fingerprint(known) == parsed.statement.key;
    });
    if (key == keys.end())
        return QStringLiteral("it is signed with a key that this program does not know");
    if (!isSignedBy(*key, text, parsed.signature))
        return QStringLiteral("its signature was altered");
    *statement = parsed.statement;
    return QString();
}

QByteArray Signature::write(const Statement &statement, const SigningKey &key)
{
    const QByteArray text = signedText(statement, fingerprint(key.publicKey()));
    return wholeText(text, key.sign(domain() + text));
}

bool Signature::describe(QIODevice *device, Statement *statement)
{
    QCryptographicHash digest(QCryptographicHash::Sha512);
    QByteArray block(64 * 1024, '\0');
    statement->size = 0;
    qint64 count = 0;
    while ((count = device->read(block.data(), block.size())) > 0) {
        digest.addData(block.constData(), int(count));
        statement->size += count;
    }
    if (count < 0)
        return false;
    statement->digest = digest.result();
    return true;
}

QDateTime Signature::parseTime(const QString &text)
{
    const QLocale locale = QLocale::c();
    const QDate date = locale.toDate(text.left(10), QStringLiteral("yyyy-MM-dd"));
    const QTime time = locale.toTime(text.mid(11, 8), QStringLiteral("hh:mm:ss"));
    const QDateTime parsed(date, time, Qt::UTC);
    return timeText(parsed) == text ? parsed : QDateTime();
}

QString Signature::timeText(const QDateTime &time)
{
    return QLocale::c().toString(time.toUTC(), QStringLiteral("yyyy-MM-dd'T'hh:mm:ss'Z'"));
}
