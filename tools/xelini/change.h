// A change to a settings file: its new lines, and the settings that they are meant to hold.
#pragma once

#include <string>
#include <string_view>

#include "tools/xelini/document.h"
#include "tools/xelini/settings_reader.h"
#include "tools/xelini/target_file.h"

namespace xelini {

struct Change {
    Document document;
    xel_settings::CThreeTupleStore meant;
};

// The file as it is; "-" is standard input. It is closed again, since hosts may refuse to put
// another one in the place of an open file. Throws Failure.
Change unchanged(const std::string& path);

// Puts the document in the target's place, provided that it reads as it is meant to. Throws
// Failure.
void finish(const Change& change, TargetFile& target);
void finish(std::string_view bytes, const Settings& meant, TargetFile& target);

} // namespace xelini
