#include "gui/problem_report/report/PersonalData.h"

#include "gui/platform/ThisUser.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QSysInfo>
#include <QUrl>

#include <algorithm>

namespace PersonalData {

namespace {

constexpr int shortestName = 3;
constexpr int blockSize = 256 * 1024;

bool isWordCharacter(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z')
           || (byte >= 'a' && byte <= 'z') || byte == '_';
}

bool isWordCharacter(QChar character)
{
    return character.isLetterOrNumber() || character == QLatin1Char('_');
}

QByteArray foreign(const QByteArray &, const QByteArray &text)
{
    return text;
}

QString foreign(const QString &, const QByteArray &text)
{
    return QString::fromUtf8(text);
}

/// The term stands there by itself: no word goes on at a side where it is one.
template <typename Text>
bool standsAlone(const Text &text, int position, int length)
{
    const auto continues = [&text](int inside, int outside) {
        return outside >= 0 && outside < text.size() && isWordCharacter(text.at(inside))
               && isWordCharacter(text.at(outside));
    };
    return !continues(position, position - 1) && !continues(position + length - 1, position + length);
}

template <typename Text>
QVector<Span> findIn(const Text &text, const QVector<Term> &terms)
{
    QVector<Span> all;
    for (int i = 0; i < terms.size(); ++i) {
        const Text wanted = foreign(text, terms.at(i).text);
        for (int at = text.indexOf(wanted); at >= 0; at = text.indexOf(wanted, at + wanted.size())) {
            if (standsAlone(text, at, wanted.size()))
                all.append({at, wanted.size(), i});
        }
    }
    // A home folder holds the name: the longer one of two that begin together counts.
    std::sort(all.begin(), all.end(), [](const Span &a, const Span &b) {
        return a.position != b.position ? a.position < b.position : a.length > b.length;
    });
    QVector<Span> apart;
    for (const Span &span : qAsConst(all)) {
        if (apart.isEmpty() || span.position >= apart.last().position + apart.last().length)
            apart.append(span);
    }
    return apart;
}

void add(QVector<Term> *terms, const QString &text, const char *replacement)
{
    const QByteArray forms[] = {text.toUtf8(), text.toHtmlEscaped().toUtf8(),
                                QUrl::toPercentEncoding(text, QByteArrayLiteral("/\\:"))};
    for (const QByteArray &form : forms) {
        const bool isKnown = std::any_of(terms->cbegin(), terms->cend(),
                                         [&form](const Term &term) { return term.text == form; });
        if (!isKnown)
            terms->append({form, replacement});
    }
}

/// Passes a file in pieces that overlap, so that a term on the border of two blocks is seen whole.
class BlockWalk
{
public:
    BlockWalk(QFile &file, const QVector<Term> &terms, const GoOn &goOn)
        : m_file(file)
        , m_terms(terms)
        , m_goOn(goOn)
    {
        // One more on each side for what decides whether it stands alone.
        for (const Term &term : terms)
            m_overlap = qMax(m_overlap, term.text.size() + 2);
    }

    /// @param take  told each piece of the file once, in order, and the term that it is, or -1
    bool run(const std::function<bool(const QByteArray &piece, int term)> &take)
    {
        QByteArray text;
        int from = 0; // what stands before was taken, and is kept for the look behind
        bool isAtEnd = false;
        while (!isAtEnd) {
            const QByteArray block = m_file.read(blockSize);
            isAtEnd = block.isEmpty();
            if ((isAtEnd && m_file.error() != QFile::NoError) || !m_goOn(m_file.pos()))
                return false;
            text += block;
            int sure = isAtEnd ? text.size() : qMax(from, text.size() - m_overlap);
            for (const Span &span : findIn(text, m_terms)) {
                if (span.position < from)
                    continue;
                if (span.position >= sure)
                    break;
                if (!take(text.mid(from, span.position - from), -1)
                    || !take(text.mid(span.position, span.length), span.term))
                    return false;
                from = span.position + span.length;
            }
            sure = qMax(sure, from);
            if (!take(text.mid(from, sure - from), -1))
                return false;
            const int kept = qMin(sure, 4);
            text.remove(0, sure - kept);
            from = kept;
        }
        return true;
    }

private:
    QFile &m_file;
    const QVector<Term> &m_terms;
    const GoOn &m_goOn;
    int m_overlap = 2;
};

} // namespace

QVector<Term> terms(const QString &homeFolder, const QStringList &names, const QString &hostName)
{
    QVector<Term> found;
    const QString home = QDir::cleanPath(homeFolder);
    if (home.size() > 1 && !homeFolder.isEmpty()) {
        add(&found, home, "~");
        if (QDir::toNativeSeparators(home) != home)
            add(&found, QDir::toNativeSeparators(home), "~");
    }
    for (const QString &name : names) {
        if (name.size() >= shortestName)
            add(&found, name, "[user]");
    }
    if (hostName.size() >= shortestName && hostName != QLatin1String("localhost"))
        add(&found, hostName, "[computer]");
    return found;
}

QVector<Term> termsOfUser()
{
    QStringList names;
    for (const char *variable : {"USER", "LOGNAME", "USERNAME"}) {
        const QString name = qEnvironmentVariable(variable);
        if (!name.isEmpty() && !names.contains(name))
            names.append(name);
    }
    static const QString realName = QString::fromStdString(KovGui::Platform::realName());
    for (const QString &name : {QDir(QDir::homePath()).dirName(), realName}) {
        if (!names.contains(name))
            names.append(name);
    }
    return terms(QDir::homePath(), names, QSysInfo::machineHostName());
}

QVector<Span> find(const QByteArray &text, const QVector<Term> &terms)
{
    return findIn(text, terms);
}

QVector<Span> find(const QString &text, const QVector<Term> &terms)
{
    return findIn(text, terms);
}

QByteArray withoutTerms(const QByteArray &text, const QVector<Term> &terms)
{
    QByteArray result;
    int from = 0;
    for (const Span &span : findIn(text, terms)) {
        result += text.mid(from, span.position - from) + terms.at(span.term).replacement;
        from = span.position + span.length;
    }
    return result + text.mid(from);
}

qint64 countInFile(const QString &path, const QVector<Term> &terms, const GoOn &goOn)
{
    QFile file(path);
    qint64 count = 0;
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return -1;
    const bool isWhole = BlockWalk(file, terms, goOn).run([&count](const QByteArray &, int term) {
        count += term >= 0;
        return true;
    });
    return isWhole ? count : -1;
}

bool takeOutOfFile(const QString &path, const QVector<Term> &terms, const GoOn &goOn)
{
    QFile file(path);
    QSaveFile target(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || !target.open(QIODevice::WriteOnly))
        return false;
    const bool isWhole = BlockWalk(file, terms, goOn).run([&](const QByteArray &piece, int term) {
        const QByteArray &text = term < 0 ? piece : terms.at(term).replacement;
        return target.write(text) == text.size();
    });
    file.close();
    return isWhole && target.commit();
}

} // namespace PersonalData
