#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

class QTextEdit;

/// Tells when the user leaves a text editor, as a line edit tells by itself: not for another window and not
/// for a menu.
class KOVGUI_EXPORT CTextEditValueWatcher : public QObject
{
    Q_OBJECT

public:
    /// The watcher belongs to the editor.
    explicit CTextEditValueWatcher(QTextEdit *editor);

    QTextEdit *editor() const;

Q_SIGNALS:
    void editFinished();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
