#include "xelutils/platform/framework/resource_file.h"

#include <algorithm>
#include <optional>
#include <utility>

// A file is a sequence of resources, each at a multiple of four bytes, of little-endian words:
//
//   DWORD data size, DWORD header size, type, name, padding to a multiple of four,
//   DWORD data version, WORD memory flags, WORD language, DWORD version, DWORD characteristics,
//   data, padding to a multiple of four
//
// Type and name are the word 0xFFFF and a number, or else text with its terminator. The first
// resource is empty: by that the file is known.

namespace {

constexpr std::uint16_t kNumberFollows = 0xFFFF;
constexpr std::uint16_t kStringTable = 6;
constexpr std::size_t kStringsPerTable = 16;
// Table n holds the identifiers from 16 * (n - 1) on.
constexpr std::uint16_t kLastTable = 0x10000 / kStringsPerTable;
// From the data version to the characteristics.
constexpr std::size_t kFixedFields = 16;

// The bytes that are left, from the front. What is not there cannot be taken.
class Bytes {
public:
    Bytes(const unsigned char* bytes, std::size_t size) : m_at(bytes), m_left(size) {}

    std::size_t Left() const { return m_left; }

    std::optional<Bytes> Take(std::size_t size)
    {
        if (size > m_left)
            return std::nullopt;
        const Bytes taken(m_at, size);
        m_at += size;
        m_left -= size;
        return taken;
    }
    std::optional<std::uint16_t> TakeWord()
    {
        const auto word = Take(2);
        if (!word)
            return std::nullopt;
        return static_cast<std::uint16_t>(word->m_at[0] | word->m_at[1] << 8);
    }
    std::optional<std::uint32_t> TakeDword()
    {
        const auto low = TakeWord();
        const auto high = TakeWord();
        if (!low || !high)
            return std::nullopt;
        return *low | std::uint32_t{*high} << 16;
    }
    bool AllZero() const
    {
        return std::all_of(m_at, m_at + m_left, [](unsigned char byte) { return byte == 0; });
    }

private:
    const unsigned char* m_at;
    std::size_t m_left;
};

// A type or a name: a number; or a text, which no string table has for either.
struct Label {
    bool isNumber;
    std::uint16_t number;
};

std::optional<Label> TakeLabel(Bytes& header)
{
    auto word = header.TakeWord();
    if (!word)
        return std::nullopt;
    if (*word == kNumberFollows) {
        const auto number = header.TakeWord();
        if (!number)
            return std::nullopt;
        return Label{true, *number};
    }
    while (*word != 0) {
        word = header.TakeWord();
        if (!word)
            return std::nullopt;
    }
    return Label{false, 0};
}

constexpr std::size_t PaddingOf(std::size_t size)
{
    return (4 - size % 4) % 4;
}

struct Resource {
    Label type;
    Label name;
    // All of these are zero in the empty resource.
    Bytes fixedFields;
    Bytes data;
};

std::optional<Resource> TakeResource(Bytes& file)
{
    const auto dataSize = file.TakeDword();
    const auto headerSize = file.TakeDword();
    if (!dataSize || !headerSize || *headerSize < 8)
        return std::nullopt;
    auto header = file.Take(*headerSize - 8);
    if (!header)
        return std::nullopt;
    const auto type = TakeLabel(*header);
    const auto name = type ? TakeLabel(*header) : std::nullopt;
    if (!name || !header->Take(PaddingOf(*headerSize - header->Left())))
        return std::nullopt;
    if (header->Left() != kFixedFields)
        return std::nullopt;
    const auto data = file.Take(*dataSize);
    if (!data)
        return std::nullopt;
    // Some compilers leave out what only rounds up the file.
    file.Take(std::min(PaddingOf(*dataSize), file.Left()));
    return Resource{*type, *name, *header, *data};
}

bool IsEmptyResource(const Resource& resource)
{
    const auto isZero = [](const Label& label) { return label.isNumber && label.number == 0; };
    return resource.data.Left() == 0 && isZero(resource.type) && isZero(resource.name) &&
           resource.fixedFields.AllZero();
}

// Sixteen texts, each with its length in front.
bool AddTable(std::uint16_t number, Bytes data, std::vector<ResourceString>& strings)
{
    for (std::size_t i = 0; i < kStringsPerTable; ++i) {
        const auto length = data.TakeWord();
        auto text = length ? data.Take(std::size_t{*length} * 2) : std::nullopt;
        if (!text)
            return false;
        if (*length == 0)
            continue;
        ResourceString string;
        string.id = static_cast<std::uint16_t>((number - 1u) * kStringsPerTable + i);
        string.text.reserve(*length);
        while (const auto unit = text->TakeWord())
            string.text.push_back(static_cast<wchar_t>(*unit));
        strings.push_back(std::move(string));
    }
    return data.Left() == 0;
}

} // namespace

bool ReadResourceStrings(const unsigned char* bytes, std::size_t size,
                         std::vector<ResourceString>& strings)
{
    Bytes file(bytes, size);
    const auto first = TakeResource(file);
    if (!first || !IsEmptyResource(*first))
        return false;
    std::vector<ResourceString> found;
    while (file.Left() != 0) {
        const auto resource = TakeResource(file);
        if (!resource)
            return false;
        const Label& type = resource->type;
        const Label& name = resource->name;
        if (!type.isNumber || type.number != kStringTable)
            continue;
        if (!name.isNumber || name.number == 0 || name.number > kLastTable)
            return false;
        if (!AddTable(name.number, resource->data, found))
            return false;
    }
    strings = std::move(found);
    return true;
}
