// Settings files as lines of wide strings: a mapped file with its line readers, and writers over
// the framework's file object. Wide classes hold UTF-16LE, narrow ones the system's code page.
#pragma once

#include <cstdint>

#include "xelutils/export.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/framework.h"
#include "xelutils/text/xel_string.h"

namespace xel_settings {

// A read-only view of a whole file. Owns its handles.
class XELUTILS_API CMappedFile {
public:
    CMappedFile() = default;
    ~CMappedFile() { close(); }
    CMappedFile(const CMappedFile&) = delete;
    CMappedFile& operator=(const CMappedFile&) = delete;

    // False, with the reason in GetLastError and nothing left open, for a file that is missing,
    // cannot be read or has no bytes. A file that was open is closed first.
    bool open(const wchar_t* fileName);
    void close();

    HANDLE hFile = INVALID_HANDLE_VALUE;
    HANDLE hMapping = nullptr;
    // The file's bytes, followed by zero bytes enough for a terminator.
    const unsigned char* view = nullptr;
    std::uint32_t size = 0;
    bool isOpen = false;

private:
    // Gives back what there is and keeps the last error.
    void abandon();
};

// Lines without their breaks. CR, LF, CR LF and LF CR all end a line, and a run of them counts as
// one break: empty lines never show. A zero character at the start of a line ends the text.
class XELUTILS_API CSettingsReader {
public:
    using String = xel_text::CXelStringT<wchar_t>;

    virtual bool isEnd() const = 0;

    // The next line; empty only at the end. Of a line of more than kLongestLine units (characters
    // or bytes) that many are returned and the rest is passed over.
    virtual String readLine() = 0;

    virtual ~CSettingsReader();

    static constexpr std::uint32_t kLongestLine = 0x4000000;

    // Whether a line came out short so far.
    bool hasCutLine() const { return cutLine; }

protected:
    // The number of units of a line of `length` that are returned.
    std::size_t lengthToTake(std::size_t length);

private:
    bool cutLine = false;
};

// Reads `size` bytes of UTF-16LE at `start`, which must be aligned to 2; half a character at the
// end is dropped. A null start is an end.
class XELUTILS_API CSettingsReaderWide : public CSettingsReader {
public:
    CSettingsReaderWide(const void* start, std::uint32_t size);
    bool isEnd() const override;

    // A zero character inside a line is kept; zeros that only fill the text up to its end are not
    // part of it.
    String readLine() override;

private:
    void skipLineBreaks();

    const wchar_t* pos;
    // Counted down per character from the number of *bytes*, and so twice what is left at first.
    // Kept: files written for the device may end in zero fill, and it is the zero that ends the
    // text; the count alone would not.
    std::uint32_t remaining;
    String lastLine;
    // Nothing is read at or behind this.
    const wchar_t* textEnd;
};

// Reads `size` bytes of 8-bit text at `start`. A null start is an end.
class XELUTILS_API CSettingsReaderNarrow : public CSettingsReader {
public:
    CSettingsReaderNarrow(const void* start, std::uint32_t size);
    bool isEnd() const override;

    // The text of a line ends at a zero byte inside it.
    String readLine() override;

private:
    void skipLineBreaks();

    const unsigned char* pos;
    std::uint32_t remaining;
    String lastLine;
    xel_text::CXelStringT<char> lineBytes;
};

// Each operation is false when it failed; the writer stays usable. Destroying it closes the file.
class XELUTILS_API CSettingsWriter {
public:
    using String = xel_text::CXelStringT<wchar_t>;

    // Creates or truncates the file.
    virtual bool open(const wchar_t* fileName) = 0;

    // One write to the file each, which has reached it on return (see gatherWrites).
    virtual bool write(const String& text) = 0;
    // The text and CR LF.
    virtual bool writeLine(const String& text) = 0;

    virtual ~CSettingsWriter();

    // For writing many small pieces: from now on the file object gathers what it is handed and
    // hands it on in large blocks. A failure then shows at a later piece or at flush.
    void gatherWrites();
    bool flush();

protected:
    CSettingsWriter() = default;
    bool openFile(const wchar_t* fileName);
    template <class T> bool writeText(const xel_text::CXelStringT<T>& text)
    {
        return writeBytes(text.begin(),
                          static_cast<std::size_t>(text.end() - text.begin()) * sizeof(T));
    }
    bool writeBytes(const void* bytes, std::size_t size);

    CFile file;
};

class XELUTILS_API CSettingsWriterWide : public CSettingsWriter {
public:
    bool open(const wchar_t* fileName) override;
    bool write(const String& text) override;
    bool writeLine(const String& text) override;

private:
    xel_text::CXelStringT<wchar_t> lineTerminator{L"\r\n"};
    xel_text::CXelStringT<wchar_t> lineBuffer;
};

class XELUTILS_API CSettingsWriterNarrow : public CSettingsWriter {
public:
    bool open(const wchar_t* fileName) override;
    bool write(const String& text) override;
    bool writeLine(const String& text) override;

private:
    xel_text::CXelStringT<char> lineTerminator{"\r\n"};
    xel_text::CXelStringT<char> lineBuffer;
};

} // namespace xel_settings
