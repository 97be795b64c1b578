// Changing values, keys and sections of a document.
#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "tools/xelini/document.h"
#include "tools/xelini/failure.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

constexpr std::size_t kNoLine = static_cast<std::size_t>(-1);
// Of files that show no other.
constexpr const wchar_t* kDefaultLineBreak = L"\r\n";

bool isEntryOf(const Line& line, const Text& section)
{
    return line.kind == LineKind::entry && sameText(line.section, section);
}

template <class Condition>
std::size_t lastLineWhere(const std::vector<Line>& lines, Condition condition)
{
    for (std::size_t i = lines.size(); i-- > 0;)
        if (condition(lines[i]))
            return i;
    return kNoLine;
}

bool isAscii(std::string_view bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 128; });
}

bool hasLineBreak(const Text& text)
{
    return xel_text::ToUtf16(text).find_first_of(u"\r\n") != std::u16string_view::npos;
}

// Whether the reader takes a line that starts with this for an entry.
bool canStartKey(wchar_t character)
{
    return _isctype(character, _ALPHA) || _isctype(character, _DIGIT);
}

void checkKey(const std::string& file, const Text& key)
{
    const std::string name = "key '" + xel_text::ToUtf8(key) + "'";
    if (key.IsEmpty())
        throw refusedFile(file, "a key cannot be empty");
    if (hasLineBreak(key))
        throw refusedFile(file, name + " contains a line break; a key is part of one line");
    if (!canStartKey(key[0]))
        throw refusedFile(file, name + " would not read back; a key starts with a letter or digit");
    if (key.Find(L'=') >= 0)
        throw refusedFile(file, name + " would not read back; a key ends at its first '='");
}

} // namespace

void Document::setValue(const Text& section, const Text& key, const Text& value, bool mayCut)
{
    checkKey(m_file, key);
    if (hasLineBreak(section))
        throw refusedFile(m_file, "section '" + xel_text::ToUtf8(section) +
                                      "' contains a line break; a header is one line");
    if (hasLineBreak(value))
        throw refusedFile(m_file, "the value for key '" + xel_text::ToUtf8(key) +
                                      "' contains a line break; an entry is one line");
    const std::size_t found = lastLineWhere(m_lines, [&](const Line& line) {
        return isEntryOf(line, section) && sameText(line.key, key);
    });
    if (found == kNoLine)
        addEntry(section, key, value);
    else if (!sameText(m_lines[found].value, value))
        replaceValue(m_lines[found], value, mayCut);
}

void Document::replaceValues(const xel_settings::CThreeTupleStore& wanted, bool mayCut)
{
    // From the end: the last line of a key is the one that counts.
    std::set<std::pair<std::u16string_view, std::u16string_view>> seen;
    for (std::size_t i = m_lines.size(); i-- > 0;) {
        Line& line = m_lines[i];
        Text value;
        if (line.kind == LineKind::entry &&
            seen.insert({xel_text::ToUtf16(line.section), xel_text::ToUtf16(line.key)}).second &&
            wanted.getValue(line.section, line.key, value) && !sameText(line.value, value))
            replaceValue(line, value, mayCut);
    }
}

void Document::replaceValue(Line& line, const Text& value, bool mayCut)
{
    refuseHiddenText(line, mayCut);
    const std::string equals = *encode(L"=", m_width);
    const std::string after =
        encoded(value, "the value for key '" + xel_text::ToUtf8(line.key) + "'");
    std::size_t at = line.bytes.find(equals);
    // In UTF-16 the two bytes may also meet across two units.
    while (at % unitSize(m_width) != 0)
        at = line.bytes.find(equals, at + 1);
    line.bytes = line.bytes.substr(0, at) + equals + after;
    line.value = value;
    line.hidesText = false;
}

void Document::addEntry(const Text& section, const Text& key, const Text& value)
{
    const std::size_t place = placeOfNewEntry(section);
    insertLine(place, key + L"=" + value, section, "the entry '" + xel_text::ToUtf8(key) + "'");
    Line& line = m_lines[place];
    line.kind = LineKind::entry;
    line.key = key;
    line.value = value;
}

// Makes the section's header when it is needed.
std::size_t Document::placeOfNewEntry(const Text& section)
{
    const std::size_t entry =
        lastLineWhere(m_lines, [&](const Line& line) { return isEntryOf(line, section); });
    if (entry != kNoLine)
        return entry + 1;
    const auto isHeader = [](const Line& line) { return line.kind == LineKind::header; };
    if (section.IsEmpty()) {
        const auto first = std::find_if(m_lines.begin(), m_lines.end(), isHeader);
        return static_cast<std::size_t>(first - m_lines.begin());
    }
    const std::size_t header = lastLineWhere(m_lines, [&](const Line& line) {
        return isHeader(line) && sameText(line.section, section);
    });
    if (header != kNoLine)
        return header + 1;
    const std::size_t end = m_lines.size();
    insertLine(end, L"[" + section + L"]", section, "section '" + xel_text::ToUtf8(section) + "'");
    m_lines[end].kind = LineKind::header;
    return end + 1;
}

// That of the nearest line before, else behind.
std::string Document::lineBreakNear(std::size_t index) const
{
    for (std::size_t i = index; i-- > 0;)
        if (!m_lines[i].lineBreak.empty())
            return m_lines[i].lineBreak;
    for (std::size_t i = index; i < m_lines.size(); ++i)
        if (!m_lines[i].lineBreak.empty())
            return m_lines[i].lineBreak;
    return *encode(kDefaultLineBreak, m_width);
}

void Document::insertLine(std::size_t index, const Text& text, const Text& section,
                          const std::string& whatItIs)
{
    Line line;
    line.bytes = encoded(text, whatItIs);
    line.lineBreak = lineBreakNear(index);
    line.section = section;
    if (index > 0 && m_lines[index - 1].lineBreak.empty())
        m_lines[index - 1].lineBreak = line.lineBreak;
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(index), std::move(line));
}

std::string Document::encoded(const Text& text, const std::string& whatItIs) const
{
    std::optional<std::string> bytes = encode(text, m_width);
    if (!bytes)
        throw refusedFile(m_file, whatItIs + " contains " + firstUnencodable(text) +
                                      ", which the 8-bit code page cannot hold; convert the file "
                                      "to utf16le first");
    if (m_width == Width::narrow && bytes->find('\0') != std::string::npos)
        throw refusedFile(m_file, whatItIs + " contains a zero character, behind which 8-bit text "
                                             "is not read; convert the file to utf16le first");
    if (!hasForeignMark() || (m_mark == kUtf8Mark && isAscii(*bytes)))
        return *bytes;
    if (m_mark == kUtf8Mark)
        throw refusedFile(m_file, whatItIs + " is not plain ASCII, but the file has the mark of "
                                             "UTF-8, which devices do not read; convert it first "
                                             "(xelini convert --from utf-8)");
    throw refusedFile(m_file, "begins with the mark of an encoding that devices do not read; save "
                              "it as 8-bit text or UTF-16LE first");
}

void Document::refuseHiddenText(const Line& line, bool mayCut) const
{
    if (line.hidesText && !mayCut)
        throw refusedLine(m_file, static_cast<std::size_t>(&line - m_lines.data()) + 1,
                          "text behind a zero character would be lost; --allow-cut drops it");
}

template <class Condition> bool Document::removeLines(Condition condition, bool mayCut)
{
    for (const Line& line : m_lines)
        if (condition(line))
            refuseHiddenText(line, mayCut);
    return std::erase_if(m_lines, condition) > 0;
}

bool Document::removeKey(const Text& section, const Text& key, bool mayCut)
{
    return removeLines(
        [&](const Line& line) { return isEntryOf(line, section) && sameText(line.key, key); },
        mayCut);
}

bool Document::removeSection(const Text& section, bool mayCut)
{
    return removeLines(
        [&](const Line& line) {
            const bool isHeader = line.kind == LineKind::header && sameText(line.section, section);
            return isHeader || isEntryOf(line, section);
        },
        mayCut);
}

void Document::removeOthers(const xel_settings::CThreeTupleStore& present,
                            const xel_settings::CThreeTupleStore& wanted, bool mayCut)
{
    removeLines(
        [&](const Line& line) {
            Text value;
            if (line.kind == LineKind::header)
                return present.hasSection(line.section) && !wanted.hasSection(line.section);
            return line.kind == LineKind::entry && !wanted.getValue(line.section, line.key, value);
        },
        mayCut);
}

} // namespace xelini
