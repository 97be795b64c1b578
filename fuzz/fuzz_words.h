// Arguments for formats that a fuzzer makes up: each word is the address of terminated text of
// both widths and, being a low address, a number that is fit for a width. The text cannot be
// written, so a format that stores anything is caught.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>

inline const char* FuzzText()
{
    static const char* const text = [] {
        constexpr std::size_t kSize = 0x1000;
        constexpr std::uintptr_t kLowest = 0x10000;
        void* const page = mmap(reinterpret_cast<void*>(kLowest), kSize, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        if (page == MAP_FAILED) {
            std::perror("no text at a low address");
            std::exit(1);
        }
        // Latin letters, then some that are no characters of the code page; zeros follow.
        std::memcpy(page, "a%d\xE9\x80z\x20\xAC\x3D\xD8\x16\x04!x", 14);
        mprotect(page, kSize, PROT_READ);
        return static_cast<const char*>(page);
    }();
    return text;
}

// One of few, the empty text among them.
inline std::uintptr_t FuzzWord(std::size_t number)
{
    return reinterpret_cast<std::uintptr_t>(FuzzText() + number * 6 % 16);
}
