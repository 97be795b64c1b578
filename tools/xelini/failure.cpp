#include "tools/xelini/failure.h"

#include "tools/xelini/host_errors.h"
#include "tools/xelini/host_file.h"

namespace xelini {

Failure refusedFile(const std::string& file, const std::string& text)
{
    return {Status::refused, file + ": " + text};
}

Failure refusedLine(const std::string& file, std::size_t line, const std::string& text)
{
    return {Status::refused, file + ":" + std::to_string(line) + ": " + text};
}

Failure failedFile(const std::string& file, const std::string& text, int error)
{
    return {Status::failed, file + ": " + text + ": " + systemReason(error)};
}

Failure failedFile(const std::string& file, const std::string& text)
{
    return {Status::failed, file + ": " + text};
}

void printMessage(std::string_view message)
{
    // Nothing is left to be told when standard error itself cannot be written.
    writeAll(numberOf(StandardStream::error), "xelini: " + std::string(message) + "\n");
}

} // namespace xelini
