// Command lines out of few characters: what was split comes out again when it is quoted and split,
// and so do arguments that no command line gave.
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "xelutils/platform/posix/command_line.h"
#include "xelutils/system/library_funcs.h"
#include "xelutils/text/xel_utf.h"

namespace {

using WideString = xel_text::CXelStringT<wchar_t>;

std::string Text(FuzzInput& input, unsigned most)
{
    static constexpr char kCharacters[] = "\\\\\\\"\"  \tab\n'";
    std::string text;
    for (unsigned length = input.Byte() % (most + 1); length > 0 && !input.Empty(); --length)
        text += kCharacters[input.Byte() % (sizeof kCharacters - 1)];
    return text;
}

void RequireRoundTrip(const std::vector<std::string>& arguments)
{
    std::vector<WideString, xel_mem::xel_dl_allocator<WideString>> wide;
    for (const std::string& argument : arguments)
        wide.push_back(xel_text::FromUtf8(argument));
    FUZZ_REQUIRE(SplitCommandLine(QuoteArguments(wide)) == arguments);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    RequireRoundTrip(SplitCommandLine(xel_text::FromUtf8(Text(input, 60))));
    std::vector<std::string> arguments;
    while (!input.Empty())
        arguments.push_back(Text(input, 12));
    RequireRoundTrip(arguments);
    return 0;
}
