#include "gui/problem_report/browser/FileTextView_p.h"

#include <QKeyEvent>
#include <QScrollBar>
#include <QSyntaxHighlighter>

#include <algorithm>

namespace {

constexpr qint64 windowSize = 64 * 1024;
/// Of the window, in front of the line on its top.
constexpr qint64 lead = windowSize / 4;
/// Characters: a longer one takes too long to be laid out.
constexpr int longestLine = 1000;
/// Bytes for a step of the bar.
constexpr qint64 barUnit = 1024;
constexpr QRgb markBackground = 0xffffe08a;
constexpr QRgb markForeground = 0xff000000;

/// The bytes up to the next line, or up to a whole character, from where a line is too long to be shown
/// whole.
int lineEnd(const QByteArray &bytes, int from)
{
    const int feed = bytes.indexOf('\n', from);
    const int end = feed < 0 ? bytes.size() : feed + 1;
    if (end - from <= longestLine)
        return end;
    int cut = from + longestLine;
    while (cut > from + longestLine - 4 && (static_cast<unsigned char>(bytes.at(cut)) & 0xc0) == 0x80)
        --cut;
    return cut;
}

/// One line as it is shown.
QString shown(const QByteArray &line, bool *isDamaged)
{
    QString text = QString::fromUtf8(line.constData(), line.size()); // a NUL ends nothing
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    if (text.endsWith(QLatin1Char('\r')))
        text.chop(1);
    for (QChar &character : text) {
        if (character == QChar::ReplacementCharacter)
            *isDamaged = true;
        const bool isControl = character.category() == QChar::Other_Control && character != QLatin1Char('\t');
        if (!isControl && character != QChar::ParagraphSeparator && character != QChar::LineSeparator)
            continue;
        // Directions and separators would rearrange what is read.
        character = QChar::ReplacementCharacter;
        *isDamaged = true;
    }
    return text;
}

/// As formats of the lines: a thousand selections in a window would take longer than the window itself.
class TermMarks : public QSyntaxHighlighter
{
public:
    TermMarks(const QVector<PersonalData::Term> &terms, QTextDocument *document)
        : QSyntaxHighlighter(document)
        , m_terms(terms)
    {
        m_format.setBackground(QColor::fromRgb(markBackground));
        m_format.setForeground(QColor::fromRgb(markForeground));
    }

protected:
    void highlightBlock(const QString &line) override
    {
        for (const PersonalData::Span &span : PersonalData::find(line, m_terms))
            setFormat(span.position, span.length, m_format);
    }

private:
    const QVector<PersonalData::Term> m_terms;
    QTextCharFormat m_format;
};

} // namespace

FileTextView::FileTextView(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setLineWrapMode(NoWrap);
    setAcceptDrops(false);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &FileTextView::onScrolled);
}

FileTextView::~FileTextView() = default;

void FileTextView::setFilePositionBar(QScrollBar *bar)
{
    m_bar = bar;
    connect(bar, &QScrollBar::valueChanged, this, [this](int value) {
        if (!m_isMoving)
            showAt(qint64(value) * barUnit);
    });
    updateBar();
}

void FileTextView::setTerms(const QVector<PersonalData::Term> &terms)
{
    delete m_marks;
    m_marks = new TermMarks(terms, document());
}

bool FileTextView::showFile(const QString &path)
{
    closeFile();
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    m_size = m_file.size();
    showAt(0);
    return true;
}

void FileTextView::closeFile()
{
    m_file.close();
    m_size = 0;
    m_start = m_end = 0;
    m_isDamaged = false;
    showText(QByteArray());
    updateBar();
}

QByteArray FileTextView::windowAt(qint64 offset)
{
    m_start = qBound<qint64>(0, offset - lead, qMax<qint64>(0, m_size - windowSize));
    if (!m_file.seek(m_start))
        return QByteArray();
    QByteArray bytes = m_file.read(windowSize);
    m_end = m_start + bytes.size();
    if (m_start > 0) {
        // A window begins with a line, or where a long one goes on with a whole character.
        const int feed = bytes.left(int(lead)).indexOf('\n');
        int skipped = feed < 0 ? 0 : feed + 1;
        while (feed < 0 && skipped < 4 && (static_cast<unsigned char>(bytes.at(skipped)) & 0xc0) == 0x80)
            ++skipped;
        bytes.remove(0, skipped);
        m_start += skipped;
    }
    return bytes;
}

void FileTextView::showText(const QByteArray &bytes)
{
    QString text;
    m_offsets.clear();
    for (int from = 0; from < bytes.size();) {
        const int end = lineEnd(bytes, from);
        m_offsets.append(m_start + from);
        text += shown(bytes.mid(from, end - from), &m_isDamaged) + QLatin1Char('\n');
        from = end;
    }
    text.chop(1);
    setPlainText(text);
}

void FileTextView::showAt(qint64 offset)
{
    if (m_isMoving || !m_file.isOpen())
        return;
    m_isMoving = true;
    const bool wasDamaged = m_isDamaged;
    const int side = horizontalScrollBar()->value();
    showText(windowAt(offset));
    const auto line = std::upper_bound(m_offsets.cbegin(), m_offsets.cend(), offset);
    const int number = qMax(0, int(line - m_offsets.cbegin()) - 1);
    verticalScrollBar()->setValue(number);
    horizontalScrollBar()->setValue(side);
    m_isMoving = false;
    updateBar();
    if (m_isDamaged && !wasDamaged)
        Q_EMIT damageFound();
}

void FileTextView::onScrolled()
{
    if (m_isMoving || !m_file.isOpen())
        return;
    const QScrollBar *const bar = verticalScrollBar();
    const qint64 top = m_offsets.value(bar->value(), m_start);
    const bool isAtTop = bar->value() == bar->minimum() && m_start > 0;
    const bool isAtBottom = bar->value() == bar->maximum() && m_end < m_size;
    if (isAtTop || isAtBottom)
        showAt(top);
    else
        updateBar();
}

void FileTextView::updateBar()
{
    if (!m_bar)
        return;
    const bool isLarge = m_size > windowSize;
    const bool wasMoving = m_isMoving;
    m_isMoving = true;
    m_bar->setVisible(isLarge);
    setVerticalScrollBarPolicy(isLarge ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
    m_bar->setRange(0, int(m_size / barUnit));
    m_bar->setPageStep(int(lead / barUnit));
    m_bar->setSingleStep(1);
    m_bar->setValue(int(m_offsets.value(verticalScrollBar()->value(), m_start) / barUnit));
    m_isMoving = wasMoving;
}

void FileTextView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::MoveToEndOfDocument))
        showAt(m_size);
    else if (event->matches(QKeySequence::MoveToStartOfDocument))
        showAt(0);
    QScrollBar *const bar = verticalScrollBar();
    // The base turns pages by its cursor, which stays where a window began.
    if (event->matches(QKeySequence::MoveToNextPage))
        bar->setValue(bar->value() + bar->pageStep());
    else if (event->matches(QKeySequence::MoveToPreviousPage))
        bar->setValue(bar->value() - bar->pageStep());
    else
        QPlainTextEdit::keyPressEvent(event);
}
