// The arguments of this program in UTF-8, its own name in front.
#pragma once

#include <string>
#include <vector>

#if defined(_WIN32)
#include "xelutils/platform/coredll.h"

#include <shellapi.h>

inline std::vector<std::string> Utf8Arguments(int, char**)
{
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
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
#else
inline std::vector<std::string> Utf8Arguments(int count, char** arguments)
{
    return {arguments, arguments + count};
}
#endif
