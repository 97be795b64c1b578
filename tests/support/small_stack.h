// void RunWithSmallStack(work): in a thread as embedded programs start them, with little stack.
#pragma once

#include <cstddef>
#include <functional>

constexpr std::size_t kSmallStackBytes = 256 * 1024;

#if defined(_WIN32)
#include "support/small_stack_windows.h"
#else
#include "support/small_stack_posix.h"
#endif
