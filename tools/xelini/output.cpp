#include "tools/xelini/output.h"

#include <cerrno>
#include <unistd.h>

#include "tools/xelini/failure.h"
#include "tools/xelini/file_descriptor.h"

namespace xelini {

void printOutput(std::string_view text)
{
    if (!writeAll(STDOUT_FILENO, text))
        throw failedFile("standard output", "cannot be written", errno);
}

} // namespace xelini
