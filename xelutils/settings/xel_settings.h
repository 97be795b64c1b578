// Settings in memory, and their files: a line-oriented INI dialect in 8-bit or UTF-16 text.
//
//   [section]
//   key=value
//   ; comment, # comment, / comment
//
// A line is what it is by its first character; nothing is trimmed before that. Keys and values
// keep their spaces, a header may be followed by white space only, and its name keeps its spaces
// too. A line of nothing but spaces and tabs ends the section: entries behind it belong to the
// section with the empty name, as do those before the first header. Any other line makes the
// whole read fail.
#pragma once

#include <functional>
#include <map>
#include <utility>

#include "xelutils/export.h"
#include "xelutils/mandatory_error.h"
#include "xelutils/memory/xel_dl_allocator.h"
#include "xelutils/text/xel_string.h"
#include "xelutils/text/xel_text_utils.h"

namespace xel_settings {

using xel_text_traits::xel_text_utils::detect_bom_header;
using xel_text_traits::xel_text_utils::detect_text_encoding;
using xel_text_traits::xel_text_utils::EXelTextByteOrderMaskEncoding;
using xel_text_traits::xel_text_utils::EXelTextEncoding;
using enum xel_text_traits::xel_text_utils::EXelTextByteOrderMaskEncoding;
using enum xel_text_traits::xel_text_utils::EXelTextEncoding;

// Orders keys by UTF-16 code units as unsigned numbers, over the whole stored length; a beginning
// of another key sorts before it. Case counts, locales don't.
struct CodeUnitLess {
    XELUTILS_API bool operator()(const xel_text::CXelStringT<wchar_t>& first,
                                 const xel_text::CXelStringT<wchar_t>& second) const;
};

template <class T>
using CSettingsMap =
    std::map<xel_text::CXelStringT<wchar_t>, T, CodeUnitLess,
             xel_mem::xel_dl_allocator<std::pair<const xel_text::CXelStringT<wchar_t>, T>>>;

struct CThreeTupleSection {
    // Key to value.
    CSettingsMap<xel_text::CXelStringT<wchar_t>> entries;
    // The name as a file shows it; equal to the section's key unless somebody changed it.
    xel_text::CXelStringT<wchar_t> name;

    XELUTILS_API bool operator==(const CThreeTupleSection& other) const;
};

// (section, key, value) triples: at most one value for a section and key. A plain value. The
// empty text is a valid section, key or value. Texts are compared as CodeUnitLess does.
class XELUTILS_API CThreeTupleStore {
public:
    using String = xel_text::CXelStringT<wchar_t>;
    using Sections = CSettingsMap<CThreeTupleSection>;

    void clear();

    // Creates the section and the entry when they are missing, else replaces the value.
    void setValue(const String& section, const String& key, const String& value);

    // False, with `value` unchanged, when there is no such section or key.
    bool getValue(const String& section, const String& key, String& value) const;

    bool hasSection(const String& section) const;

    // False when there was none.
    bool removeSection(const String& section);

    // False when there was none. A section that loses its last entry stays.
    bool removeValue(const String& section, const String& key);

    std::size_t sectionCount() const;

    // 0 for a section that is missing.
    std::size_t valueCount(const String& section) const;

    // In order of their keys, each with its entries in order of theirs.
    const Sections& sections() const { return m_sections; }

    // The same sections with the same names, keys and values.
    bool operator==(const CThreeTupleStore& other) const;

private:
    friend class CStoreFiller;

    Sections m_sections;
};

// Why a settings file was refused.
enum class ESettingsFault {
    none,
    // The file is missing or cannot be opened or mapped; `systemError` has the platform's number.
    cannotOpen,
    // It has no bytes; such a file cannot be mapped.
    emptyFile,
    // A line starts with a space or tab and holds more than white space.
    indentedLine,
    // A header does not end with ']' (white space may follow, nothing else).
    headerNotClosed,
    // A header has no name: [].
    headerWithoutName,
    // A line that starts with a letter or digit has no '='.
    entryWithoutEquals,
    // A line starts with a character that starts none of the forms.
    invalidFirstCharacter,
    // A line is longer than a device could hold: CSettingsReader::kLongestLine, 64 million.
    lineTooLong,
};

struct CSettingsDiagnosis {
    ESettingsFault fault = ESettingsFault::none;
    // The line, counted from 1 as an editor counts; 0 for faults of the whole file.
    unsigned long line = 0;
    // The platform's error number for cannotOpen, else 0.
    DWORD systemError = 0;
};

// Reads a settings file into `store`.
//
// True when the file could be opened and every line was accepted. `encodingFound` is written only
// then; it is TEXT_ENCODING_UNKNOWN for a file that begins with the mark of an encoding other than
// UTF-16LE, which is read as 8-bit text behind its mark. A file without bytes cannot be opened.
//
// `store` is cleared once the file is open, so a file that cannot be opened leaves it as it was;
// after a refused line it holds what stood before that line. A repeated key keeps its last value,
// a repeated header continues its section. A zero character at the start of a line ends the text.
XELUTILS_API mandatory_error::XelErrorCode<bool> readSettingsAsIni(const wchar_t* fileName,
                                                                   CThreeTupleStore& store,
                                                                   EXelTextEncoding& encodingFound);

// The same, and tells a person what was wrong; `diagnosis` is filled in every case.
XELUTILS_API mandatory_error::XelErrorCode<bool> readSettingsAsIni(const wchar_t* fileName,
                                                                   CThreeTupleStore& store,
                                                                   EXelTextEncoding& encodingFound,
                                                                   CSettingsDiagnosis& diagnosis);

// Writes the whole store to a file, created or truncated, in order of sections and keys: UTF-16LE
// for TEXT_ENCODING_UTF16LE, else 8-bit text in the system's code page. No byte-order mark in
// either. Nothing is escaped, and names, keys and values are written as they are: the section with
// the empty name gets the header [], which cannot be read back; callers know it and rely on the
// bytes. A wide file is recognised again when its first four characters are below 256 and it has
// nine bytes or more.
//
// False when the file could not be created or a write failed; it then keeps what reached it.
XELUTILS_API mandatory_error::XelErrorCode<bool> writeSettingsAsIni(const wchar_t* fileName,
                                                                    const CThreeTupleStore& store,
                                                                    EXelTextEncoding encoding);

} // namespace xel_settings
