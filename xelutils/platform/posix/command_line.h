// Splitting a command line into arguments: a rule about text, without any system call.
#pragma once

#include <string>
#include <vector>

// The words of a terminated command line in UTF-8, by the rules that CreateProcessW states. Blanks
// and tabs separate; a quote that is not closed reaches to the end. Units that carry a byte of a
// host name (U+DC80 to U+DCFF) become that byte, other surrogates without partner U+FFFD.
std::vector<std::string> SplitCommandLine(const wchar_t* commandLine);
