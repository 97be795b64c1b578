#include "tools/xelini/change.h"

#include "tools/xelini/failure.h"

namespace xelini {

Change unchanged(const std::string& path)
{
    const HostInput input(path);
    return {Document(input.name(), input.bytes()), readSettings(input).store};
}

void finish(const Change& change, TargetFile& target)
{
    finish(change.document.bytes(), {change.meant, change.document.encoding()}, target);
}

void finish(std::string_view bytes, const Settings& meant, TargetFile& target)
{
    if (bytes.empty())
        throw refusedFile(target.name(), "would be empty, and devices cannot read an empty file; "
                                         "leave a comment in it, or remove the file");
    target.replace(bytes,
                   [&](const HostFile& written) { checkSettings(written, target.name(), meant); });
}

} // namespace xelini
