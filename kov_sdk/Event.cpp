#include "kov_sdk/Event_p.h"

#include <unordered_set>
#include <utility>

namespace KovService {

EventParameter::EventParameter(std::string name, std::string text)
    : Object(handleType)
    , name(std::move(name))
    , valueType(KPT_STRING)
    , text(std::move(text))
{ }

EventParameter::EventParameter(std::string name, int32_t number)
    : Object(handleType)
    , name(std::move(name))
    , valueType(KPT_INT32)
    , text(std::to_string(number))
    , number(number)
{ }

EventParameter::EventParameter(std::string name, std::shared_ptr<Event> event)
    : Object(handleType)
    , name(std::move(name))
    , valueType(KPT_HANDLE)
    , event(std::move(event))
{ }

Event::Event(KOV_RESULT code, std::string issuerId)
    : Object(handleType)
    , code(code)
    , issuerId(std::move(issuerId))
{ }

Event::~Event()
{
    // A chain of 100,000 nested events would overflow the stack if each destroyed the next.
    static thread_local std::vector<EventParameters> *dying = nullptr;
    if (dying) {
        dying->push_back(std::move(m_parameters));
        return;
    }
    std::vector<EventParameters> waiting;
    waiting.push_back(std::move(m_parameters));
    dying = &waiting;
    while (!waiting.empty()) {
        const EventParameters next = std::move(waiting.back());
        waiting.pop_back();
    }
    dying = nullptr;
}

EventParameters Event::parameters() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_parameters;
}

void Event::add(std::shared_ptr<EventParameter> parameter)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_parameters.push_back(std::move(parameter));
}

static bool holds(const Event *holder, const Event *wanted)
{
    std::vector<const Event *> waiting{holder};
    std::unordered_set<const Event *> seen{holder};
    while (!waiting.empty()) {
        const Event *const event = waiting.back();
        waiting.pop_back();
        if (event == wanted)
            return true;
        for (const auto &parameter : event->parameters()) {
            if (parameter->event && seen.insert(parameter->event.get()).second)
                waiting.push_back(parameter->event.get());
        }
    }
    return false;
}

bool Event::addNested(const std::shared_ptr<EventParameter> &parameter)
{
    // One for all events: two threads that nest two events into each other must not both pass the check.
    static std::mutex nesting;
    const std::lock_guard<std::mutex> lock(nesting);
    if (holds(parameter->event.get(), this))
        return false;
    add(parameter);
    return true;
}

static bool isChoice(const std::string &name)
{
    return name.rfind("vm_message_choice_", 0) == 0;
}

std::vector<std::string> Event::textArguments() const
{
    std::vector<std::string> arguments;
    for (const auto &parameter : parameters()) {
        if (parameter->valueType != KPT_HANDLE && !isChoice(parameter->name))
            arguments.push_back(parameter->text);
    }
    return arguments;
}

} // namespace KovService
