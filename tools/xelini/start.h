// The start of the program on its host.
#pragma once

#include <string>
#include <vector>

namespace xelini {

// Makes the process ready, and returns the arguments of main in UTF-8, without the program's name.
// What is not UTF-8 stays as it is where the host's arguments are bytes; else it throws Failure.
std::vector<std::string> startProgram(int argc, const char* const* argv);

} // namespace xelini
