#include "xelutils/platform/posix/code_pages.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iconv.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr std::uint8_t kAsciiOnlyMask = 0x80;

// ---- windows-1252, built in: the start of a small tool is to cost nothing -------------------

// The bytes 80 to 9F. Five are left open by the page and stand for themselves.
constexpr wchar_t kWesternUnits[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

struct WesternTables {
    CodePage page{};
    // The empty page, and those of the high bytes 00, 01, 02, 20 and 21.
    CodePage::ReversePage reverse[6]{};

    consteval WesternTables()
    {
        page.openMask = 0xE0;
        page.defaultUnit = '?';
        std::uint8_t reverseCount = 1;
        for (unsigned byte = 0; byte < 256; ++byte) {
            const unsigned unit = (byte & 0xE0) == 0x80 ? kWesternUnits[byte - 0x80] : byte;
            page.units[byte] = static_cast<wchar_t>(unit);
            std::uint8_t& reversePage = page.reversePageOf[unit >> 8];
            if (reversePage == 0)
                reversePage = reverseCount++;
            reverse[reversePage][unit & 0xFF] = static_cast<std::uint16_t>(byte);
        }
    }
};

constexpr WesternTables kWesternTables;

constexpr CodePage WesternPage()
{
    CodePage page = kWesternTables.page;
    page.reversePages = kWesternTables.reverse;
    return page;
}

constinit const CodePage kWestern = WesternPage();

// ---- The others, from the C library -------------------------------------------------------

struct ByteRange {
    int first;
    int last;
};

// Pages with pairs name the ranges of their first bytes.
struct PageInfo {
    UINT number;
    ByteRange leads[2];
    wchar_t defaultUnit;
};

constexpr ByteRange kNone = {1, 0};
constexpr PageInfo kPages[] = {
    {874, {kNone, kNone}, '?'},        {932, {{0x81, 0x9F}, {0xE0, 0xFC}}, 0x30FB},
    {936, {{0x81, 0xFE}, kNone}, '?'}, {949, {{0x81, 0xFE}, kNone}, '?'},
    {950, {{0x81, 0xFE}, kNone}, '?'}, {1250, {kNone, kNone}, '?'},
    {1251, {kNone, kNone}, '?'},       {1252, {kNone, kNone}, '?'},
    {1253, {kNone, kNone}, '?'},       {1254, {kNone, kNone}, '?'},
    {1255, {kNone, kNone}, '?'},       {1256, {kNone, kNone}, '?'},
    {1257, {kNone, kNone}, '?'},       {1258, {kNone, kNone}, '?'},
};
constexpr UINT kWesternNumber = 1252;

// Open bytes that stand for private units; the units of a range follow one another. Every other
// open byte stands for the unit of its own value.
struct PrivateRange {
    UINT page;
    ByteRange bytes;
    unsigned firstUnit;
};
constexpr PrivateRange kPrivateRanges[] = {
    {874, {0xDB, 0xDE}, 0xF8C1},  {874, {0xFC, 0xFF}, 0xF8C5},  {932, {0xA0, 0xA0}, 0xF8F0},
    {932, {0xFD, 0xFF}, 0xF8F1},  {936, {0xFF, 0xFF}, 0xF8F5},  {949, {0xFF, 0xFF}, 0xF8F7},
    {950, {0xFF, 0xFF}, 0xF8F8},  {1253, {0xAA, 0xAA}, 0xF8F9}, {1253, {0xD2, 0xD2}, 0xF8FA},
    {1253, {0xFF, 0xFF}, 0xF8FB}, {1255, {0xD9, 0xDF}, 0xF88D}, {1255, {0xFB, 0xFC}, 0xF894},
    {1255, {0xFF, 0xFF}, 0xF896}, {1257, {0xA1, 0xA1}, 0xF8FC}, {1257, {0xA5, 0xA5}, 0xF8FD},
};

bool Contains(ByteRange range, int byte)
{
    return byte >= range.first && byte <= range.last;
}

wchar_t UnitOfOpenByte(UINT page, int byte)
{
    for (const PrivateRange& range : kPrivateRanges) {
        if (range.page == page && Contains(range.bytes, byte))
            return static_cast<wchar_t>(range.firstUnit + static_cast<unsigned>(byte) -
                                        static_cast<unsigned>(range.bytes.first));
    }
    return static_cast<wchar_t>(byte);
}

// One direction of the C library's converter, for single characters.
class Converter {
public:
    Converter(const char* to, const char* from) : m_state(iconv_open(to, from)) {}
    ~Converter()
    {
        if (IsOpen())
            iconv_close(m_state);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool IsOpen() const { return m_state != reinterpret_cast<iconv_t>(-1); }

    // The number of bytes that `size` bytes of `source` become; 0 when they are not exactly one
    // character, or one that needs more than two bytes.
    std::size_t Convert(const void* source, std::size_t size, unsigned char (&target)[2])
    {
        char input[2] = {};
        std::memcpy(input, source, size);
        char* in = input;
        char output[sizeof target];
        char* out = output;
        std::size_t left = sizeof output;
        iconv(m_state, nullptr, nullptr, nullptr, nullptr);
        if (iconv(m_state, &in, &size, &out, &left) != 0)
            return 0;
        // Converters that compose hold back a letter until they know that no accent follows.
        if (iconv(m_state, nullptr, nullptr, &out, &left) != 0)
            return 0;
        std::memcpy(target, output, sizeof target);
        return sizeof output - left;
    }

private:
    iconv_t m_state;
};

// A page made at run time, with the memory behind its pointers.
class PageBuilder {
public:
    explicit PageBuilder(const PageInfo& info)
        : m_info(info), m_name("CP" + std::to_string(info.number)),
          m_decoder("UTF-16LE", m_name.c_str()), m_encoder(m_name.c_str(), "UTF-16LE")
    {
    }

    // Null when the C library does not know the page.
    const CodePage* Build()
    {
        if (!m_decoder.IsOpen() || !m_encoder.IsOpen())
            return nullptr;
        m_page->openMask = kAsciiOnlyMask;
        m_page->defaultUnit = m_info.defaultUnit;
        m_reverse.push_back({});
        for (int byte = 0; byte < 256; ++byte)
            AddByte(byte);
        if (m_info.leads[0].first <= m_info.leads[0].last)
            AddPairs();
        PublishReverse();
        // Code pages live as long as the process does.
        return m_page.release();
    }

private:
    struct Reverse {
        std::uint16_t bytes[256];
    };

    bool IsLead(int byte) const
    {
        return Contains(m_info.leads[0], byte) || Contains(m_info.leads[1], byte);
    }

    std::optional<wchar_t> Decode(const unsigned char* bytes, std::size_t size)
    {
        unsigned char unit[2];
        if (m_decoder.Convert(bytes, size, unit) != sizeof unit)
            return std::nullopt;
        return static_cast<wchar_t>(unit[0] | unit[1] << 8);
    }

    void AddByte(int byte)
    {
        if (IsLead(byte)) {
            m_page->units[byte] = kLeadByte;
            return;
        }
        const auto single = static_cast<unsigned char>(byte);
        const wchar_t unit = Decode(&single, 1).value_or(UnitOfOpenByte(m_info.number, byte));
        m_page->units[byte] = unit;
        AddReverse(unit, single);
    }

    void AddPairs()
    {
        auto pairs = std::make_unique<wchar_t[][256]>(128);
        for (int lead = 0x80; lead < 256; ++lead) {
            for (int trail = 0; trail < 256; ++trail) {
                const unsigned char bytes[] = {static_cast<unsigned char>(lead),
                                               static_cast<unsigned char>(trail)};
                std::optional<wchar_t> unit;
                if (IsLead(lead))
                    unit = Decode(bytes, sizeof bytes);
                pairs[static_cast<std::size_t>(lead - 0x80)][trail] =
                    unit.value_or(m_info.defaultUnit);
                if (unit)
                    AddReverse(*unit, static_cast<std::uint16_t>(lead << 8 | trail));
            }
        }
        m_page->pairs = pairs.release();
    }

    void AddReverse(wchar_t unit, std::uint16_t bytes)
    {
        std::uint8_t& pageOf = m_page->reversePageOf[unit >> 8];
        if (pageOf == 0) {
            // At most 256 pages and the empty one; the surrogates' pages are never asked for.
            pageOf = static_cast<std::uint8_t>(m_reverse.size());
            m_reverse.push_back({});
        }
        std::uint16_t& entry = m_reverse[pageOf].bytes[unit & 0xFF];
        // Of several ways to write a unit, the C library's own choice is the family's.
        if (entry == 0 || Encode(unit) == bytes)
            entry = bytes;
    }

    // As the entries of a reverse page; 0 when there is nothing.
    std::uint16_t Encode(wchar_t unit)
    {
        const unsigned char source[] = {static_cast<unsigned char>(unit & 0xFF),
                                        static_cast<unsigned char>(unit >> 8)};
        unsigned char bytes[2];
        switch (m_encoder.Convert(source, sizeof source, bytes)) {
        case 1:
            return bytes[0];
        case 2:
            return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
        default:
            return 0;
        }
    }

    void PublishReverse()
    {
        auto* const pages = new CodePage::ReversePage[m_reverse.size()];
        for (std::size_t i = 0; i < m_reverse.size(); ++i)
            std::copy(std::begin(m_reverse[i].bytes), std::end(m_reverse[i].bytes), pages[i]);
        m_page->reversePages = pages;
    }

    const PageInfo& m_info;
    std::string m_name;
    Converter m_decoder;
    Converter m_encoder;
    std::unique_ptr<CodePage> m_page = std::make_unique<CodePage>();
    std::vector<Reverse> m_reverse;
};

const CodePage* Built(const PageInfo& info)
{
    static constinit std::mutex s_lock;
    static constinit std::atomic<const CodePage*> s_built[std::size(kPages)];
    std::atomic<const CodePage*>& slot = s_built[&info - kPages];
    if (const CodePage* const page = slot.load(std::memory_order_acquire))
        return page;
    const std::lock_guard guard(s_lock);
    if (slot.load(std::memory_order_relaxed) == nullptr)
        slot.store(PageBuilder(info).Build(), std::memory_order_release);
    return slot.load(std::memory_order_relaxed);
}

const CodePage* NumberedPage(UINT number)
{
    if (number == kWesternNumber)
        return &kWestern;
    for (const PageInfo& info : kPages) {
        if (info.number == number)
            return Built(info);
    }
    return nullptr;
}

// A name that is no page of ours leaves the default in force.
const CodePage* SystemPage()
{
    const char* const name = std::getenv("XEL_ACP");
    if (name == nullptr)
        return &kWestern;
    const char* const end = name + std::strlen(name);
    UINT number = 0;
    const auto parsed = std::from_chars(name, end, number);
    const CodePage* const page = parsed.ptr == end ? NumberedPage(number) : nullptr;
    return page != nullptr ? page : &kWestern;
}

} // namespace

const CodePage* FindCodePage(UINT number)
{
    if (number != CP_ACP)
        return NumberedPage(number);
    static const CodePage* const s_system = SystemPage();
    return s_system;
}
