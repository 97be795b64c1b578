// What a file means: the library's reader decides, and its refusals are put into words.
#pragma once

#include <string>

#include "tools/xelini/host_file.h"
#include "tools/xelini/host_input.h"
#include "xelutils/settings/xel_settings.h"

namespace xelini {

struct Settings {
    xel_settings::CThreeTupleStore store;
    xel_settings::EXelTextEncoding encoding = xel_settings::TEXT_ENCODING_UNKNOWN;
};

// Reads a regular file that is open; `name` is how messages call it. Throws Failure.
Settings readSettings(const HostFile& file, const std::string& name);
Settings readSettings(const HostInput& input);
Settings readSettings(const std::string& path);

// Throws Failure unless the file reads as exactly the settings that are meant.
void checkSettings(const HostFile& file, const std::string& name, const Settings& meant);

} // namespace xelini
