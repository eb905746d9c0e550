#include "gui/messages/box/SafeTextView_p.h"

#include <QAbstractTextDocumentLayout>
#include <QEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTextDocument>

#include <cmath>

namespace {

bool selectsLink(const QTextCursor &cursor)
{
    return cursor.hasSelection() && cursor.charFormat().isAnchor();
}

} // namespace

SafeTextView::SafeTextView(QWidget *parent)
    : ClosedTextBrowser(parent)
{
    setFrameShape(QFrame::NoFrame);
    setTextInteractionFlags(Qt::TextBrowserInteraction | Qt::TextSelectableByKeyboard);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    followWindowColors();
}

SafeTextView::~SafeTextView() = default;

void SafeTextView::setMessageText(const QString &text)
{
    if (text == m_text)
        return;
    // Not in the constructor: half of the boxes have no second text, and never pay for it.
    if (m_text.isEmpty())
        prepareDocument();
    m_text = text;
    showText();
}

void SafeTextView::prepareDocument()
{
    document()->setDocumentMargin(0);
    document()->setDefaultStyleSheet(QStringLiteral("* {margin-left:1;margin-top:6;}"));
    closeDocument();
}

void SafeTextView::showText()
{
    const int position = textCursor().position();
    const int anchor = textCursor().anchor();
    const int scroll = verticalScrollBar()->value();
    setHtml(QLatin1String("<div>") + m_text + QLatin1String("</div>"));
    if (position == 0 && anchor == 0)
        return;
    const int last = document()->characterCount() - 1;
    QTextCursor cursor = textCursor();
    cursor.setPosition(qMin(anchor, last));
    cursor.setPosition(qMin(position, last), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    verticalScrollBar()->setValue(scroll);
}

QSize SafeTextView::sizeWithin(int widthLimit)
{
    // The widget answers a change of the document's size by laying it out at the width that it has so far.
    const QSignalBlocker blocker(document()->documentLayout());
    document()->setTextWidth(widthLimit);
    const int width = int(std::ceil(document()->idealWidth()));
    return {qMin(widthLimit, width), int(std::ceil(document()->size().height()))};
}

void SafeTextView::setPreferredSize(int width, int height, int maximumHeight)
{
    const bool scrolls = height > maximumHeight;
    // A bar for the half pixel that rounding may cost would be worse than the pixel.
    setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Expanding, scrolls ? QSizePolicy::Expanding : QSizePolicy::Preferred);
    const int barWidth = scrolls ? verticalScrollBar()->sizeHint().width() : 0;
    const QSize preferred(width + barWidth, qMin(height, maximumHeight));
    if (preferred == m_preferred)
        return;
    m_preferred = preferred;
    updateGeometry();
}

QSize SafeTextView::sizeHint() const
{
    return m_preferred;
}

QSize SafeTextView::minimumSizeHint() const
{
    return m_preferred;
}

void SafeTextView::changeEvent(QEvent *event)
{
    ClosedTextBrowser::changeEvent(event);
    if (event->type() != QEvent::PaletteChange)
        return;
    followWindowColors();
    // Links took their colour from the old palette.
    if (m_text.contains(QLatin1Char('<')))
        showText();
}

void SafeTextView::followWindowColors()
{
    QPalette colors = palette();
    bool changed = false;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        changed = changed || colors.color(group, QPalette::Text) != colors.color(group, QPalette::WindowText);
        colors.setBrush(group, QPalette::Text, colors.brush(group, QPalette::WindowText));
    }
    if (changed)
        setPalette(colors);
}

void SafeTextView::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // Without a selection the copy is of the whole message, and the box's.
    const bool copiesNothing = event->matches(QKeySequence::Copy) && !textCursor().hasSelection();
    if (copiesNothing || (enter && !selectsLink(textCursor()))) {
        event->ignore();
        return;
    }
    ClosedTextBrowser::keyPressEvent(event);
}
