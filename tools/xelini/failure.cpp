#include "tools/xelini/failure.h"

#include <cctype>
#include <cstring>
#include <unistd.h>

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

std::string systemReason(int error)
{
    std::string reason = std::strerror(error);
    reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
    return reason;
}

void printMessage(std::string_view message)
{
    const std::string line = "xelini: " + std::string(message) + "\n";
    // Nothing is left to be told when standard error itself cannot be written.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

} // namespace xelini
