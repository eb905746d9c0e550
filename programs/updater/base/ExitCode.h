#pragma once

#include "gui/update/launch/UpdaterExitCode.h"

/// The program names its own exit codes without their namespace.
using Updater::ExitCode;
