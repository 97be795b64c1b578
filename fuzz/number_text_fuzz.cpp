// Conversions of any numbers and texts: what comes out stands in its bounds, and integers agree
// with the standard library's.
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "fuzz_input.h"
#include "xelutils/formats/xel_formats.h"
#include "xelutils/text/xel_utf.h"

using namespace xel_formats;
using String = CXelStringT<wchar_t>;

namespace {

template <class Number> Number Any(FuzzInput& input)
{
    unsigned char bytes[sizeof(Number)];
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(input.Byte());
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

void CheckIntegers(FuzzInput& input)
{
    const auto number = Any<long long>(input);
    const String text = Int64ToString(number) + L"x";
    FUZZ_REQUIRE(xel_text::ToUtf8(text) == std::to_string(number) + "x");
    long long wide = 0;
    int whole = 0;
    long ofLong = 0;
    unsigned positive = 0;
    short small = 0;
    FUZZ_REQUIRE(StringToInt64(text, wide) && wide == number);
    FUZZ_REQUIRE(StringToInt(text, whole) && whole == static_cast<int>(number));
    FUZZ_REQUIRE(StringToLong(text, ofLong) && ofLong == static_cast<std::int32_t>(number));
    FUZZ_REQUIRE(StringToUint(text, positive) && positive == static_cast<unsigned>(number));
    FUZZ_REQUIRE(StringToShort(text, small) && small == static_cast<short>(number));
    FUZZ_REQUIRE(xel_text::ToUtf8(IntToString(whole)) == std::to_string(whole));
    FUZZ_REQUIRE(xel_text::ToUtf8(UIntToString(positive)) == std::to_string(positive));
    FUZZ_REQUIRE(TimeSpanToString(CTimeSpan(whole)).GetLength() >= 8);
}

void CheckDoubles(FuzzInput& input)
{
    constexpr int kLongest = 15, kCut = 2048, kExact = 17;
    const auto number = Any<double>(input);
    const auto decimals = Any<int>(input);
    const String cut = DoubleToString(number);
    FUZZ_REQUIRE(cut.GetLength() > 0 && cut.GetLength() <= kLongest);
    const int length = DoubleToString(number, decimals % kCut).GetLength();
    FUZZ_REQUIRE(length > 0 && length <= kCut);
    double again = 0;
    if (std::abs(number) >= 1 && std::abs(number) < 1e300)
        FUZZ_REQUIRE(StringToDouble(DoubleToString(number, kExact), again) && again == number);
    const double rounded = FormatFloat(number, decimals);
    constexpr double kRange = std::numeric_limits<std::uint32_t>::max() + 1.0;
    FUZZ_REQUIRE(std::abs(rounded) <= kRange);
    if (decimals <= 9 && std::abs(number) < kRange / 2)
        FUZZ_REQUIRE(std::abs(rounded - number) <= 1);
}

void CheckText(FuzzInput& input)
{
    std::u16string units;
    for (unsigned length = input.Byte() % 40; length > 0; --length)
        units += static_cast<char16_t>(
            input.Byte() % 4 ? "0123456789+-.,eExX \tinfa"[input.Byte() % 24] : input.Word());
    const String text = xel_text::FromUtf16(units);
    double number = 77;
    if (!StringToDouble(text, number))
        FUZZ_REQUIRE(number == 0 && !std::signbit(number));
    FUZZ_REQUIRE(!std::isnan(number));
    int whole = 77;
    if (!StringToInt(text, whole))
        FUZZ_REQUIRE(whole == 0);
    FUZZ_REQUIRE(ToUtf16(text) == units);

    // The buffer is as large as it must be.
    const int sourceLength = std::min(input.Index(text.GetLength()), text.GetLength());
    const int targetLength = input.Index(text.GetLength());
    std::string target(static_cast<std::size_t>(std::max(targetLength + 1, 0)), '#');
    String2ASCII(text, sourceLength, target.data(), targetLength);
    const int copied = std::max(std::min(sourceLength, targetLength), 0);
    FUZZ_REQUIRE(target.empty() || target[static_cast<std::size_t>(copied)] == 0);
    for (std::size_t i = 0; !target.empty() && i < static_cast<std::size_t>(copied); ++i)
        FUZZ_REQUIRE(target[i] == static_cast<char>(units[i] & 0xFF));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    while (!input.Empty()) {
        CheckIntegers(input);
        CheckDoubles(input);
        CheckText(input);
    }
    return 0;
}
