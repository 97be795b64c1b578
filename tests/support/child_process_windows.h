// Programs started by the system's call, with this one as their debugger where that is to be seen.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include "support/child_process.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/system/library_funcs.h"
#include "xelutils/text/xel_utf.h"

class ChildProcess {
public:
    explicit ChildProcess(const ChildStart& start)
        : m_debugOutput(start.showsDebugOutput ? start.error : "")
    {
        using xel_text::FromUtf8;
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = Stream(start.input, STD_INPUT_HANDLE, inherited);
        startup.hStdOutput = Stream(start.output, STD_OUTPUT_HANDLE, inherited);
        startup.hStdError = Stream(start.error, STD_ERROR_HANDLE, inherited);
        if (start.waitsForInput) {
            EXPECT_TRUE(CreatePipe(&startup.hStdInput, &m_input, &inherited, 0));
            SetHandleInformation(m_input, HANDLE_FLAG_INHERIT, 0);
        }

        const String program = FromUtf8(start.program);
        std::vector<String, xel_mem::xel_dl_allocator<String>> words;
        for (const std::string& argument : start.arguments)
            words.push_back(FromUtf8(argument));
        String commandLine = QuoteArguments(words);
        String folder = FromUtf8(start.folder);
        const Variables variables(start.environment);
        PROCESS_INFORMATION process = {};
        EXPECT_TRUE(CreateProcessW(
            program, commandLine.GetBuffer(commandLine.GetLength()), nullptr, nullptr, TRUE,
            m_debugOutput.empty() ? 0 : DEBUG_ONLY_THIS_PROCESS, nullptr,
            start.folder.empty() ? nullptr : folder.GetBuffer(folder.GetLength()), &startup,
            &process))
            << start.program << ": " << GetLastError();
        m_process = process.hProcess;
        m_id = process.dwProcessId;
        CloseHandle(process.hThread);
        if (!start.output.empty())
            CloseHandle(startup.hStdOutput);
        if (!start.error.empty())
            CloseHandle(startup.hStdError);
        if (start.waitsForInput || !start.input.empty())
            CloseHandle(startup.hStdInput);
    }
    ~ChildProcess() { Wait(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Returns once all of it is in the pipe to its input.
    bool Feed(std::string_view bytes) const
    {
        DWORD fed = 0;
        return WriteFile(m_input, bytes.data(), static_cast<DWORD>(bytes.size()), &fed, nullptr) &&
               fed == bytes.size();
    }
    bool EndsWithin(DWORD milliseconds) const
    {
        return WaitForSingleObject(m_process, milliseconds) == WAIT_OBJECT_0;
    }
    // Also ends its input. -1 the second time, too.
    int Wait()
    {
        if (m_input != nullptr)
            CloseHandle(std::exchange(m_input, nullptr));
        if (m_process == nullptr)
            return -1;
        if (!m_debugOutput.empty())
            WatchUntilItEnds();
        WaitForSingleObject(m_process, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(m_process, &code);
        CloseHandle(std::exchange(m_process, nullptr));
        return static_cast<int>(code);
    }

private:
    using String = xel_text::CXelStringT<wchar_t>;

    // Set as long as it lives, and inherited.
    class Variables {
    public:
        explicit Variables(const std::vector<std::pair<std::string, std::string>>& variables)
        {
            for (const auto& [name, value] : variables) {
                m_names.push_back(xel_text::FromUtf8(name));
                SetEnvironmentVariableW(m_names.back(), xel_text::FromUtf8(value));
            }
        }
        ~Variables()
        {
            for (const String& name : m_names)
                SetEnvironmentVariableW(name, nullptr);
        }
        Variables(const Variables&) = delete;
        Variables& operator=(const Variables&) = delete;

    private:
        std::vector<String> m_names;
    };

    static HANDLE Stream(const std::string& file, DWORD standard, SECURITY_ATTRIBUTES& inherited)
    {
        if (file.empty())
            return GetStdHandle(standard);
        const bool isInput = standard == STD_INPUT_HANDLE;
        return CreateFileW(xel_text::FromUtf8(file), isInput ? GENERIC_READ : GENERIC_WRITE,
                           FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                           isInput ? OPEN_EXISTING : CREATE_ALWAYS, 0, nullptr);
    }

    void WatchUntilItEnds() const
    {
        DEBUG_EVENT event = {};
        do {
            WaitForDebugEvent(&event, INFINITE);
            DWORD answer = DBG_CONTINUE;
            if (event.dwDebugEventCode == OUTPUT_DEBUG_STRING_EVENT)
                Note(event.u.DebugString);
            else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT &&
                     event.u.Exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT)
                answer = DBG_EXCEPTION_NOT_HANDLED;
            if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT)
                CloseHandle(event.u.CreateProcessInfo.hFile);
            if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT)
                CloseHandle(event.u.LoadDll.hFile);
            ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
        } while (event.dwDebugEventCode != EXIT_PROCESS_DEBUG_EVENT || event.dwProcessId != m_id);
    }
    // What it shows a debugger goes through the system's code page.
    void Note(const OUTPUT_DEBUG_STRING_INFO& info) const
    {
        std::string bytes(info.nDebugStringLength, '\0');
        SIZE_T size = 0;
        ReadProcessMemory(m_process, info.lpDebugStringData, bytes.data(), bytes.size(), &size);
        bytes.resize(size == 0 ? 0 : size - 1);
        std::ofstream(m_debugOutput, std::ios::binary | std::ios::app)
            << xel_text::ToUtf8(String(bytes.c_str()));
    }

    HANDLE m_input = nullptr;
    HANDLE m_process = nullptr;
    DWORD m_id = 0;
    const std::string m_debugOutput;
};
