#include <filesystem>
#include <strings.h>
#include <system_error>

#include "trees.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

bool Copy(const std::string& from, const std::string& to)
{
    std::error_code error;
    fs::copy(from, to, fs::copy_options::recursive, error);
    return !error;
}

bool Remove(const std::string& dir)
{
    std::error_code error;
    fs::remove_all(dir, error);
    return !error;
}

std::size_t Count(const std::string& dir)
{
    std::size_t count = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(dir))
        count += !entry.is_directory();
    return count;
}

bool Miss(const std::string& dir)
{
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(dir)) {
        if (strcasecmp(entry.path().filename().c_str(), kMissingFile) == 0)
            return false;
    }
    return true;
}

} // namespace

TreeProgram StdTrees()
{
    return {"std::filesystem", Copy, Remove, Count, Miss};
}

} // namespace bench
