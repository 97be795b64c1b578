#include "tools/xelini/settings_reader.h"

#include "tools/xelini/failure.h"

namespace xelini {

namespace {

using xel_settings::CSettingsDiagnosis;
using xel_settings::ESettingsFault;

// Which rule the line broke, and how to mend it.
const char* describe(ESettingsFault fault)
{
    switch (fault) {
    case ESettingsFault::indentedLine:
        return "line starts with a space or tab; remove the white space in front, or all of the "
               "line";
    case ESettingsFault::headerNotClosed:
        return "section header lacks its closing ']'; nothing but white space may follow it";
    case ESettingsFault::headerWithoutName:
        return "section header has no name; write one between '[' and ']'";
    case ESettingsFault::entryWithoutEquals:
        return "entry lacks '='; write key=value, or start a comment with ';', '#' or '/'";
    case ESettingsFault::invalidFirstCharacter:
        return "line starts with a character that begins no line; a key starts with a letter or "
               "digit, a header with '[', a comment with ';', '#' or '/'";
    case ESettingsFault::lineTooLong:
        return "line is too long for a device; break it up";
    default:
        return "is refused";
    }
}

Failure failureFor(const CSettingsDiagnosis& diagnosis, const std::string& name)
{
    switch (diagnosis.fault) {
    case ESettingsFault::cannotOpen:
        return failedFile(name, "cannot be mapped for reading (device error " +
                                    std::to_string(diagnosis.systemError) + ")");
    case ESettingsFault::emptyFile:
        return refusedFile(name, "is empty, and devices cannot read an empty file; write at least "
                                 "one line, which may be a comment");
    default:
        return refusedLine(name, diagnosis.line, describe(diagnosis.fault));
    }
}

bool readsAs(const Settings& meant, const HostFile& file, const std::string& name)
{
    try {
        const Settings found = readSettings(file, name);
        return found.encoding == meant.encoding && found.store == meant.store;
    } catch (const Failure& failure) {
        if (failure.status == Status::refused)
            return false;
        throw;
    }
}

} // namespace

Settings readSettings(const HostFile& file, const std::string& name)
{
    Settings settings;
    CSettingsDiagnosis diagnosis;
    const auto path = devicePathOf(file);
    if (!xel_settings::readSettingsAsIni(path.data(), settings.store, settings.encoding, diagnosis))
        throw failureFor(diagnosis, name);
    return settings;
}

Settings readSettings(const HostInput& input)
{
    return readSettings(input.file(), input.name());
}

Settings readSettings(const std::string& path)
{
    return readSettings(HostInput(path));
}

void checkSettings(const HostFile& file, const std::string& name, const Settings& meant)
{
    if (!readsAs(meant, file, name))
        throw refusedFile(name, "the changed file would not read as it is meant to; nothing is "
                                "changed");
}

} // namespace xelini
