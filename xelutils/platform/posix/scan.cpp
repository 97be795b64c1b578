// The run-time's scanner.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/scan_numbers.h"
#include "xelutils/platform/posix/text_tables.h"

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

bool IsSpace(wchar_t unit)
{
    // What texts mostly hold needs no table.
    if (L' ' < unit && unit <= L'z')
        return false;
    return (kClassPages[kClassPageOf[unit >> 8]][unit & 0xFF] & kSpaceBit) != 0;
}

// Digits of other scripts are none.
constexpr bool IsDigit(wchar_t unit)
{
    return L'0' <= unit && unit <= L'9';
}

// ---- The format ---------------------------------------------------------------------------

enum class Kind : unsigned char {
    literal,
    modifier,
    position,
    integer,
    floating,
    chars,
    word,
    set
};

// The percent sign, and whatever is no conversion, stands for itself.
constexpr Kind KindOfUnit(wchar_t unit)
{
    switch (unit) {
    case L'd':
    case L'i':
    case L'u':
    case L'o':
    case L'x':
    case L'X':
    case L'p':
        return Kind::integer;
    case L'e':
    case L'E':
    case L'f':
    case L'g':
    case L'G':
        return Kind::floating;
    case L'c':
    case L'C':
        return Kind::chars;
    case L's':
    case L'S':
        return Kind::word;
    case L'[':
        return Kind::set;
    case L'n':
        return Kind::position;
    case L'*':
    case L'h':
    case L'l':
    case L'L':
    case L'w':
    case L'I':
        return Kind::modifier;
    default:
        return IsDigit(unit) ? Kind::modifier : Kind::literal;
    }
}

// A table, because compilers make a dozen branches of the above.
constexpr auto kKinds = [] {
    std::array<Kind, 128> kinds{};
    for (std::size_t i = 0; i < kinds.size(); ++i)
        kinds[i] = KindOfUnit(static_cast<wchar_t>(i));
    return kinds;
}();

Kind KindOf(wchar_t unit)
{
    return unit < kKinds.size() ? kKinds[unit] : Kind::literal;
}

struct Conversion {
    wchar_t letter;
    bool suppressed = false;
    // Of text: `h`, and `l`, `L` or `w`.
    bool isNarrow = false;
    bool isWide = false;
    // Of a float: `l` or `L`.
    bool isDouble = false;
    // Of an integer. The device's long has 32 bits, and so has what `l` stores on every host.
    unsigned bytes = 4;
    // In units of the text.
    std::size_t width = kNoLimit;
};

// To behind its last digit. A width of 0 is none.
std::size_t ReadWidth(const wchar_t*& format)
{
    std::size_t width = 0;
    for (; IsDigit(*format); ++format)
        width = std::min(width, kNoLimit / 10 - 1) * 10 + (*format - std::size_t{L'0'});
    return width == 0 ? kNoLimit : width;
}

// Of a size that starts with `I`, from behind that to behind its end.
unsigned ReadBytes(const wchar_t*& format)
{
    const bool is64 = format[0] == L'6' && format[1] == L'4';
    const bool is32 = format[0] == L'3' && format[1] == L'2';
    if (!is64 && !is32)
        return sizeof(void*);
    format += 2;
    return is64 ? 8 : 4;
}

// From a modifier to behind the last one.
const wchar_t* ReadModifiers(const wchar_t* format, Conversion& conversion)
{
    while (KindOf(*format) == Kind::modifier) {
        if (IsDigit(*format)) {
            conversion.width = ReadWidth(format);
            continue;
        }
        switch (*format++) {
        case L'*':
            conversion.suppressed = true;
            break;
        case L'h':
            conversion.isNarrow = true;
            conversion.bytes = 2;
            break;
        case L'l':
            conversion.isWide = conversion.isDouble = true;
            if (*format == L'l') {
                conversion.bytes = 8;
                ++format;
            }
            break;
        case L'I':
            conversion.bytes = ReadBytes(format);
            break;
        case L'L':
            // A long double is a double on the device.
            conversion.isWide = conversion.isDouble = true;
            break;
        default:
            conversion.isWide = true;
        }
    }
    return format;
}

// The set of units that %[ takes, where it stands in the format.
class Set {
public:
    // From behind the opening bracket to behind the closing one; null when that is missing.
    const wchar_t* Read(const wchar_t* format)
    {
        m_negated = *format == L'^';
        m_begin = m_negated ? format + 1 : format;
        // A closing bracket that comes first is one of the set.
        m_end = m_begin;
        do {
            if (*m_end == 0)
                return nullptr;
            ++m_end;
        } while (*m_end != L']');
        return m_end + 1;
    }

    bool Takes(wchar_t unit) const { return Lists(unit) != m_negated; }

private:
    // A hyphen that is first, last or behind a range stands for itself.
    bool Lists(wchar_t unit) const
    {
        for (const wchar_t* at = m_begin; at != m_end; ++at) {
            if (*at == unit)
                return true;
            if (m_end - at >= 3 && at[1] == L'-') {
                if (std::min(at[0], at[2]) <= unit && unit <= std::max(at[0], at[2]))
                    return true;
                at += 2;
            }
        }
        return false;
    }

    const wchar_t* m_begin = nullptr;
    const wchar_t* m_end = nullptr;
    bool m_negated = false;
};

// ---- What is stored -----------------------------------------------------------------------

template <class Number> void Store(void* target, Number value)
{
    std::memcpy(target, &value, sizeof value);
}

// Wraps.
void StoreInteger(void* target, std::uint64_t value, unsigned bytes)
{
    if (bytes == 4)
        Store(target, static_cast<std::uint32_t>(value));
    else if (bytes == 2)
        Store(target, static_cast<std::uint16_t>(value));
    else
        Store(target, value);
}

// Where the stored text ends.
char* StoreNarrow(char* target, const wchar_t* text, std::size_t count)
{
    // The call counts in int, and a unit may become two bytes.
    constexpr std::size_t kAtOnce = std::size_t{1} << 24;
    while (count != 0) {
        const int length = static_cast<int>(std::min(count, kAtOnce));
        target +=
            WideCharToMultiByte(CP_ACP, 0, text, length, target, 2 * length, nullptr, nullptr);
        text += length;
        count -= static_cast<std::size_t>(length);
    }
    return target;
}

void StoreText(void* target, const wchar_t* text, std::size_t count, bool isNarrow,
               bool isTerminated)
{
    if (isNarrow) {
        char* const end = StoreNarrow(static_cast<char*>(target), text, count);
        if (isTerminated)
            *end = 0;
        return;
    }
    wchar_t* const end = std::copy_n(text, count, static_cast<wchar_t*>(target));
    if (isTerminated)
        *end = 0;
}

// ---- The scan -----------------------------------------------------------------------------

// Steps that return false end the scan.
class Scanner {
public:
    Scanner(const wchar_t* text, const wchar_t* format, void* const* outputs, std::size_t count)
        : m_start(text), m_text(text), m_format(format), m_outputs(outputs), m_outputsLeft(count)
    {
    }

    int Run();

private:
    void SkipSpace();
    // A literal is not 0.
    bool Match(wchar_t literal);
    bool Convert();
    bool ConvertInteger(const Conversion& conversion);
    bool ConvertFloat(const Conversion& conversion);
    template <class Takes> bool ConvertText(const Conversion& conversion, Takes takes);
    bool ConvertSet(const Conversion& conversion);
    bool TellPosition(const Conversion& conversion);
    bool TakeOutput(const Conversion& conversion, void*& output);
    bool Finish(const Conversion& conversion, const wchar_t* end);

    const wchar_t* m_start;
    const wchar_t* m_text;
    const wchar_t* m_format;
    void* const* m_outputs;
    std::size_t m_outputsLeft;
    int m_stored = 0;
    // Whether any conversion succeeded, suppressed ones too.
    bool m_anyConverted = false;
};

inline void Scanner::SkipSpace()
{
    const wchar_t* text = m_text;
    while (IsSpace(*text))
        ++text;
    m_text = text;
}

inline bool Scanner::Match(wchar_t literal)
{
    if (*m_text != literal)
        return false;
    ++m_text;
    return true;
}

// A conversion that is suppressed gets null.
inline bool Scanner::TakeOutput(const Conversion& conversion, void*& output)
{
    output = nullptr;
    if (conversion.suppressed)
        return true;
    if (m_outputsLeft == 0 || *m_outputs == nullptr)
        return false;
    --m_outputsLeft;
    output = *m_outputs++;
    return true;
}

// Of a conversion that succeeded, and ended there in the text.
inline bool Scanner::Finish(const Conversion& conversion, const wchar_t* end)
{
    m_text = end;
    m_anyConverted = true;
    m_stored += conversion.suppressed ? 0 : 1;
    return true;
}

bool Scanner::ConvertInteger(const Conversion& conversion)
{
    SkipSpace();
    void* output;
    const ScannedInteger integer = ScanInteger(conversion.letter, m_text, conversion.width);
    if (integer.end == nullptr || !TakeOutput(conversion, output))
        return false;
    if (output != nullptr)
        StoreInteger(output, integer.value,
                     conversion.letter == L'p' ? sizeof(void*) : conversion.bytes);
    return Finish(conversion, integer.end);
}

bool Scanner::ConvertFloat(const Conversion& conversion)
{
    SkipSpace();
    float single;
    double number;
    const wchar_t* const end = conversion.isDouble ? ScanFloat(m_text, conversion.width, number)
                                                   : ScanFloat(m_text, conversion.width, single);
    void* output;
    if (end == nullptr || !TakeOutput(conversion, output))
        return false;
    if (output != nullptr && conversion.isDouble)
        Store(output, number);
    else if (output != nullptr)
        Store(output, single);
    return Finish(conversion, end);
}

// The caller's buffers are as large as they are: only a width bounds what is stored.
template <class Takes> bool Scanner::ConvertText(const Conversion& conversion, Takes takes)
{
    const bool isChars = KindOf(conversion.letter) == Kind::chars;
    const bool isCapital = conversion.letter == L'S' || conversion.letter == L'C';
    const std::size_t width = isChars && conversion.width == kNoLimit ? 1 : conversion.width;
    std::size_t count = 0;
    while (count != width && m_text[count] != 0 && takes(m_text[count]))
        ++count;
    void* output;
    if (count == 0 || !TakeOutput(conversion, output))
        return false;
    if (output != nullptr) {
        const bool isNarrow = conversion.isNarrow || (isCapital && !conversion.isWide);
        StoreText(output, m_text, count, isNarrow, !isChars);
    }
    return Finish(conversion, m_text + count);
}

bool Scanner::ConvertSet(const Conversion& conversion)
{
    Set set;
    m_format = set.Read(m_format);
    return m_format != nullptr &&
           ConvertText(conversion, [&set](wchar_t unit) { return set.Takes(unit); });
}

// Takes no text and is not counted.
bool Scanner::TellPosition(const Conversion& conversion)
{
    void* output;
    if (!TakeOutput(conversion, output))
        return false;
    if (output != nullptr)
        StoreInteger(output, static_cast<std::uint64_t>(m_text - m_start), conversion.bytes);
    return true;
}

bool Scanner::Convert()
{
    Conversion conversion;
    if (KindOf(*m_format) == Kind::modifier)
        m_format = ReadModifiers(m_format, conversion);
    conversion.letter = *m_format;
    if (conversion.letter == 0)
        return false;
    ++m_format;
    switch (KindOf(conversion.letter)) {
    case Kind::integer:
        return ConvertInteger(conversion);
    case Kind::floating:
        return ConvertFloat(conversion);
    case Kind::chars:
        return ConvertText(conversion, [](wchar_t) { return true; });
    case Kind::word:
        SkipSpace();
        return ConvertText(conversion, [](wchar_t unit) { return !IsSpace(unit); });
    case Kind::set:
        return ConvertSet(conversion);
    case Kind::position:
        return TellPosition(conversion);
    default:
        SkipSpace();
        return Match(conversion.letter);
    }
}

int Scanner::Run()
{
    for (;;) {
        const wchar_t unit = *m_format;
        if (unit == 0)
            return m_stored;
        ++m_format;
        bool goesOn = true;
        if (unit == L'%')
            goesOn = Convert();
        else if (IsSpace(unit))
            SkipSpace();
        else
            goesOn = Match(unit);
        if (!goesOn)
            return *m_text == 0 && !m_anyConverted ? -1 : m_stored;
    }
}

} // namespace

namespace scanning {

int Scan(const wchar_t* text, const wchar_t* format, void* const* outputs, std::size_t count)
{
    if (text == nullptr)
        return -1;
    if (format == nullptr)
        return 0;
    return Scanner(text, format, outputs, count).Run();
}

} // namespace scanning
