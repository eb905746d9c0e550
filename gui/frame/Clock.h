#pragma once

#include "gui/KovGuiGlobal.h"

#include <QDateTime>

#include <functional>

/// The wall clock of everything that depends on the date: one place, so that a test passes a month in a
/// second. GUI thread only.
namespace Clock {

/// Local time.
KOVGUI_EXPORT QDateTime now();
/// Replaces the system's clock; an empty function restores it. For tests and for guided tours.
KOVGUI_EXPORT void set(std::function<QDateTime()> clock);

} // namespace Clock
