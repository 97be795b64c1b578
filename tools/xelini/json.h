// Settings as JSON, in UTF-8.
#pragma once

#include <string>

#include "tools/xelini/text_codec.h"

namespace xelini {

// A JSON string with its quotes. A surrogate without its partner becomes \udXXX, a control
// character \u00XX, so that every text comes back as it was.
std::string jsonString(const Text& text);

} // namespace xelini
