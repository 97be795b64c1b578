// The device's code page, as far as its conversions do not tell.
#pragma once

namespace xelini {

// What decoding gives for bytes that are no character.
wchar_t unitOfUndefinedBytes();

} // namespace xelini
