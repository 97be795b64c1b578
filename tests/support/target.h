// What a test expects where desktop Windows answers otherwise than the device.
#pragma once

#if defined(_WIN32)
constexpr bool kOnWindows = true;
#else
constexpr bool kOnWindows = false;
#endif

template <class T> constexpr T OnHost(T device, [[maybe_unused]] T desktop)
{
    return kOnWindows ? desktop : device;
}
