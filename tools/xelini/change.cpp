#include "tools/xelini/change.h"

#include "tools/xelini/failure.h"

namespace xelini {

void finish(const Change& change, const TargetFile& target)
{
    finish(change.document.bytes(), {change.meant, change.document.encoding()}, target);
}

void finish(std::string_view bytes, const Settings& meant, const TargetFile& target)
{
    if (bytes.empty())
        throw refusedFile(target.name(), "would be empty, and devices cannot read an empty file; "
                                         "leave a comment in it, or remove the file");
    target.replace(bytes, [&](const FileDescriptor& written) {
        checkSettings(written, target.name(), meant);
    });
}

} // namespace xelini
