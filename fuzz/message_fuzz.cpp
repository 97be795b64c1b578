// Any pattern of a message over words that suit every insert: the strings give what the platform's
// call gives, prepared narrow patterns and strings as patterns too.
#include <cstdarg>
#include <cstring>
#include <utility>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_words.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_string.h"

namespace {

using Narrow = xel_text::CXelStringT<char>;
using Wide = xel_text::CXelStringT<wchar_t>;

constexpr std::size_t kLongestPattern = 60;
// 99 inserts, and those that stars take besides.
constexpr auto kArguments = std::make_index_sequence<128>();

// False when there is no message.
bool Ask(Wide& message, const wchar_t* pattern, ...)
{
    va_list arguments;
    va_start(arguments, pattern);
    wchar_t* text = nullptr;
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING, pattern, 0, 0,
                         reinterpret_cast<wchar_t*>(&text), 0, &arguments);
    va_end(arguments);
    FUZZ_REQUIRE((length == 0) == (text == nullptr));
    if (!text)
        return false;
    FUZZ_REQUIRE(text[length] == 0);
    message = text;
    LocalFree(text);
    return true;
}

template <std::size_t... I>
bool AskWords(Wide& message, const wchar_t* pattern, std::index_sequence<I...>)
{
    return Ask(message, pattern, FuzzWord(I)...);
}

template <class T, class Pattern, std::size_t... I>
void Check(const Wide* message, const Pattern& pattern, std::index_sequence<I...>)
{
    xel_text::CXelStringT<T> text("before");
    bool thrown = false;
    try {
        text.FormatMessageW(pattern, FuzzWord(I)...);
    } catch (CMemoryException*) {
        thrown = true;
    }
    FUZZ_REQUIRE(thrown == !message);
    xel_text::CXelStringT<T> expected("before");
    if (message)
        expected = message->GetString();
    FUZZ_REQUIRE(text == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, std::min(size, kLongestPattern));
    // In blocks of exactly their size; the bytes lie at an odd address.
    std::vector<wchar_t> pattern;
    while (!input.Empty()) {
        const unsigned byte = input.Byte();
        pattern.push_back(static_cast<wchar_t>(byte < 0x80 ? byte : byte << 4));
    }
    pattern.push_back(0);
    std::vector<char> bytes(1 + pattern.size() * sizeof(wchar_t));
    std::memcpy(bytes.data() + 1, pattern.data(), bytes.size() - 1);

    Wide message;
    const Wide* const made = AskWords(message, pattern.data(), kArguments) ? &message : nullptr;
    Check<wchar_t>(made, static_cast<const wchar_t*>(pattern.data()), kArguments);
    Check<wchar_t>(made, Wide(pattern.data(), static_cast<int>(pattern.size() - 1)), kArguments);
    Check<char>(made, static_cast<const char*>(bytes.data() + 1), kArguments);
    Check<char>(made, Narrow(bytes.data() + 1, static_cast<int>(bytes.size() - 3)), kArguments);
    return 0;
}
