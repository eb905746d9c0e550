#pragma once

#include <QTextBrowser>

/**
 * Shows rich text and loads nothing for it: pictures take no room, style sheets and every other resource are
 * ignored, no file system and no network is asked. Links are opened by nobody; anchorClicked() tells of a
 * click. Nothing can be dropped on it.
 */
class ClosedTextBrowser : public QTextBrowser
{
    Q_OBJECT

public:
    explicit ClosedTextBrowser(QWidget *parent = nullptr);
    ~ClosedTextBrowser() override;

    QVariant loadResource(int type, const QUrl &name) override;

protected:
    /// To be called before the first text is set; apart from the constructor because a view without a text
    /// needs no layout.
    void closeDocument();
};
