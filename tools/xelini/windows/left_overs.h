// New files that must not stay, however the program ends: normally, or by the keys and events that
// end it from outside.
#pragma once

#include <string>

namespace xelini {

// Makes an empty file with a new name in the folder, which is written with its closing separator,
// and returns its path; both are UTF-8. It is removed when the program ends. Empty, with the
// system's error set, when the folder takes no new file.
std::string makeLeftOver(const std::string& folder);

// Removes it now.
void removeLeftOver(const std::string& path);

// It stays.
void keepLeftOver(const std::string& path);

} // namespace xelini
