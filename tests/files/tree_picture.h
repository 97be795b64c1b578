// Trees of files for tests, and what they hold.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "support/links.h"
#include "support/target.h"

// In one folder. Wine looks through it for each name.
constexpr int kManyFiles = OnHost(10000, 500);

// What stands below `top`, by name: kind, permissions, time of the last write of what is no folder,
// and content or where a link leads. Links are not followed.
inline std::map<std::string, std::string> PictureOf(const std::string& top)
{
    namespace fs = std::filesystem;
    std::map<std::string, std::string> picture;
    for (fs::recursive_directory_iterator i(top); i != fs::recursive_directory_iterator(); ++i) {
        const fs::directory_entry& entry = *i;
        const std::string path = entry.path().generic_string();
        std::string& text = picture[entry.path().lexically_relative(top).generic_string()];
        if (IsLinkThere(path)) {
            i.disable_recursion_pending();
            text = "link " + TargetOfLink(path);
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
