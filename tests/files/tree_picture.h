// Trees of files for tests, and what they hold.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

// What stands below `top`, by name: kind, permissions, time of the last write of what is no folder,
// and content or where a link leads. Links are not followed.
inline std::map<std::string, std::string> PictureOf(const std::string& top)
{
    namespace fs = std::filesystem;
    std::map<std::string, std::string> picture;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(top)) {
        std::string& text = picture[entry.path().lexically_relative(top).string()];
        if (entry.is_symlink()) {
            text = "link " + fs::read_symlink(entry.path()).string();
        } else if (entry.is_directory()) {
            text = "folder";
        } else {
            std::ifstream file(entry.path(), std::ios::binary);
            text = std::to_string(static_cast<unsigned>(entry.status().permissions())) + ' ' +
                   std::to_string(entry.last_write_time().time_since_epoch().count()) + ' ' +
                   std::string(std::istreambuf_iterator<char>(file), {});
        }
    }
    return picture;
}

// Files, a closing "/" for a folder; folders on the way are made too.
inline void MakeTree(const std::string& top, std::initializer_list<const char*> names)
{
    namespace fs = std::filesystem;
    for (const std::string name : names) {
        const fs::path path = fs::path(top) / name;
        if (name.ends_with('/')) {
            fs::create_directories(path);
        } else {
            fs::create_directories(path.parent_path());
            std::ofstream(path, std::ios::binary) << name;
        }
    }
}
