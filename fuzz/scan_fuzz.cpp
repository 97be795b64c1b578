// Arbitrary formats and texts. Outputs are as large as the text can make them, text and format as
// small as they are, so that the sanitizers see every step too far.
#include <vector>

#include "fuzz_input.h"
#include "xelutils/platform/coredll.h"

namespace {

// Mostly what means something, so that formats get somewhere.
std::vector<wchar_t> FormatText(FuzzInput& input, unsigned length)
{
    static constexpr wchar_t kUnits[] =
        L"%%%%%%diuoxXpeEfgGcCsS[]^-n*hlI6432Lw0159 \t,abz.\x3000\xE9";
    std::vector<wchar_t> text;
    for (; length > 0; --length)
        text.push_back(kUnits[input.Byte() % (sizeof kUnits / sizeof *kUnits - 1)]);
    text.push_back(0);
    return text;
}

std::vector<wchar_t> ScannedText(FuzzInput& input)
{
    static constexpr wchar_t kUnits[] = L"0123456789+-.eExXaAfF ,]%z\t\x3000\xE9\x416\xD83D";
    std::vector<wchar_t> text;
    while (!input.Empty()) {
        const unsigned byte = input.Byte();
        // Now and then a run, for numbers longer than any buffer.
        const unsigned count = byte >= 0xF8 ? 1u << (byte - 0xF5) : 1;
        text.insert(text.end(), count, kUnits[input.Byte() % (sizeof kUnits / sizeof *kUnits - 1)]);
    }
    text.push_back(0);
    text.shrink_to_fit();
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kOutputs = 4;
    FuzzInput input(data, size);
    const unsigned formatLength = input.Byte() % 32;
    const std::vector<wchar_t> format = FormatText(input, formatLength);
    const std::size_t count = input.Byte() % (kOutputs + 1);
    const std::vector<wchar_t> text = ScannedText(input);

    // Terminated text of any width, in two bytes a unit, or any number.
    std::vector<std::uint64_t> places[kOutputs];
    void* outputs[kOutputs];
    for (std::size_t i = 0; i < kOutputs; ++i) {
        places[i].resize(text.size() / 4 + 2);
        outputs[i] = places[i].data();
    }
    const int stored = scanning::Scan(text.data(), format.data(), outputs, count);
    FUZZ_REQUIRE(-1 <= stored && stored <= static_cast<int>(count));
    return 0;
}
