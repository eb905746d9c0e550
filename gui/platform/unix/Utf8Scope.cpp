#include "gui/platform/Utf8Scope.h"

#include <initializer_list>
#include <locale.h>

namespace KovGui::Platform {

Utf8Scope::Utf8Scope() noexcept
{
    for (const char *name : {"C.UTF-8", "en_US.UTF-8"}) {
        if (!m_scope)
            m_scope = newlocale(LC_CTYPE_MASK, name, nullptr);
    }
    if (m_scope)
        m_before = uselocale(static_cast<locale_t>(m_scope));
}

Utf8Scope::~Utf8Scope()
{
    if (!m_scope)
        return;
    uselocale(static_cast<locale_t>(m_before));
    freelocale(static_cast<locale_t>(m_scope));
}

} // namespace KovGui::Platform
