#include "settings_files.h"
#include "xelutils/settings/xel_settings.h"
#include "xelutils/text/xel_utf.h"

namespace bench {

namespace {

using namespace xel_settings;

CThreeTupleStore* Store(void* holder)
{
    return static_cast<CThreeTupleStore*>(holder);
}

void* Read(const char* path, Encoding encoding)
{
    auto* store = new CThreeTupleStore;
    EXelTextEncoding found = TEXT_ENCODING_UNKNOWN;
    const auto expected = encoding == Encoding::utf16 ? TEXT_ENCODING_UTF16LE : TEXT_ENCODING_8BIT;
    if (readSettingsAsIni(xel_text::FromUtf8(path), *store, found) && found == expected)
        return store;
    delete store;
    return nullptr;
}

std::string Value(void* holder, const Entry& entry)
{
    CThreeTupleStore::String value;
    Store(holder)->getValue(entry.section.c_str(), entry.key.c_str(), value);
    return xel_text::ToUtf8(value);
}

bool Write(void* holder, const char* path, Encoding encoding)
{
    return writeSettingsAsIni(xel_text::FromUtf8(path), *Store(holder),
                              encoding == Encoding::utf16 ? TEXT_ENCODING_UTF16LE
                                                          : TEXT_ENCODING_8BIT);
}

void Destroy(void* holder)
{
    delete Store(holder);
}

} // namespace

SettingsProgram XelutilsSettings()
{
    return {"xelutils", Read, Value, Write, Destroy};
}

} // namespace bench
