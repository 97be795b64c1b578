// Arbitrary bytes as a settings file: detection and reader. What was accepted holds no line
// breaks and starts as entries start; a refusal names a line of the file.
#include "settings_file.h"
#include "xelutils/settings/xel_settings.h"
#include "xelutils/text/xel_text_utils.h"

using namespace xel_settings;
using String = xel_text::CXelStringT<wchar_t>;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::uint32_t markLength = 0;
    xel_text_traits::xel_text_utils::detect_text_encoding(data, static_cast<std::uint32_t>(size),
                                                          &markLength);
    FUZZ_REQUIRE(markLength <= size);

    static MemoryFile file;
    file.Fill(data, size);
    CThreeTupleStore store;
    EXelTextEncoding encoding = TEXT_ENCODING_UNKNOWN;
    CSettingsDiagnosis diagnosis;
    const bool accepted = readSettingsAsIni(file.Path(), store, encoding, diagnosis);
    FUZZ_REQUIRE(accepted == (diagnosis.fault == ESettingsFault::none));
    FUZZ_REQUIRE(diagnosis.line <= size);
    FUZZ_REQUIRE((diagnosis.line == 0) ==
                 (accepted || diagnosis.fault == ESettingsFault::emptyFile));
    for (const auto& [key, section] : store.sections()) {
        FUZZ_REQUIRE(section.name == key && !section.entries.empty());
        for (const auto& [name, value] : section.entries) {
            FUZZ_REQUIRE(!name.IsEmpty() && name.Find(L'=') < 0);
            FUZZ_REQUIRE(name.FindOneOf(L"\r\n") < 0 && value.FindOneOf(L"\r\n") < 0);
            FUZZ_REQUIRE(_isctype(name[0], _ALPHA) || _isctype(name[0], _DIGIT));
        }
    }
    return 0;
}
