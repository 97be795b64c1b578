#include "tools/xelini/output.h"

#include "tools/xelini/failure.h"
#include "tools/xelini/host_errors.h"
#include "tools/xelini/host_file.h"

namespace xelini {

void printOutput(std::string_view text)
{
    if (!writeAll(numberOf(StandardStream::output), text))
        throw failedFile("standard output", "cannot be written", lastError());
}

} // namespace xelini
