// set, unset and convert: changes that keep every other byte.
#include <algorithm>
#include <optional>
#include <string_view>

#include "tools/xelini/change.h"
#include "tools/xelini/commands.h"
#include "tools/xelini/host_errors.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

// Of the file itself, or what stands for a missing or empty one that may be made.
Change openForSetting(const Request& request, const TargetFile& target)
{
    const std::string& path = request.files[0];
    if (!target.isStandardOutput() && !target.exists()) {
        if (!request.width)
            throw failedFile(path, "cannot be opened: no such file or directory; --encoding makes "
                                   "it");
        return {Document(path, *request.width), {}};
    }
    const HostInput input(path);
    const std::string bytes = input.bytes();
    if (bytes.empty() && request.width)
        return {Document(path, *request.width), {}};
    return {Document(path, bytes), readSettings(input).store};
}

void refuseIllFormed(const std::string& name, std::string_view utf8)
{
    std::size_t line = 1;
    while (!utf8.empty()) {
        const std::size_t length = std::min(utf8.find_first_of("\r\n"), utf8.size());
        bool wellFormed = false;
        xel_text::FromUtf8(utf8.substr(0, length), &wellFormed);
        if (!wellFormed)
            throw refusedLine(name, line,
                              "is not UTF-8; leave --from away for text in the 8-bit "
                              "code page");
        utf8.remove_prefix(length);
        utf8.remove_prefix(utf8.starts_with("\r\n") ? 2 : std::min<std::size_t>(utf8.size(), 1));
        ++line;
    }
}

// What the UTF-8 text means is what the reader makes of the same text in UTF-16.
Change readUtf8(const std::string& path)
{
    const HostInput input(path);
    const std::string bytes = input.bytes();
    std::string_view utf8 = bytes;
    if (Document(input.name(), bytes).width() == Width::wide)
        throw refusedFile(input.name(), "is UTF-16LE and not UTF-8; leave --from away");
    if (utf8.starts_with(kUtf8Mark))
        utf8.remove_prefix(kUtf8Mark.size());
    refuseIllFormed(input.name(), utf8);
    Document document = Document::ofText(input.name(), xel_text::FromUtf8(utf8));
    const HostFile copy = makeMemoryFile(document.bytes());
    if (!copy.isOpen())
        throw failedFile(input.name(), "cannot be kept in memory", lastError());
    return {std::move(document), readSettings(copy, input.name()).store};
}

} // namespace

Status set(const Request& request)
{
    TargetFile target(request.files[0]);
    Change change = openForSetting(request, target);
    for (const auto& [section, key, value] : request.triples) {
        change.document.setValue(section, key, value, request.mayCut);
        change.meant.setValue(section, key, value);
    }
    finish(change, target);
    return Status::done;
}

Status unset(const Request& request)
{
    TargetFile target(request.files[0]);
    Change change = unchanged(request.files[0]);
    const Text& section = *request.section;
    if (request.key) {
        if (!change.document.removeKey(section, *request.key, request.mayCut))
            throw missing(request);
        change.meant.removeValue(section, *request.key);
    } else if (!change.document.removeSection(section, request.mayCut)) {
        throw missing(request);
    }
    // The reader knows no section without entries.
    if (!request.key || change.meant.valueCount(section) == 0)
        change.meant.removeSection(section);
    finish(change, target);
    return Status::done;
}

Status convert(const Request& request)
{
    TargetFile target(request.output.value_or(request.files[0]));
    const std::string& path = request.files[0];
    Change change = request.fromUtf8 ? readUtf8(path) : unchanged(path);
    change.document = change.document.converted(*request.width, request.mayCut);
    finish(change, target);
    return Status::done;
}

} // namespace xelini
