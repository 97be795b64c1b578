#include "xelutils/system/library_funcs.h"

using xel_text::CXelStringT;

namespace {

bool NeedsQuotes(const wchar_t* argument)
{
    const CXelStringT<wchar_t> text(argument);
    return text.IsEmpty() || text.FindOneOf(L" \t\n\v\"") >= 0;
}

// Backslashes are plain text unless a quote follows them; there each is written twice.
void AppendInQuotes(CXelStringT<wchar_t>& commandLine, const wchar_t* argument)
{
    int backslashes = 0;
    commandLine += L'"';
    for (; *argument != 0; ++argument) {
        if (*argument == '"')
            commandLine += CXelStringT<wchar_t>(L'\\', backslashes + 1);
        backslashes = *argument == '\\' ? backslashes + 1 : 0;
        commandLine += *argument;
    }
    commandLine += CXelStringT<wchar_t>(L'\\', backslashes) + L"\"";
}

} // namespace

CXelStringT<wchar_t>
QuoteArguments(const std::vector<CXelStringT<wchar_t>,
                                 xel_mem::xel_dl_allocator<CXelStringT<wchar_t>>>& arguments)
{
    CXelStringT<wchar_t> commandLine;
    for (const wchar_t* argument : arguments) {
        if (NeedsQuotes(argument))
            AppendInQuotes(commandLine, argument);
        else
            commandLine += argument;
        commandLine += L' ';
    }
    return commandLine;
}
