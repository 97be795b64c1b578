// The commands. Each prints its result to standard output and tells how it ended; it throws
// Failure when it cannot go on. Files stand in the request in the order of the command line.
#pragma once

#include "tools/xelini/command_line.h"

namespace xelini {

// For a section or key that was asked for and is not there.
Failure missing(const Request& request);

Status check(const Request& request);
Status list(const Request& request);
Status get(const Request& request);
Status exists(const Request& request);
Status set(const Request& request);
Status unset(const Request& request);
Status convert(const Request& request);
Status merge(const Request& request);
Status diff(const Request& request);

} // namespace xelini
