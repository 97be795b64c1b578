#include <variant>

#include "xelutils/settings/internal/store_filler.h"
#include "xelutils/settings/settings_streams.h"
#include "xelutils/settings/xel_settings.h"

namespace xel_settings {

using mandatory_error::XelErrorCode;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

// A mapped file with the reader that fits its encoding.
class CSettingsInput {
public:
    bool open(const wchar_t* fileName);

    CSettingsReader& reader() { return *m_reader; }
    EXelTextEncoding encoding() const { return m_encoding; }

    // The line that was read as the `ordinal`th, counted from 1 as an editor counts.
    unsigned long lineNumber(unsigned long ordinal) const;

private:
    CMappedFile m_file;
    std::variant<std::monostate, CSettingsReaderWide, CSettingsReaderNarrow> m_readers;
    CSettingsReader* m_reader = nullptr;
    EXelTextEncoding m_encoding = TEXT_ENCODING_UNKNOWN;
    std::uint32_t m_markLength = 0;
};

bool CSettingsInput::open(const wchar_t* fileName)
{
    if (!m_file.open(fileName))
        return false;
    m_encoding = detect_text_encoding(m_file.view, m_file.size, &m_markLength);
    const unsigned char* const text = m_file.view + m_markLength;
    const std::uint32_t size = m_file.size - m_markLength;
    if (m_encoding == TEXT_ENCODING_UTF16LE)
        m_reader = &m_readers.emplace<CSettingsReaderWide>(text, size);
    else
        m_reader = &m_readers.emplace<CSettingsReaderNarrow>(text, size);
    return true;
}

// Readers pass over empty lines, editors count them; CR LF is one break.
template <class Unit>
unsigned long LineNumber(const Unit* text, const Unit* end, unsigned long ordinal)
{
    unsigned long line = 1;
    bool atStart = true;
    for (; text != end; ++text) {
        if (*text == '\r' || *text == '\n') {
            if (*text == '\r' && text + 1 != end && text[1] == '\n')
                ++text;
            ++line;
            atStart = true;
        } else if (atStart) {
            if (--ordinal == 0)
                break;
            atStart = false;
        }
    }
    return line;
}

unsigned long CSettingsInput::lineNumber(unsigned long ordinal) const
{
    const unsigned char* const text = m_file.view + m_markLength;
    const std::uint32_t size = m_file.size - m_markLength;
    if (m_encoding != TEXT_ENCODING_UTF16LE)
        return LineNumber(text, text + size, ordinal);
    const void* const units = text;
    const auto* const wideText = static_cast<const wchar_t*>(units);
    return LineNumber(wideText, wideText + size / sizeof(wchar_t), ordinal);
}

bool IsLetterOrDigit(wchar_t ch)
{
    return _isctype(ch, _ALPHA) || _isctype(ch, _DIGIT);
}

// Takes the lines of a file into a store, line by line.
class CIniParser {
public:
    explicit CIniParser(CThreeTupleStore& store) : m_filler(store) {}

    // What is wrong with the line, or none.
    ESettingsFault takeLine(const String& line);

private:
    ESettingsFault takeBlankLine(const String& line);
    ESettingsFault takeHeader(const String& line);
    ESettingsFault takeEntry(const String& line);

    CStoreFiller m_filler;
};

ESettingsFault CIniParser::takeLine(const String& line)
{
    if (line.IsEmpty()) {
        m_filler.setSection(String());
        return ESettingsFault::none;
    }
    // Nothing is trimmed before the first character decides: an indented entry or header is an
    // error, and not the continuation of the line before, and files are checked for just that.
    switch (line[0]) {
    case L'/':
    case L'#':
    case L';':
        return ESettingsFault::none;
    case L'\t':
    case L' ':
        return takeBlankLine(line);
    case L'[':
        return takeHeader(line);
    default:
        return IsLetterOrDigit(line[0]) ? takeEntry(line) : ESettingsFault::invalidFirstCharacter;
    }
}

// A line of blanks ends the section. Files rely on it to return to the entries of no section.
ESettingsFault CIniParser::takeBlankLine(const String& line)
{
    String rest = line;
    rest.TrimRight();
    rest.TrimLeft();
    if (!rest.IsEmpty())
        return ESettingsFault::indentedLine;
    m_filler.setSection(String());
    return ESettingsFault::none;
}

// The name keeps its spaces and may hold brackets: [ a ] has three characters, [a]b] is a]b.
ESettingsFault CIniParser::takeHeader(const String& line)
{
    String header = line;
    header.TrimRight();
    header.TrimLeft();
    const int length = header.GetLength();
    if (length < 2 || header[length - 1] != L']')
        return ESettingsFault::headerNotClosed;
    if (length == 2)
        return ESettingsFault::headerWithoutName;
    m_filler.setSection(header.Mid(1, length - 2));
    return ESettingsFault::none;
}

ESettingsFault CIniParser::takeEntry(const String& line)
{
    const int equals = line.Find(L'=');
    if (equals <= 0)
        return ESettingsFault::entryWithoutEquals;
    m_filler.setValue(line.Left(equals), line.Mid(equals + 1));
    return ESettingsFault::none;
}

} // namespace

XelErrorCode<bool> readSettingsAsIni(const wchar_t* fileName, CThreeTupleStore& store,
                                     EXelTextEncoding& encodingFound)
{
    CSettingsDiagnosis diagnosis;
    return readSettingsAsIni(fileName, store, encodingFound, diagnosis);
}

XelErrorCode<bool> readSettingsAsIni(const wchar_t* fileName, CThreeTupleStore& store,
                                     EXelTextEncoding& encodingFound, CSettingsDiagnosis& diagnosis)
{
    diagnosis = {};
    CSettingsInput input;
    if (!input.open(fileName)) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_INVALID)
            diagnosis.fault = ESettingsFault::emptyFile;
        else
            diagnosis = {ESettingsFault::cannotOpen, 0, error};
        return false;
    }
    store.clear();
    CIniParser parser(store);
    for (unsigned long ordinal = 1; !input.reader().isEnd(); ++ordinal) {
        const String line = input.reader().readLine();
        diagnosis.fault =
            input.reader().hasCutLine() ? ESettingsFault::lineTooLong : parser.takeLine(line);
        if (diagnosis.fault != ESettingsFault::none) {
            diagnosis.line = input.lineNumber(ordinal);
            return false;
        }
    }
    encodingFound = input.encoding();
    return true;
}

} // namespace xel_settings
