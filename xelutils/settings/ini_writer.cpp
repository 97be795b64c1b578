#include "xelutils/settings/settings_streams.h"
#include "xelutils/settings/xel_settings.h"

namespace xel_settings {

using mandatory_error::XelErrorCode;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

bool WriteSection(CSettingsWriter& writer, const CThreeTupleSection& section)
{
    static constexpr wchar_t kParts[] = L"[]=";
    const String opening(kParts, 1), closing(kParts + 1, 1), equals(kParts + 2, 1);
    if (!writer.write(opening) || !writer.write(section.name) || !writer.writeLine(closing))
        return false;
    for (const auto& [key, value] : section.entries) {
        if (!writer.write(key) || !writer.write(equals) || !writer.writeLine(value))
            return false;
    }
    // Every section is closed by an empty line, the last one too.
    return writer.writeLine(String());
}

bool WriteStore(CSettingsWriter& writer, const wchar_t* fileName, const CThreeTupleStore& store)
{
    if (!writer.open(fileName))
        return false;
    writer.gatherWrites();
    for (const auto& [key, section] : store.sections()) {
        if (!WriteSection(writer, section))
            return false;
    }
    return writer.flush();
}

} // namespace

XelErrorCode<bool> writeSettingsAsIni(const wchar_t* fileName, const CThreeTupleStore& store,
                                      EXelTextEncoding encoding)
{
    if (encoding == TEXT_ENCODING_UTF16LE) {
        CSettingsWriterWide writer;
        return WriteStore(writer, fileName, store);
    }
    CSettingsWriterNarrow writer;
    return WriteStore(writer, fileName, store);
}

} // namespace xel_settings
