// Uses one thing of each installed subsystem and prints what it finds; the argument is a settings
// file.
#include <cstdint>
#include <cstdio>

#include <xelutils/memory/dlmalloc.h>
#include <xelutils/settings/xel_settings.h>
#include <xelutils/text/xel_string.h>
#include <xelutils/text/xel_utf.h>

int main(int argc, char** argv)
{
    // The figures are those of the first allocation in the process.
    void* block = dlmalloc(1);
    std::uint32_t maxBytes = 0;
    std::uint32_t systemBytes = 0;
    std::uint32_t usedBytes = 0;
    dlmalloc_stats2(&maxBytes, &systemBytes, &usedBytes);
    std::printf("%u %u %u\n", maxBytes, systemBytes, usedBytes);
    dlfree(block);
    if (argc != 2)
        return 2;

    using String = xel_text::CXelStringT<wchar_t>;
    xel_settings::CThreeTupleStore store;
    // An empty string points at data of the library; this program and the library must agree
    // where that is.
    store.setValue(String(), L"key", String());
    store.clear();

    auto encoding = xel_settings::TEXT_ENCODING_UNKNOWN;
    if (!xel_settings::readSettingsAsIni(xel_text::FromUtf8(argv[1]), store, encoding)) {
        std::puts("cannot read the settings");
        return 1;
    }
    String place;
    store.getValue(L"Panel", L"Place", place);
    std::puts(xel_text::ToUtf8(place).c_str());
    return 0;
}
