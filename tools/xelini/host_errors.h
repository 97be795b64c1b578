// Why the host could not do something.
#pragma once

#include <string>

namespace xelini {

// The host's number of the error that it has met last: an errno, or what GetLastError tells.
int lastError();

// The words for such a number, in lower case. Hosts use the same ones for common errors.
std::string systemReason(int error);

} // namespace xelini
