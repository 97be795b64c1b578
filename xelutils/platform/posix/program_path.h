// Where the running program's file is.
#pragma once

#include <string>

// The host's name of the file behind `link`, a link of the kernel to an open file. The kernel adds
// " (deleted)" to the name of a file that has gone, or whose name now means another file; that is
// taken off again. Empty when there is no such link.
std::string FileBehindLink(const char* link);
