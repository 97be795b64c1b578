// The display that the program's lists appear on.
#pragma once

#include "xelutils/text/xel_string.h"

// A path as a display of so many columns shows it.
xel_text::CXelStringT<wchar_t> PathOnDisplay(int columns,
                                             const xel_text::CXelStringT<wchar_t>& path);
