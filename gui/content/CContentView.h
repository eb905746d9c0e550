#pragma once

#include "gui/KovGuiGlobal.h"

#include <QWidget>

#include <memory>

class CContentArea;
class QQuickItem;
class QQuickWindow;

/**
 * A widget with a content area: where scenes meet a window of widgets.
 *
 * Tab walks through the items of the scene and the widgets that it hosts, and leaves the view at its end.
 * Screen readers see the items. Without a choice of the host's (QT_QUICK_BACKEND,
 * QQuickWindow::setSceneGraphBackend()) it draws in software, so it needs no graphics processor; the choice
 * falls with the first view of the process.
 *
 * Without the QML modules of Qt Quick it shows a text that says so, logs the reason, and its area shows
 * nothing.
 */
class KOVGUI_DECLARATIVE_EXPORT CContentView : public QWidget
{
    Q_OBJECT

public:
    explicit CContentView(QWidget *parent = nullptr);
    ~CContentView() override;

    CContentArea *contentArea() const;
    /// What draws the scene and takes its keys.
    QWidget *sceneWidget() const;
    /// Gives the keyboard to the first item of a part of the scene that takes it.
    /// @return false when there is none
    bool focusFirst(QQuickItem *part);

    /// The view that shows a scene; null for another window's.
    static CContentView *of(const QQuickWindow *window);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
