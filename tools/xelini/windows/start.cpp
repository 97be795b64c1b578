#include "tools/xelini/start.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>

#include "tools/xelini/failure.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

std::string toArgument(const wchar_t* given)
{
    const xel_text::CXelStringT<wchar_t> text = given;
    std::string utf8 = xel_text::ToUtf8(text);
    if (xel_text::ToUtf16(xel_text::FromUtf8(utf8)) != xel_text::ToUtf16(text))
        throw Failure{Status::failed, "argument '" + utf8 + "' is not UTF-16"};
    return utf8;
}

} // namespace

// The arguments of main are in the system's code page, which does not hold every character.
std::vector<std::string> startProgram(int, const char* const*)
{
    int count = 0;
    const std::unique_ptr<wchar_t*[], decltype(&LocalFree)> words(
        CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
    std::vector<std::string> arguments;
    for (int i = 1; words && i < count; ++i)
        arguments.push_back(toArgument(words[static_cast<std::size_t>(i)]));
    return arguments;
}

} // namespace xelini
