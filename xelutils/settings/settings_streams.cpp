#include "xelutils/settings/settings_streams.h"

#include <algorithm>

#include "xelutils/text/internal/text_scan.h"

namespace xel_settings {

namespace scan = xel_text::scan;

// ---- CMappedFile ---------------------------------------------------------------------------

bool CMappedFile::open(const wchar_t* fileName)
{
    close();
    hFile = CreateFileForMappingW(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return false;
    hMapping = CreateFileMappingW(hFile, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (hMapping)
        view = static_cast<const unsigned char*>(MapViewOfFile(hMapping, FILE_MAP_READ, 0, 0, 0));
    isOpen = view != nullptr;
    if (isOpen)
        size = GetFileSize(hFile, nullptr);
    else
        abandon();
    return isOpen;
}

void CMappedFile::close()
{
    if (isOpen)
        abandon();
}

void CMappedFile::abandon()
{
    const DWORD error = GetLastError();
    if (view)
        UnmapViewOfFile(view);
    if (hMapping)
        CloseHandle(hMapping);
    if (hFile != INVALID_HANDLE_VALUE)
        CloseHandle(hFile);
    hFile = INVALID_HANDLE_VALUE;
    hMapping = nullptr;
    view = nullptr;
    size = 0;
    isOpen = false;
    SetLastError(error);
}

// ---- Readers -------------------------------------------------------------------------------

CSettingsReader::~CSettingsReader() = default;

std::size_t CSettingsReader::lengthToTake(std::size_t length)
{
    if (length <= kLongestLine)
        return length;
    cutLine = true;
    return kLongestLine;
}

namespace {

template <class Unit> bool IsLineBreak(Unit unit)
{
    return unit == '\r' || unit == '\n';
}

} // namespace

CSettingsReaderWide::CSettingsReaderWide(const void* start, std::uint32_t size)
    : pos(static_cast<const wchar_t*>(start)), remaining(size),
      textEnd(start ? pos + size / sizeof(wchar_t) : nullptr)
{
}

bool CSettingsReaderWide::isEnd() const
{
    return !pos || remaining == 0 || pos == textEnd || *pos == 0;
}

void CSettingsReaderWide::skipLineBreaks()
{
    for (; pos != textEnd && IsLineBreak(*pos); ++pos)
        --remaining;
}

CSettingsReader::String CSettingsReaderWide::readLine()
{
    skipLineBreaks();
    if (isEnd())
        return String();
    const std::size_t length =
        scan::FindEither(pos, static_cast<std::size_t>(textEnd - pos), L'\r', L'\n');
    // Zero fill up to the end of the file.
    std::size_t textLength = length;
    if (pos + length == textEnd) {
        while (pos[textLength - 1] == 0)
            --textLength;
    }
    String line(pos, static_cast<int>(lengthToTake(textLength)));
    pos += length;
    remaining -= static_cast<std::uint32_t>(length);
    skipLineBreaks();
    lastLine = line;
    return line;
}

CSettingsReaderNarrow::CSettingsReaderNarrow(const void* start, std::uint32_t size)
    : pos(static_cast<const unsigned char*>(start)), remaining(size)
{
}

bool CSettingsReaderNarrow::isEnd() const
{
    return !pos || remaining == 0 || *pos == 0;
}

void CSettingsReaderNarrow::skipLineBreaks()
{
    for (; pos && remaining > 0 && IsLineBreak(*pos); ++pos)
        --remaining;
}

CSettingsReader::String CSettingsReaderNarrow::readLine()
{
    skipLineBreaks();
    if (isEnd())
        return String();
    const auto* const bytes = reinterpret_cast<const char*>(pos);
    const std::size_t length = scan::FindEither(bytes, remaining, '\r', '\n');
    const std::size_t taken = lengthToTake(length);
    std::copy_n(bytes, taken, lineBytes.GetBufferSetLength(static_cast<int>(taken)));
    String line;
    line = lineBytes.GetString();
    pos += length;
    remaining -= static_cast<std::uint32_t>(length);
    skipLineBreaks();
    lastLine = line;
    return line;
}

// ---- Writers -------------------------------------------------------------------------------

CSettingsWriter::~CSettingsWriter() = default;

bool CSettingsWriter::openFile(const wchar_t* fileName)
{
    return file.Open(fileName, CFile::modeCreate | CFile::modeReadWrite);
}

bool CSettingsWriter::writeBytes(const void* bytes, std::size_t size)
{
    try {
        file.Write(bytes, static_cast<UINT>(size));
        return true;
    } catch (...) {
        return false;
    }
}

void CSettingsWriter::gatherWrites()
{
    try {
        file.GatherWrites();
    } catch (...) {
        // Without memory for gathering every piece is written by itself.
    }
}

bool CSettingsWriter::flush()
{
    try {
        file.Flush();
        return true;
    } catch (...) {
        return false;
    }
}

bool CSettingsWriterWide::open(const wchar_t* fileName)
{
    return openFile(fileName);
}

bool CSettingsWriterWide::write(const String& text)
{
    lineBuffer = text;
    return writeText(lineBuffer);
}

bool CSettingsWriterWide::writeLine(const String& text)
{
    lineBuffer = text;
    lineBuffer += lineTerminator;
    return writeText(lineBuffer);
}

bool CSettingsWriterNarrow::open(const wchar_t* fileName)
{
    return openFile(fileName);
}

bool CSettingsWriterNarrow::write(const String& text)
{
    lineBuffer = text.GetString();
    return writeText(lineBuffer);
}

bool CSettingsWriterNarrow::writeLine(const String& text)
{
    lineBuffer = text.GetString();
    lineBuffer += lineTerminator;
    return writeText(lineBuffer);
}

} // namespace xel_settings
