#pragma once

#include <string>

/// The i-th message that each thread of log_writer logs: 1 byte to 64 KiB, in an order that mixes them.
inline std::string messageOf(int i)
{
    static const int lengths[] = {1, 80, 4000, 3, 65536, 200, 4094, 12, 5000, 1, 700};
    return std::string(std::size_t(lengths[i % 11]), char('a' + i % 26));
}
