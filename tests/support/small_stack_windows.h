#pragma once

#include <gtest/gtest.h>

#include "xelutils/platform/coredll.h"

inline DWORD WINAPI RunWork(void* work)
{
    (*static_cast<std::function<void()>*>(work))();
    return 0;
}

inline void RunWithSmallStack(std::function<void()> work)
{
    const HANDLE thread = CreateThread(nullptr, kSmallStackBytes, RunWork, &work,
                                       STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    CloseHandle(thread);
}
