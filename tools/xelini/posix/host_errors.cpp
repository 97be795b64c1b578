#include "tools/xelini/host_errors.h"

#include <cctype>
#include <cerrno>
#include <cstring>

namespace xelini {

int lastError()
{
    return errno;
}

std::string systemReason(int error)
{
    std::string reason = std::strerror(error);
    reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
    return reason;
}

} // namespace xelini
