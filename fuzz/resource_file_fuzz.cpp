// Arbitrary bytes as a compiled resource file. What was accepted cannot hold more than the file.
#include "fuzz_input.h"
#include "xelutils/platform/framework/resource_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // A quarter of the inputs has the first resource of every file put in front.
    std::vector<unsigned char> file;
    if (size % 4 == 0) {
        file = {0, 0, 0, 0, 32, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF, 0, 0};
        file.resize(32);
    }
    file.insert(file.end(), data, data + size);
    file.shrink_to_fit();

    std::vector<ResourceString> strings;
    if (!ReadResourceStrings(file.data(), file.size(), strings)) {
        FUZZ_REQUIRE(strings.empty());
        return 0;
    }
    std::size_t units = 0;
    for (const ResourceString& string : strings) {
        FUZZ_REQUIRE(!string.text.empty());
        units += string.text.size() + 1;
    }
    FUZZ_REQUIRE(units * 2 <= file.size());
    return 0;
}
