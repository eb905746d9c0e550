#pragma once

#include "kov_sdk/HandleTable_p.h"

#include <string>
#include <utility>

namespace KovService {

/// A problem report that a job yields. Never changes.
class Report : public Object
{
public:
    static constexpr _KOV_HANDLE_TYPE handleType = KHT_REPORT;

    Report(std::string data, std::string archiveName)
        : Object(handleType)
        , data(std::move(data))
        , archiveName(std::move(archiveName))
    { }

    const std::string data; ///< bytes, as they came
    const std::string archiveName; ///< UTF-8
};

} // namespace KovService
