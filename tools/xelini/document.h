// A settings file as its lines, with every byte of them, for changing some and keeping the rest.
//
// What a file means is decided by the library's reader; the meaning of lines told here holds for
// files that it has accepted.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/xelini/text_codec.h"
#include "xelutils/settings/xel_settings.h"

namespace xelini {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Puts the mark in front of UTF-16 that the reader would not recognise without.
std::string withMarkIfNeeded(std::string utf16);

enum class LineKind {
    empty, // no characters; the reader never sees it
    blank, // spaces and tabs; ends the section
    comment,
    header,
    entry,
};

struct Line {
    std::string bytes;     // without the line's break
    std::string lineBreak; // CR LF, CR or LF; empty at most in the last line
    LineKind kind = LineKind::empty;
    // The section that the line stands in, and a header begins.
    Text section;
    // Of an entry.
    Text key;
    Text value;
    // Header or entry with text behind a zero character that the reader does not see.
    bool hidesText = false;
};

class Document {
public:
    // `file` is how messages call it.
    Document(std::string file, std::string_view bytes);
    // Without any line.
    Document(std::string file, Width width);
    // UTF-16, without a mark.
    static Document ofText(std::string file, const Text& text);

    // The bytes of the whole file. UTF-16 that the reader would not recognise gets its mark.
    std::string bytes() const;
    // What the reader is to make of these bytes.
    xel_settings::EXelTextEncoding encoding() const;

    Width width() const { return m_width; }
    const std::string& file() const { return m_file; }
    // The byte-order mark in front, if any; its bytes stay as they are.
    const std::string& mark() const { return m_mark; }
    bool hasForeignMark() const { return !m_mark.empty() && m_width == Width::narrow; }
    const std::vector<Line>& lines() const { return m_lines; }
    // Behind the end of the text: zero fill, and whatever stands behind a zero character at the
    // start of a line.
    const std::string& tail() const { return m_tail; }
    bool tailHasText() const { return m_tail.find_first_not_of('\0') != std::string::npos; }

    // All of these throw Failure for what cannot be done without losing something; `mayCut` lets
    // text behind a zero character go.

    // Replaces the value of the key's last line, or adds the line: behind the last entry of the
    // section, behind its last header when it has none, before the first header for the section
    // with the empty name, else with a new header at the end.
    void setValue(const Text& section, const Text& key, const Text& value, bool mayCut);
    // Removes every line of the key. False when there was none.
    bool removeKey(const Text& section, const Text& key, bool mayCut);
    // Removes the section's headers and entries. False when there were none.
    bool removeSection(const Text& section, bool mayCut);
    // Gives the entries that are there the values that `wanted` has for them.
    void replaceValues(const xel_settings::CThreeTupleStore& wanted, bool mayCut);
    // Removes the entries that `wanted` has not, and the headers of those sections of `present`
    // that it has not.
    void removeOthers(const xel_settings::CThreeTupleStore& present,
                      const xel_settings::CThreeTupleStore& wanted, bool mayCut);

    // The same lines in the other width.
    Document converted(Width width, bool mayCut) const;

private:
    void takeText(std::string_view text);
    void splitLines(std::string_view text);
    void classify(Line& line, Text& section) const;
    std::string encoded(const Text& text, const std::string& whatItIs) const;
    void replaceValue(Line& line, const Text& value, bool mayCut);
    void addEntry(const Text& section, const Text& key, const Text& value);
    std::size_t placeOfNewEntry(const Text& section);
    std::string lineBreakNear(std::size_t index) const;
    void insertLine(std::size_t index, const Text& text, const Text& section,
                    const std::string& whatItIs);
    void refuseHiddenText(const Line& line, bool mayCut) const;
    template <class Condition> bool removeLines(Condition condition, bool mayCut);
    Line convertedLine(std::size_t index, Width width, bool mayCut) const;

    std::string m_file;
    Width m_width;
    std::string m_mark;
    std::vector<Line> m_lines;
    std::string m_tail;
};

} // namespace xelini
