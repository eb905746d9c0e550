#pragma once

#include "gui/window/ClosedTextBrowser_p.h"

/**
 * Shows a short text of a message, which may be simple rich text.
 *
 * Mouse and keyboard can select and copy. Return and Enter go to the dialog unless a link is selected. It
 * looks like a label: no frame, no background, the window's text colour.
 */
class SafeTextView : public ClosedTextBrowser
{
    Q_OBJECT

public:
    explicit SafeTextView(QWidget *parent = nullptr);
    ~SafeTextView() override;

    /// Rich text. A selection and the scroll position stay, as far as the new text reaches.
    void setMessageText(const QString &text);
    /// The room that the text takes when lines are broken at the limit. Narrowed down to that width it breaks
    /// no other way.
    QSize sizeWithin(int widthLimit);
    /// What the size hints follow. A text of more than the maximum height scrolls, in a view that wide and a
    /// bar more.
    void setPreferredSize(int width, int height, int maximumHeight);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void prepareDocument();
    void showText();
    void followWindowColors();

    QString m_text;
    QSize m_preferred;
};
