// The C library's wcslen is made for another width of wchar_t.
#pragma once

#include <cstddef>

// Units before the terminator.
std::size_t WideLength(const wchar_t* text);
