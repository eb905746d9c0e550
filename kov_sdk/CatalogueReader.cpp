#include "kov_sdk/CatalogueMarkup_p.h"
#include "kov_sdk/CatalogueReader_p.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QVector>

#include <algorithm>
#include <cmath>
#include <limits>

static QString lineAndColumn(const QByteArray &file, int offset)
{
    const QByteArray before = file.left(offset);
    return QStringLiteral("line %1, column %2")
        .arg(before.count('\n') + 1)
        .arg(before.size() - before.lastIndexOf('\n'));
}

/// The end of the string whose opening quotation mark is at `start`: the closing mark, or the end of the
/// file.
static int endOfString(const QByteArray &file, int start)
{
    int index = start + 1;
    while (index < file.size() && file.at(index) != '"')
        index += file.at(index) == '\\' ? 2 : 1;
    return std::min(index, file.size());
}

/**
 * Where a field name stands for the second time in its object, or is written with an escape; -1 when nowhere.
 * The JSON parser would keep the last of several values, and loses memory over it. Says nothing of malformed
 * files.
 */
static int repeatedField(const QByteArray &file)
{
    QVector<QSet<QByteArray>> open{{}};
    int nameStart = -1;
    QByteArray name;
    for (int index = 0; index < file.size(); ++index) {
        switch (file.at(index)) {
        case '"':
            nameStart = index;
            index = endOfString(file, index);
            name = file.mid(nameStart + 1, index - nameStart - 1);
            break;
        case ':':
            if (name.contains('\\') || open.last().contains(name))
                return nameStart;
            open.last().insert(name);
            break;
        case '{':
        case '[':
            open.append(QSet<QByteArray>());
            break;
        case '}':
        case ']':
            if (open.size() > 1)
                open.removeLast();
            break;
        default:
            break;
        }
    }
    return -1;
}

static QString unknownField(const QJsonObject &object, const QSet<QString> &known)
{
    for (const QString &name : object.keys()) {
        if (!known.contains(name))
            return name;
    }
    return QString();
}

bool CatalogueReader::refuse(const QString &where, const QString &why)
{
    m_entries.clear();
    m_complaint = where + QLatin1String(": ") + why;
    return false;
}

bool CatalogueReader::read(const QByteArray &file)
{
    m_entries.clear();
    m_complaint.clear();
    if (file.size() > maximumFileSize)
        return refuse(QStringLiteral("file"), QStringLiteral("larger than %1 bytes").arg(maximumFileSize));
    const int repeated = repeatedField(file);
    if (repeated >= 0)
        return refuse(lineAndColumn(file, repeated),
                      QStringLiteral("the field stands here twice, or holds an escape"));
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file, &error);
    if (error.error != QJsonParseError::NoError)
        return refuse(lineAndColumn(file, error.offset), error.errorString());
    if (!document.isObject())
        return refuse(QStringLiteral("file"), QStringLiteral("must be an object"));

    const QJsonObject root = document.object();
    const QString unknown = unknownField(root, {QStringLiteral("format"), QStringLiteral("messages")});
    if (!unknown.isEmpty())
        return refuse(unknown, QStringLiteral("unknown field"));
    if (root.value(QLatin1String("format")) != QJsonValue(1))
        return refuse(QStringLiteral("format"), QStringLiteral("must be the number 1"));
    const QJsonValue messages = root.value(QLatin1String("messages"));
    if (!messages.isArray())
        return refuse(QStringLiteral("messages"), QStringLiteral("must be an array"));
    int index = 0;
    for (const QJsonValue message : messages.toArray()) {
        if (!readMessage(message, QStringLiteral("messages[%1]").arg(index++)))
            return false;
    }
    return true;
}

bool CatalogueReader::readMessage(const QJsonValue &value, const QString &where)
{
    static const QSet<QString> known{QStringLiteral("code"),        QStringLiteral("type"),
                                     QStringLiteral("brief"),       QStringLiteral("full"),
                                     QStringLiteral("mayBeHidden"), QStringLiteral("solutionArticle")};
    if (!value.isObject())
        return refuse(where, QStringLiteral("must be an object"));
    const QJsonObject message = value.toObject();
    const QString unknown = unknownField(message, known);
    if (!unknown.isEmpty())
        return refuse(where + QLatin1Char('.') + unknown, QStringLiteral("unknown field"));

    KOV_RESULT code = 0;
    CatalogueEntry entry;
    if (!readCode(message, where, code) || !readType(message, where, entry)
        || !readText(message, where, QLatin1String("brief"), maximumBriefSize, entry.brief)
        || !readText(message, where, QLatin1String("full"), maximumFullSize, entry.full)
        || !readFlag(message, where, QLatin1String("mayBeHidden"), entry.mayBeHidden)
        || !readFlag(message, where, QLatin1String("solutionArticle"), entry.solutionArticle))
        return false;
    if (entry.brief.isEmpty())
        return refuse(where + QLatin1String(".brief"), QStringLiteral("must be given and not empty"));
    // The answers of a message with an article are those of a problem report: the question's own would be
    // lost.
    if (entry.solutionArticle && entry.type == KMT_QUESTION)
        return refuse(where + QLatin1String(".solutionArticle"), QStringLiteral("a question has no article"));
    if (entry.type == KMT_UNKNOWN && (!entry.full.isEmpty() || entry.mayBeHidden || entry.solutionArticle))
        return refuse(where, QStringLiteral("an answer has a brief text and nothing else"));
    m_entries.insert(code, entry);
    return true;
}

bool CatalogueReader::readCode(const QJsonObject &message, const QString &where, KOV_RESULT &code)
{
    static const QRegularExpression hexadecimal(QStringLiteral("\\A0x[0-9A-Fa-f]{1,8}\\z"));
    const QString field = where + QLatin1String(".code");
    const QJsonValue value = message.value(QLatin1String("code"));
    if (value.isString() && hexadecimal.match(value.toString()).hasMatch()) {
        code = KOV_RESULT_CODE(value.toString().toUInt(nullptr, 16));
    } else if (value.isDouble()) {
        const double number = value.toDouble();
        if (std::floor(number) != number || number < std::numeric_limits<KOV_RESULT>::min()
            || number > std::numeric_limits<KOV_RESULT>::max())
            return refuse(field, QStringLiteral("not a whole number of 32 bits with a sign"));
        code = static_cast<KOV_RESULT>(number);
    } else {
        return refuse(field, QStringLiteral("must be a number, or a text of 0x and one to eight digits"));
    }
    if (m_entries.contains(code)) {
        const QString text = QString::number(static_cast<quint32>(code), 16).toUpper();
        return refuse(field, QStringLiteral("0x%1 stands in this file already").arg(text));
    }
    return true;
}

bool CatalogueReader::readType(const QJsonObject &message, const QString &where, CatalogueEntry &entry)
{
    static const QHash<QString, _KOV_MESSAGE_TYPE_ENUM> types{
        {QStringLiteral("error"), KMT_ERROR},
        {QStringLiteral("warning"), KMT_WARNING},
        {QStringLiteral("question"), KMT_QUESTION},
        {QStringLiteral("information"), KMT_INFORMATION},
        {QStringLiteral("answer"), KMT_UNKNOWN}};
    const auto type = types.constFind(message.value(QLatin1String("type")).toString());
    if (type == types.constEnd()) {
        return refuse(
            where + QLatin1String(".type"),
            QStringLiteral("must be \"error\", \"warning\", \"question\", \"information\" or \"answer\""));
    }
    entry.type = *type;
    return true;
}

bool CatalogueReader::readText(const QJsonObject &message, const QString &where, QLatin1String name,
                               int maximumSize, QString &text)
{
    const QJsonValue value = message.value(name);
    if (value.isUndefined())
        return true;
    const QString field = where + QLatin1Char('.') + name;
    if (!value.isString())
        return refuse(field, QStringLiteral("must be a text"));
    text = value.toString();
    if (text.toUtf8().size() >= maximumSize)
        return refuse(field, QStringLiteral("longer than %1 bytes of UTF-8").arg(maximumSize - 1));
    const QString complaint = CatalogueMarkup::complaint(text);
    return complaint.isEmpty() || refuse(field, complaint);
}

bool CatalogueReader::readFlag(const QJsonObject &message, const QString &where, QLatin1String name,
                               bool &flag)
{
    const QJsonValue value = message.value(name);
    if (value.isUndefined())
        return true;
    if (!value.isBool())
        return refuse(where + QLatin1Char('.') + name, QStringLiteral("must be true or false"));
    flag = value.toBool();
    return true;
}
