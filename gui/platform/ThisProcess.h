#pragma once

/// What a log record says of the calling process and thread. Any thread may ask; nothing allocates or fails.
namespace KovGui::Platform {

/// Right in a forked child as well.
unsigned processId() noexcept;
/// The operating system's number of the calling thread, as its tools show it.
unsigned threadId() noexcept;

/// Wall-clock time in the local time zone.
struct LocalTime
{
    int month = 1; ///< 1 to 12
    int day = 1; ///< 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0; ///< 60 in a leap second
    int millisecond = 0;
};
LocalTime localTime() noexcept;

} // namespace KovGui::Platform
