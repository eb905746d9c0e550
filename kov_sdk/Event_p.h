#pragma once

#include "kov_sdk/HandleTable_p.h"

#include <string>
#include <vector>

namespace KovService {

class Event;

/// One named value of an event. Never changes.
class EventParameter : public Object
{
public:
    static constexpr _KOV_HANDLE_TYPE handleType = KHT_EVENT_PARAMETER;

    EventParameter(std::string name, std::string text);
    EventParameter(std::string name, int32_t number);
    EventParameter(std::string name, std::shared_ptr<Event> event);

    const std::string name;
    const _KOV_PARAMETER_TYPE valueType;
    const std::string text; ///< the decimal form for a number, empty for an event
    const int32_t number = 0;
    const std::shared_ptr<Event> event;
};

using EventParameters = std::vector<std::shared_ptr<EventParameter>>;

/// A result code with the values that its text needs. May be used from any thread.
class Event : public Object
{
public:
    static constexpr _KOV_HANDLE_TYPE handleType = KHT_EVENT;

    Event(KOV_RESULT code, std::string issuerId);
    /// Any depth of nesting: events that die with this one do so one after the other, not one inside the
    /// other.
    ~Event() override;

    const KOV_RESULT code;
    const std::string issuerId;

    EventParameters parameters() const;
    void add(std::shared_ptr<EventParameter> parameter);
    /// False, and nothing added, when the parameter's event holds this one already (or is this one).
    bool addNested(const std::shared_ptr<EventParameter> &parameter);
    /// The values for %1, %2 ... of the code's text.
    std::vector<std::string> textArguments() const;

private:
    mutable std::mutex m_mutex;
    EventParameters m_parameters;
};

} // namespace KovService
