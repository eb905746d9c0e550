#include "gui/platform/ServerAddress.h"

namespace KovGui::Platform {

// Every TLS library that libcurl is built with there compares addresses itself.

bool hasToCompareAddress(const std::string &)
{
    return false;
}

bool isCertificateFor(const std::string &, CURL *)
{
    return false;
}

} // namespace KovGui::Platform
