#include "gui/mapping/widgets/CTextEditValueWatcher.h"

#include <QFocusEvent>
#include <QTextEdit>

CTextEditValueWatcher::CTextEditValueWatcher(QTextEdit *editor)
    : QObject(editor)
{
    editor->installEventFilter(this);
}

QTextEdit *CTextEditValueWatcher::editor() const
{
    return qobject_cast<QTextEdit *>(parent());
}

bool CTextEditValueWatcher::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusOut) {
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            Q_EMIT editFinished();
    }
    return QObject::eventFilter(watched, event);
}
