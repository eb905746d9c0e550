#include "gui/data_model/base/XmlValue_p.h"

#include "gui/data_model/base/XmlCharacters_p.h"

#include <cmath>
#include <limits>

namespace {

template <class Value>
bool equalValues(const void *left, const void *right)
{
    return *static_cast<const Value *>(left) == *static_cast<const Value *>(right);
}

/// Digits and nothing else; as locales have other digits and other signs, none is asked.
bool parseDigits(std::string_view text, quint64 maximum, quint64 *number)
{
    *number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
        const quint64 digit = quint64(c - '0');
        if (*number > (maximum - digit) / 10)
            return false;
        *number = *number * 10 + digit;
    }
    return !text.empty();
}

template <class Number>
bool parseNumber(std::string_view text, void *value)
{
    const bool isNegative = std::is_same_v<Number, qint32> && text.substr(0, 1) == "-";
    if (isNegative)
        text.remove_prefix(1);
    const quint64 maximum = quint64(std::numeric_limits<Number>::max()) + (isNegative ? 1 : 0);
    quint64 number = 0;
    if (!parseDigits(text, maximum, &number))
        return false;
    *static_cast<Number *>(value) = isNegative ? Number(-qint64(number)) : Number(number);
    return true;
}

template <class Number>
bool printNumber(const void *value, QByteArray *text)
{
    text->setNum(qlonglong(*static_cast<const Number *>(value)));
    return true;
}

bool printSize(const void *value, QByteArray *text)
{
    return printNumber<qint64>(value, text) && *static_cast<const qint64 *>(value) >= 0;
}

bool parseTruth(std::string_view text, void *value)
{
    const bool isTrue = text == "true" || text == "1";
    *static_cast<bool *>(value) = isTrue;
    return isTrue || text == "false" || text == "0";
}

bool printTruth(const void *value, QByteArray *text)
{
    *text = *static_cast<const bool *>(value) ? QByteArrayLiteral("true") : QByteArrayLiteral("false");
    return true;
}

bool parseReal(std::string_view text, void *value)
{
    // "nan", "inf" and hexadecimal forms are numbers to the parser.
    if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos)
        return false;
    bool ok = false;
    const double number = QByteArray(text.data(), int(text.size())).toDouble(&ok);
    *static_cast<double *>(value) = number;
    return ok && std::isfinite(number);
}

bool printReal(const void *value, QByteArray *text)
{
    const double number = *static_cast<const double *>(value);
    for (int precision = 6; std::isfinite(number) && precision <= 17; ++precision) {
        text->setNum(number, 'g', precision);
        if (text->toDouble() == number)
            return true;
    }
    return false;
}

/// QLocale's parsers look at the time zone file five times a date, which would be half of reading a
/// catalogue.
bool parseDateTime(std::string_view text, void *value)
{
    static constexpr std::string_view form = "0000-00-00 00:00:00";
    if (text.size() != form.size())
        return false;
    int numbers[6] = {};
    int part = 0;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] != '0') {
            if (text[i] != form[i])
                return false;
            ++part;
        } else if (text[i] < '0' || text[i] > '9') {
            return false;
        } else {
            numbers[part] = numbers[part] * 10 + (text[i] - '0');
        }
    }
    // As one local date-time, an hour that the user's time zone skips in spring would not be valid.
    const QDate date(numbers[0], numbers[1], numbers[2]);
    const QTime time(numbers[3], numbers[4], numbers[5]);
    if (!date.isValid() || !time.isValid())
        return false;
    *static_cast<QDateTime *>(value) = QDateTime(date, time, Qt::UTC);
    return true;
}

bool printDateTime(const void *value, QByteArray *text)
{
    const QDateTime utc = static_cast<const QDateTime *>(value)->toUTC();
    const QDate date = utc.date();
    const QTime time = utc.time();
    if (!utc.isValid() || date.year() < 1 || date.year() > 9999)
        return false;
    *text = QByteArrayLiteral("0000-00-00 00:00:00");
    const auto put = [digits = text->data()](int end, int number) {
        for (; number > 0; number /= 10)
            digits[--end] = char('0' + number % 10);
    };
    put(4, date.year());
    put(7, date.month());
    put(10, date.day());
    put(13, time.hour());
    put(16, time.minute());
    put(19, time.second());
    return true;
}

/// To the second, which is what the file keeps.
bool equalDateTimes(const void *left, const void *right)
{
    const QDateTime &a = *static_cast<const QDateTime *>(left);
    const QDateTime &b = *static_cast<const QDateTime *>(right);
    if (!a.isValid() || !b.isValid())
        return a.isValid() == b.isValid();
    return std::floor(double(a.toMSecsSinceEpoch()) / 1000)
           == std::floor(double(b.toMSecsSinceEpoch()) / 1000);
}

bool isLoneSurrogate(const QString &text, int i)
{
    const QChar c = text.at(i);
    if (c.isHighSurrogate())
        return i + 1 == text.size() || !text.at(i + 1).isLowSurrogate();
    return c.isLowSurrogate() && (i == 0 || !text.at(i - 1).isHighSurrogate());
}

bool isAllowedAt(const QString &text, int i)
{
    const QChar c = text.at(i);
    return c.isSurrogate() ? !isLoneSurrogate(text, i) : XmlCharacters::isAllowed(c.unicode());
}

int hexadecimalDigit(QChar c)
{
    const ushort unit = c.unicode();
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    const ushort lower = unit | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

using Form = XmlType::Form;
const XmlType XmlTypes::text = {Form::Text, "a text", nullptr, nullptr, &equalValues<QString>};
const XmlType XmlTypes::exact = {Form::Exact, "a text", nullptr, nullptr, &equalValues<QString>};
const XmlType XmlTypes::truth = {Form::Parsed, "true or false", &parseTruth, &printTruth, &equalValues<bool>};
const XmlType XmlTypes::uint32 = {Form::Parsed, "a number from 0 to 4294967295", &parseNumber<quint32>,
                                  &printNumber<quint32>, &equalValues<quint32>};
const XmlType XmlTypes::int32 = {Form::Parsed, "a number from -2147483648 to 2147483647",
                                 &parseNumber<qint32>, &printNumber<qint32>, &equalValues<qint32>};
const XmlType XmlTypes::size = {Form::Parsed, "a number from 0 to 9223372036854775807", &parseNumber<qint64>,
                                &printSize, &equalValues<qint64>};
const XmlType XmlTypes::real
    = {Form::Parsed, "a decimal number", &parseReal, &printReal, &equalValues<double>};
const XmlType XmlTypes::dateTime = {Form::Parsed, "a date and time of the form yyyy-MM-dd hh:mm:ss",
                                    &parseDateTime, &printDateTime, &equalDateTimes};

QString XmlText::normalized(const QString &text)
{
    if (!text.contains(QLatin1Char('\r')))
        return text.trimmed();
    QString result = text;
    result.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    result.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return result.trimmed();
}

QString XmlText::escaped(const QString &text)
{
    int first = 0;
    int last = text.size() - 1;
    while (first < text.size() && text.at(first).isSpace())
        ++first;
    while (last >= 0 && text.at(last).isSpace())
        --last;
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\\'))
            result += QLatin1String("\\\\");
        else if (i < first || i > last || c == QLatin1Char('\r') || !isAllowedAt(text, i))
            result += QLatin1String("\\u")
                      + QString::number(c.unicode(), 16).rightJustified(4, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

bool XmlText::unescape(QString *text)
{
    QString result;
    for (int i = 0; i < text->size(); ++i) {
        const QChar c = text->at(i);
        if (c != QLatin1Char('\\')) {
            result += c;
            continue;
        }
        const QChar next = ++i < text->size() ? text->at(i) : QChar();
        if (next == QLatin1Char('\\')) {
            result += next;
            continue;
        }
        if (next != QLatin1Char('u') || i + 4 >= text->size())
            return false;
        ushort unit = 0;
        for (int end = i + 4; i < end;) {
            const int digit = hexadecimalDigit(text->at(++i));
            if (digit < 0)
                return false;
            unit = ushort(unit * 16 + digit);
        }
        result += QChar(unit);
    }
    *text = result;
    return true;
}

bool XmlText::isAllowed(const QString &text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (!isAllowedAt(text, i))
            return false;
    }
    return true;
}

QString XmlText::oneLine(QString text)
{
    for (QChar &character : text) {
        if (!character.isPrint())
            character = QLatin1Char(' ');
    }
    return text;
}
