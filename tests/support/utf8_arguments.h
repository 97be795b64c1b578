// Command lines as the host splits them, in UTF-8.
#pragma once

#include <optional>
#include <string>
#include <vector>

#if defined(_WIN32)
#include "xelutils/platform/coredll.h"

#include <shellapi.h>

// With the program's own name in front.
inline std::vector<std::string> SplitWithProgram(const wchar_t* commandLine)
{
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(commandLine, &count);
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) {
        const int size =
            WideCharToMultiByte(CP_UTF8, 0, words[i], -1, nullptr, 0, nullptr, nullptr);
        std::string& argument = arguments.emplace_back(static_cast<std::size_t>(size - 1), '\0');
        WideCharToMultiByte(CP_UTF8, 0, words[i], -1, argument.data(), size, nullptr, nullptr);
    }
    LocalFree(words);
    return arguments;
}

// Nothing where the host has no call for it.
inline std::optional<std::vector<std::string>> SplitByHost(const std::wstring& commandLine)
{
    std::vector<std::string> words = SplitWithProgram((L"program " + commandLine).c_str());
    words.erase(words.begin());
    return words;
}

// Those of this program, its name in front.
inline std::vector<std::string> Utf8Arguments(int, char**)
{
    return SplitWithProgram(GetCommandLineW());
}
#else
inline std::optional<std::vector<std::string>> SplitByHost(const wchar_t*)
{
    return std::nullopt;
}

inline std::vector<std::string> Utf8Arguments(int count, char** arguments)
{
    return {arguments, arguments + count};
}
#endif
