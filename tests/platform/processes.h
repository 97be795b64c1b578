// Children that are started by the device's call.
#pragma once

#include <gtest/gtest.h>

#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_string.h"

using WideString = xel_text::CXelStringT<wchar_t>;

inline BOOL Start(const WideString& program, const wchar_t* arguments, PROCESS_INFORMATION& process)
{
    WideString commandLine(arguments);
    STARTUPINFOW startup = {};
    return CreateProcessW(program, commandLine.GetBuffer(0), nullptr, nullptr, FALSE,
                          CREATE_NEW_CONSOLE, nullptr, nullptr, &startup, &process);
}

struct Child {
    Child(const WideString& program, const wchar_t* arguments)
    {
        EXPECT_TRUE(Start(program, arguments, process));
    }
    ~Child()
    {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // 1000 when it cannot be learned.
    DWORD Wait() const
    {
        DWORD code = 1000;
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        return code;
    }

    PROCESS_INFORMATION process = {};
};
