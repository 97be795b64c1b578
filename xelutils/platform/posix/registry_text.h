// The text of registry files (.reg), as the registry editor exports them.
//
//   Windows Registry Editor Version 5.00       or REGEDIT4: then the bytes of hex(2) and hex(7)
//                                              are text of the system's code page
//   [HKEY_CURRENT_USER\Software\Panel]         a key and all above it; [-...] removes it
//   @="default"                                the key's default value
//   "Path"="C:\\Panel"                         REG_SZ; before a quote or "\" stands a "\"
//   "Count"=dword:0000002a                     REG_DWORD
//   "Bytes"=hex:01,02,\                        REG_BINARY, continued on the next line
//     03
//   "Lines"=hex(7):61,00,00,00,00,00           the type is a hexadecimal number
//   "Old"=-                                    removes a value
//   ; a comment
//
// Of a value that comes again the last one counts. Keywords, roots and names are known in any case.
#pragma once

#include <cstddef>
#include <string_view>

#include "xelutils/platform/posix/registry_key.h"

// The lines that were left out, and the first of them.
struct RegistryFaults {
    std::size_t count = 0;
    // As an editor counts, from 1.
    std::size_t line = 0;
    // A rule that was broken, in words.
    const char* what = nullptr;
};

// Reads a file's bytes: UTF-16LE and UTF-8 with a mark, else text of the system's code page. Lines
// that break a rule are left out, and with a key's line the values that follow it; without the
// header's line everything is.
Registry ReadRegistryText(std::string_view bytes, RegistryFaults& faults);
