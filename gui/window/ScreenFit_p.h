#pragma once

#include <QSize>

class QResizeEvent;
class QShowEvent;
class QWidget;

/// Keeps windows on the screen with their whole frame. One that is larger than the screen shows its title
/// bar.
namespace ScreenFit {

/// @param least  the size to have where the screen has room for it
void fit(QWidget &window, const QSize &least = QSize());

/// For a window that neither its host nor a stored geometry has placed, from its showEvent() and
/// resizeEvent(): the toolkit centres a dialog without a thought of the frame, and lets contents that grow
/// push it out of the screen. What the user does with the window is left alone.
void onShown(QWidget &window, const QShowEvent &event);
void onResized(QWidget &window, const QResizeEvent &event);

} // namespace ScreenFit
