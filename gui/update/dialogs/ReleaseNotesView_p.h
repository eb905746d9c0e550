#pragma once

#include "gui/window/ClosedTextBrowser_p.h"

/// Shows release notes, see ReleaseNotes::toHtml(). A click on a link, or Return on it, opens a web page in
/// the browser; pointing at it shows where it leads. Return elsewhere goes to the dialog.
class ReleaseNotesView : public ClosedTextBrowser
{
    Q_OBJECT

public:
    explicit ReleaseNotesView(QWidget *parent = nullptr);
    ~ReleaseNotesView() override;

    void setNotes(const QString &notes);
    bool isEmpty() const;
    QSize sizeHint() const override;

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QString m_html;
};
