#include "tools/xelini/document.h"

#include <utility>

#include "xelutils/text/xel_text_utils.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

using namespace xel_text_traits::xel_text_utils;

constexpr std::string_view kUtf16Mark = "\xFF\xFE";

// The units of a text of either width, by index.
class Units {
public:
    Units(std::string_view bytes, Width width) : m_bytes(bytes), m_size(unitSize(width)) {}

    std::size_t count() const { return m_bytes.size() / m_size; }
    unsigned at(std::size_t index) const
    {
        const std::size_t at = index * m_size;
        const unsigned low = static_cast<unsigned char>(m_bytes[at]);
        if (m_size == 1)
            return low;
        const unsigned high = static_cast<unsigned char>(m_bytes[at + 1]);
        return low | high << 8;
    }
    bool isBreak(std::size_t index) const { return at(index) == '\r' || at(index) == '\n'; }
    std::string slice(std::size_t from, std::size_t to) const
    {
        return std::string(m_bytes.substr(from * m_size, (to - from) * m_size));
    }

private:
    std::string_view m_bytes;
    std::size_t m_size;
};

std::size_t countWithoutZeroFill(const Units& units)
{
    std::size_t count = units.count();
    while (count > 0 && units.at(count - 1) == 0)
        --count;
    return count;
}

EXelTextEncoding detect(std::string_view bytes, std::uint32_t* markLength)
{
    return detect_text_encoding(bytes.data(), static_cast<std::uint32_t>(bytes.size()), markLength);
}

Text textBetween(const Text& text, std::size_t from, std::size_t to)
{
    return xel_text::FromUtf16(xel_text::ToUtf16(text).substr(from, to - from));
}

} // namespace

Document::Document(std::string file, std::string_view bytes) : m_file(std::move(file))
{
    std::uint32_t markLength = 0;
    m_width = detect(bytes, &markLength) == TEXT_ENCODING_UTF16LE ? Width::wide : Width::narrow;
    m_mark = bytes.substr(0, markLength);
    takeText(bytes.substr(markLength));
}

Document::Document(std::string file, Width width) : m_file(std::move(file)), m_width(width) {}

Document Document::ofText(std::string file, const Text& text)
{
    Document document(std::move(file), Width::wide);
    document.takeText(*encode(text, Width::wide));
    return document;
}

void Document::takeText(std::string_view text)
{
    splitLines(text);
    Text section;
    for (Line& line : m_lines)
        classify(line, section);
}

void Document::splitLines(std::string_view text)
{
    const Units units(text, m_width);
    const std::size_t end = countWithoutZeroFill(units);
    std::size_t start = 0;
    // A zero at the start of a line ends the text.
    while (start < end && units.at(start) != 0) {
        std::size_t lineEnd = start;
        while (lineEnd < end && !units.isBreak(lineEnd))
            ++lineEnd;
        std::size_t next = lineEnd;
        if (next < end)
            next += units.at(next) == '\r' && next + 1 < end && units.at(next + 1) == '\n' ? 2 : 1;
        Line line;
        line.bytes = units.slice(start, lineEnd);
        line.lineBreak = units.slice(lineEnd, next);
        m_lines.push_back(std::move(line));
        start = next;
    }
    m_tail = text.substr(start * unitSize(m_width));
}

// `section` is the one that the lines before have begun.
void Document::classify(Line& line, Text& section) const
{
    std::string_view visible = line.bytes;
    const bool hasZero = m_width == Width::narrow && visible.find('\0') != visible.npos;
    if (hasZero)
        visible = visible.substr(0, visible.find('\0'));
    Text text = decode(visible, m_width);
    const wchar_t first = text[0];
    if (line.bytes.empty()) {
        line.kind = LineKind::empty;
    } else if (first == L'/' || first == L'#' || first == L';') {
        line.kind = LineKind::comment;
    } else if (first == L' ' || first == L'\t') {
        line.kind = LineKind::blank;
        section.Empty();
    } else if (first == L'[') {
        line.kind = LineKind::header;
        // In UTF-16 a zero is a character of the line, but trimming looks no further.
        const int untrimmed = text.GetLength();
        text.Trim();
        line.hidesText = text.Find(L'\0') == text.GetLength() && text.GetLength() < untrimmed &&
                         zeroPosition(line.bytes, m_width) != std::string_view::npos;
        section = textBetween(text, 1, xel_text::ToUtf16(text).size() - 1);
    } else {
        line.kind = LineKind::entry;
        const std::size_t equals = xel_text::ToUtf16(text).find(u'=');
        line.key = textBetween(text, 0, equals);
        line.value = textBetween(text, equals + 1, xel_text::ToUtf16(text).size());
    }
    line.section = section;
    if (hasZero)
        line.hidesText = line.kind == LineKind::header || line.kind == LineKind::entry;
}

std::string Document::bytes() const
{
    std::string all = m_mark;
    for (const Line& line : m_lines)
        (all += line.bytes) += line.lineBreak;
    all += m_tail;
    return m_width == Width::wide && m_mark.empty() ? withMarkIfNeeded(std::move(all)) : all;
}

EXelTextEncoding Document::encoding() const
{
    if (m_width == Width::wide)
        return TEXT_ENCODING_UTF16LE;
    constexpr std::size_t kSmallestDetected = 2;
    return hasForeignMark() || bytes().size() < kSmallestDetected ? TEXT_ENCODING_UNKNOWN
                                                                  : TEXT_ENCODING_8BIT;
}

std::string withMarkIfNeeded(std::string utf16)
{
    if (!utf16.empty() && detect(utf16, nullptr) != TEXT_ENCODING_UTF16LE)
        utf16.insert(0, kUtf16Mark);
    return utf16;
}

} // namespace xelini
