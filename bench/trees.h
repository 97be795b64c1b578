// Trees of files, and who copies, removes and searches them.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

struct TreeShape {
    std::size_t folders;
    std::size_t filesPerFolder;
    std::size_t fileBytes;

    std::size_t Files() const { return folders * filesPerFolder; }
};

struct TreeProgram {
    const char* name;
    // False on failure. `to` does not exist.
    bool (*copy)(const std::string& from, const std::string& to);
    bool (*remove)(const std::string& dir);
    // Files in all folders; programs whose output nobody reads give 0.
    std::size_t (*count)(const std::string& dir);
    // Looks everywhere for a file that is not there, without regard to case.
    bool (*miss)(const std::string& dir);
};

TreeProgram XelutilsTrees();
TreeProgram StdTrees();
// cp, rm and find as children.
TreeProgram HostTrees();

constexpr char kMissingFile[] = "Missing.txt";

} // namespace bench
