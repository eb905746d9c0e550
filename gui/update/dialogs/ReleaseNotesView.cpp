#include "gui/update/dialogs/ReleaseNotesView_p.h"

#include "gui/help/Help.h"
#include "gui/update/dialogs/ReleaseNotes_p.h"

#include <QEvent>
#include <QKeyEvent>

ReleaseNotesView::ReleaseNotesView(QWidget *parent)
    : ClosedTextBrowser(parent)
{
    closeDocument();
    setTextInteractionFlags(Qt::TextBrowserInteraction | Qt::TextSelectableByKeyboard);
    connect(this, &QTextBrowser::anchorClicked, this, [](const QUrl &url) { Help::openWebPage(url); });
    connect(this, QOverload<const QUrl &>::of(&QTextBrowser::highlighted), this,
            [this](const QUrl &url) { viewport()->setToolTip(url.toDisplayString().toHtmlEscaped()); });
}

ReleaseNotesView::~ReleaseNotesView() = default;

void ReleaseNotesView::setNotes(const QString &notes)
{
    m_html = ReleaseNotes::toHtml(notes);
    setHtml(m_html);
}

bool ReleaseNotesView::isEmpty() const
{
    return m_html.isEmpty();
}

QSize ReleaseNotesView::sizeHint() const
{
    const QFontMetrics metrics(font());
    return {metrics.averageCharWidth() * 72, metrics.lineSpacing() * 12};
}

void ReleaseNotesView::changeEvent(QEvent *event)
{
    ClosedTextBrowser::changeEvent(event);
    // Links took their colour from the old palette.
    if (event->type() == QEvent::PaletteChange && !m_html.isEmpty())
        setHtml(m_html);
}

void ReleaseNotesView::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && !(textCursor().hasSelection() && textCursor().charFormat().isAnchor())) {
        event->ignore();
        return;
    }
    ClosedTextBrowser::keyPressEvent(event);
}
