// Results, on standard output.
#pragma once

#include <string_view>

namespace xelini {

// Throws Failure when standard output does not take all of it.
void printOutput(std::string_view text);

} // namespace xelini
