#include "gui/window/CWindowInterface.h"

CWindowInterface::~CWindowInterface() = default;
