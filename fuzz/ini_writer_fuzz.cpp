// A store written and read again is the same store, in both encodings.
#include "settings_file.h"
#include "xelutils/settings/xel_settings.h"

using namespace xel_settings;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

// Any text that can stand in a line, after `first`; the narrow encoding has fewer characters.
String Text(FuzzInput& input, const String& first, bool narrow, const wchar_t* forbidden)
{
    String text = first;
    for (unsigned length = input.Byte() % 12; length > 0; --length) {
        const unsigned unit = narrow ? input.Byte() % 0x80 : input.Word();
        text += static_cast<wchar_t>(unit);
    }
    text.Remove(L'\0');
    for (; *forbidden != 0; ++forbidden)
        text.Remove(*forbidden);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const bool narrow = input.Byte() % 2 != 0;
    CThreeTupleStore store;
    // Enough plain text in front for a file without mark to be recognised.
    store.setValue(L"  first", L"key", L"value");
    while (!input.Empty()) {
        const String section = Text(input, L"s", narrow, L"\r\n");
        const String key = Text(input, L"k", narrow, L"\r\n=");
        store.setValue(section, key, Text(input, L"", narrow, L"\r\n"));
    }
    static MemoryFile file;
    const EXelTextEncoding encoding = narrow ? TEXT_ENCODING_8BIT : TEXT_ENCODING_UTF16LE;
    FUZZ_REQUIRE(writeSettingsAsIni(file.Path(), store, encoding));
    CThreeTupleStore again;
    EXelTextEncoding found = TEXT_ENCODING_UNKNOWN;
    FUZZ_REQUIRE(readSettingsAsIni(file.Path(), again, found));
    FUZZ_REQUIRE(found == encoding);
    FUZZ_REQUIRE(again == store);
    return 0;
}
