#pragma once

#include <gtest/gtest.h>

#include "xelutils/platform/coredll.h"

inline void RunWithSmallStack(std::function<void()> work)
{
    const auto run = [](void* argument) -> DWORD {
        (*static_cast<std::function<void()>*>(argument))();
        return 0;
    };
    const HANDLE thread = CreateThread(nullptr, kSmallStackBytes, run, &work,
                                       STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    CloseHandle(thread);
}
