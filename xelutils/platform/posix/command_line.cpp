#include "xelutils/platform/posix/command_line.h"

#include <algorithm>

#include "xelutils/platform/posix/utf.h"
#include "xelutils/platform/posix/wide_length.h"

namespace {

// What is left of a command line.
struct Rest {
    const wchar_t* text;
    const wchar_t* end;

    bool StartsWith(wchar_t unit) const { return text != end && *text == unit; }
    bool StartsWithBlank() const { return StartsWith(' ') || StartsWith('\t'); }
};

void TakeBlanks(Rest& rest)
{
    while (rest.StartsWithBlank())
        ++rest.text;
}

// Backslashes count only before a quote: two are one of the argument, and one that is left over
// makes the quote a part of it.
void TakeBackslashes(Rest& rest, std::string& argument)
{
    const wchar_t* const behind =
        std::find_if(rest.text, rest.end, [](wchar_t unit) { return unit != '\\'; });
    const auto count = static_cast<std::size_t>(behind - rest.text);
    rest.text = behind;
    if (!rest.StartsWith('"')) {
        argument.append(count, '\\');
        return;
    }
    argument.append(count / 2, '\\');
    if (count % 2 != 0) {
        argument.push_back('"');
        ++rest.text;
    }
}

// Two inside quotes are one of the argument, and the second one closes them: so did the device's
// run-time, and so does the call of desktop Windows.
void TakeQuote(Rest& rest, std::string& argument, bool& inQuotes)
{
    ++rest.text;
    if (inQuotes && rest.StartsWith('"')) {
        argument.push_back('"');
        ++rest.text;
    }
    inQuotes = !inQuotes;
}

void TakePlainCharacter(Rest& rest, std::string& argument)
{
    constexpr char32_t kCarrierBase = 0xDC00;
    constexpr char32_t kReplacement = 0xFFFD;
    const char32_t character = TakeCharacter(rest.text, rest.end);
    if (character >= kCarrierBase + 0x80 && character <= kCarrierBase + 0xFF)
        argument.push_back(static_cast<char>(character - kCarrierBase));
    else if (IsHighSurrogate(character) || IsLowSurrogate(character))
        AppendUtf8(argument, kReplacement);
    else
        AppendUtf8(argument, character);
}

std::string TakeArgument(Rest& rest)
{
    std::string argument;
    bool inQuotes = false;
    while (rest.text != rest.end && (inQuotes || !rest.StartsWithBlank())) {
        if (rest.StartsWith('\\'))
            TakeBackslashes(rest, argument);
        else if (rest.StartsWith('"'))
            TakeQuote(rest, argument, inQuotes);
        else
            TakePlainCharacter(rest, argument);
    }
    return argument;
}

} // namespace

std::vector<std::string> SplitCommandLine(const wchar_t* commandLine)
{
    std::vector<std::string> arguments;
    Rest rest{commandLine, commandLine + WideLength(commandLine)};
    for (TakeBlanks(rest); rest.text != rest.end; TakeBlanks(rest))
        arguments.push_back(TakeArgument(rest));
    return arguments;
}
