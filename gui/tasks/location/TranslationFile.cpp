#include "gui/tasks/location/TranslationFile_p.h"

#include <QtEndian>

namespace {

constexpr quint32 magic = 0x950412de;
constexpr quint32 headerSize = 20;
/// Length and offset of a text.
constexpr quint32 entrySize = 8;

class Reader
{
public:
    explicit Reader(const QByteArray &file)
        : m_file(file)
    {
        if (quint32(file.size()) < headerSize)
            return;
        m_isLittle = qFromLittleEndian<quint32>(file.constData()) == magic;
        m_isOpen = m_isLittle || qFromBigEndian<quint32>(file.constData()) == magic;
    }

    bool isOpen() const { return m_isOpen; }

    /// @param position  at most four bytes before the end
    quint32 number(quint64 position) const
    {
        const char *bytes = m_file.constData() + position;
        return m_isLittle ? qFromLittleEndian<quint32>(bytes) : qFromBigEndian<quint32>(bytes);
    }

    bool holds(quint64 position, quint64 length) const { return position + length <= quint64(m_file.size()); }

    QByteArray text(quint64 entry) const
    {
        const quint64 length = number(entry);
        const quint64 offset = number(entry + 4);
        return holds(offset, length) ? m_file.mid(int(offset), int(length)) : QByteArray();
    }

private:
    const QByteArray &m_file;
    bool m_isLittle = false;
    bool m_isOpen = false;
};

} // namespace

namespace TranslationFile {

QHash<QByteArray, QString> read(const QByteArray &file)
{
    QHash<QByteArray, QString> texts;
    const Reader reader(file);
    if (!reader.isOpen())
        return texts;
    const quint64 count = reader.number(8);
    const quint64 originals = reader.number(12);
    const quint64 translations = reader.number(16);
    if (!reader.holds(originals, count * entrySize) || !reader.holds(translations, count * entrySize))
        return texts;
    for (quint64 i = 0; i < count; ++i) {
        const QByteArray original = reader.text(originals + i * entrySize);
        const QByteArray translation = reader.text(translations + i * entrySize);
        // Plural forms hold a NUL between them.
        if (!original.isEmpty() && !translation.isEmpty() && !original.contains('\0'))
            texts.insert(original, QString::fromUtf8(translation));
    }
    return texts;
}

} // namespace TranslationFile
