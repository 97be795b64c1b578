// A program for the tests to copy and run, because libraries are looked for beside the program.
// Its arguments are a library and a function; without the function it only loads.
#include <cstdio>
#include <cstring>

#include "xelutils/system/library_funcs.h"
#include "xelutils/text/xel_utf.h"

int main(int count, char** arguments)
{
    using xel_text::FromUtf8;
    static char untouched;
    auto library = reinterpret_cast<HINSTANCE>(&untouched);
    FARPROC function = nullptr;
    const bool asksForFunction = count > 2;
    const bool found =
        GetLibraryFunction(&library, asksForFunction ? &function : nullptr,
                           FromUtf8(asksForFunction ? arguments[2] : ""), FromUtf8(arguments[1]));
    std::printf("%s, %s, %d\n", found ? "true" : "false", library != nullptr ? "library" : "null",
                function != nullptr ? static_cast<int>(function()) : 0);
    if (!found)
        return 0;
    FreeLibraryFunction(library);
    FreeLibraryFunction(library);
    std::puts(library == nullptr ? "null again" : "not null");
}
