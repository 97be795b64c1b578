// merge: files laid over a base. A new file comes from the library's writer; in an existing one
// only the entries that differ are changed.
#include <utility>

#include "tools/xelini/change.h"
#include "tools/xelini/commands.h"
#include "tools/xelini/host_errors.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

using xel_settings::CThreeTupleStore;

template <class Visit> void forEachEntry(const CThreeTupleStore& store, Visit visit)
{
    for (const auto& [name, section] : store.sections())
        for (const auto& [key, value] : section.entries)
            visit(name, key, value);
}

Settings readMerged(const std::vector<std::string>& files)
{
    Settings merged;
    merged.encoding = xel_settings::TEXT_ENCODING_8BIT;
    for (const std::string& file : files) {
        const Settings overlay = readSettings(file);
        forEachEntry(overlay.store, [&](const Text& section, const Text& key, const Text& value) {
            merged.store.setValue(section, key, value);
        });
        if (overlay.encoding == xel_settings::TEXT_ENCODING_UTF16LE)
            merged.encoding = overlay.encoding;
    }
    return merged;
}

// As the library's writer writes them.
std::string written(const Settings& settings, const std::string& name)
{
    const HostFile file = makeMemoryFile({});
    const auto path = devicePathOf(file);
    std::string bytes;
    if (!file.isOpen() ||
        !xel_settings::writeSettingsAsIni(path.data(), settings.store, settings.encoding) ||
        !readAll(file.number(), bytes))
        throw failedFile(name, "cannot be prepared in memory", lastError());
    return bytes;
}

void writeNew(const Settings& merged, TargetFile& target)
{
    const bool isWide = merged.encoding == xel_settings::TEXT_ENCODING_UTF16LE;
    std::string bytes = written(merged, target.name());
    // The writer's header of the section with the empty name is refused by the reader; such
    // entries come first, where they need none.
    if (merged.store.hasSection(Text()))
        bytes.erase(0, encode(L"[]\r\n", isWide ? Width::wide : Width::narrow)->size());
    finish(isWide ? withMarkIfNeeded(std::move(bytes)) : bytes, merged, target);
}

void changeExisting(const Settings& merged, TargetFile& target, bool mayCut)
{
    Change change = unchanged(target.name());
    const CThreeTupleStore present = std::exchange(change.meant, merged.store);
    change.document.removeOthers(present, merged.store, mayCut);
    change.document.replaceValues(merged.store, mayCut);
    forEachEntry(merged.store, [&](const Text& section, const Text& key, const Text& value) {
        Text old;
        if (!present.getValue(section, key, old))
            change.document.setValue(section, key, value, mayCut);
    });
    finish(change, target);
}

} // namespace

Status merge(const Request& request)
{
    TargetFile target(*request.output);
    const Settings merged = readMerged(request.files);
    if (target.exists() && !target.isEmpty())
        changeExisting(merged, target, request.mayCut);
    else
        writeNew(merged, target);
    return Status::done;
}

} // namespace xelini
