#include "gui/platform/Utf8Scope.h"

namespace KovGui::Platform {

// Names are converted from UTF-16 there.
Utf8Scope::Utf8Scope() noexcept = default;
Utf8Scope::~Utf8Scope() = default;

} // namespace KovGui::Platform
