#include "gui/frame/Clock.h"

#include <utility>

namespace {

std::function<QDateTime()> &replacement()
{
    static std::function<QDateTime()> clock;
    return clock;
}

} // namespace

QDateTime Clock::now()
{
    return replacement() ? replacement()() : QDateTime::currentDateTime();
}

void Clock::set(std::function<QDateTime()> clock)
{
    replacement() = std::move(clock);
}
