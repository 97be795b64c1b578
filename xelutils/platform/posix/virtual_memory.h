// What the memory status needs to know of the reservations.
#pragma once

#include <cstdint>

// Bytes that VirtualAlloc can hand out at most, and those that are handed out now. A host that
// keeps a part of the range for itself is not counted.
std::uint64_t ReservableBytes();
std::uint64_t ReservedBytes();
