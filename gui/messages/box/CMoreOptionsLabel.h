#pragma once

#include "gui/KovGuiGlobal.h"

#include <QPointer>
#include <QToolButton>

/**
 * An expander: a label with an arrow, initially "More Options", that shows and hides an area. It is a
 * checkable button for the keyboard and for screen readers; checked means shown.
 */
class KOVGUI_EXPORT CMoreOptionsLabel : public QToolButton
{
    Q_OBJECT

public:
    explicit CMoreOptionsLabel(QWidget *parent = nullptr);
    ~CMoreOptionsLabel() override;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    QWidget *optionsArea() const;
    /// Takes over the visibility of the area, not the area. Null for none.
    void setOptionsArea(QWidget *area);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int textIndent() const;
    void showState();

    QPointer<QWidget> m_area;
};
