#pragma once

#include <QProgressBar>

/// A progress bar whose text can be read from right to left, too: the toolkit's usual style mirrors the bar
/// there, but not the colours of the text on it.
class ProgressBar : public QProgressBar
{
    Q_OBJECT

public:
    using QProgressBar::QProgressBar;

protected:
    void paintEvent(QPaintEvent *event) override;
};
