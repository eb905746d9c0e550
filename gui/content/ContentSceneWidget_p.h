#pragma once

#include <QQuickWidget>

class QQuickItem;

/// The scene of a content view. QQuickWidget's own Tab never leaves it.
class ContentSceneWidget : public QQuickWidget
{
    Q_OBJECT

public:
    explicit ContentSceneWidget(QWidget *parent);
    ~ContentSceneWidget() override;

    /// Gives the keyboard to the first or last item of a part that Tab stops at.
    bool focusInside(QQuickItem *part, bool first);
    /// Tab (or Backtab) from an item: to the next one, or out of the view.
    bool focusFrom(QQuickItem *item, bool next);

protected:
    bool focusNextPrevChild(bool next) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    QQuickItem *end(bool first) const;
    bool leave(bool next);
};
