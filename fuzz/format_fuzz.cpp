// Any format in both widths, over arguments that suit every conversion; texts of any room are
// beginnings of the whole one, and both widths agree where no text or character stands in them.
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_words.h"
#include "tests/support/print.h"

namespace {

// A conversion with two stars takes three arguments and as many characters of the format.
constexpr std::size_t kLongestFormat = 100;
constexpr std::size_t kWhole = 0x4000;

// The first doubles go where a call hands over doubles; later ones are read from the words.
template <class T, std::size_t... I>
int PrintWords(T* buffer, std::size_t count, const T* format, std::index_sequence<I...>)
{
    using Limits = std::numeric_limits<double>;
    return Print(buffer, count, format, 0.5, -1.25, 1e300, Limits::infinity(), -Limits::quiet_NaN(),
                 Limits::denorm_min(), 999999.5, -0.0, FuzzWord(I)...);
}

template <class T> struct Printed {
    int result;
    std::vector<T> units;
};

// In blocks of exactly the size of format and text.
template <class T> Printed<T> PrintIn(std::size_t count, const std::vector<T>& format)
{
    Printed<T> printed{0, std::vector<T>(count, T('~'))};
    printed.result = PrintWords(printed.units.data(), count, format.data(),
                                std::make_index_sequence<2 * kLongestFormat>());
    return printed;
}

template <class T> Printed<T> Check(std::size_t room, const std::vector<T>& format)
{
    Printed<T> whole = PrintIn(kWhole, format);
    const auto length = whole.result < 0 ? kWhole : static_cast<std::size_t>(whole.result);
    FUZZ_REQUIRE(length <= kWhole);
    FUZZ_REQUIRE(length == kWhole || whole.units[length] == 0);
    for (const std::size_t count : {room, length, length - (length > 0)}) {
        const Printed<T> cut = PrintIn(count, format);
        const bool fits = whole.result >= 0 && length <= count;
        FUZZ_REQUIRE(cut.result == (fits ? whole.result : count == kWhole ? whole.result : -1));
        const std::size_t stored = std::min(count, length);
        FUZZ_REQUIRE(
            std::equal(cut.units.begin(), cut.units.begin() + stored, whole.units.begin()));
        for (std::size_t i = length; i < count; ++i)
            FUZZ_REQUIRE(cut.units[i] == (i == length ? T(0) : T('~')));
    }
    return whole;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::size_t room = *data;
    const std::string_view text(reinterpret_cast<const char*>(data + 1),
                                std::min(size - 1, kLongestFormat));
    std::vector<char> narrow(text.begin(), text.end());
    narrow.push_back(0);
    std::vector<wchar_t> wide;
    for (const char c : narrow)
        wide.push_back(static_cast<unsigned char>(c));

    const Printed<char> narrowText = Check(room, narrow);
    const Printed<wchar_t> wideText = Check(room, wide);
    if (text.find_first_of("cCsS") == text.npos) {
        FUZZ_REQUIRE(narrowText.result == wideText.result);
        for (std::size_t i = 0; i < kWhole; ++i)
            FUZZ_REQUIRE(static_cast<unsigned char>(narrowText.units[i]) == wideText.units[i]);
    }
    return 0;
}
