#pragma once

#include <filesystem>
#include <string>
#include <sys/stat.h>

inline void MakeFolderLink(const std::string& target, const std::string& link)
{
    std::filesystem::create_directory_symlink(target, link);
}

// To a file or to nothing.
inline void MakeFileLink(const std::string& target, const std::string& link)
{
    std::filesystem::create_symlink(target, link);
}

constexpr bool kLinksCanBeRemoved = true;

inline bool IsLinkThere(const std::string& path)
{
    return std::filesystem::is_symlink(path);
}

inline std::string TargetOfLink(const std::string& path)
{
    return std::filesystem::read_symlink(path).string();
}

// Removes the link, not what it leads to.
inline void RemoveLink(const std::string& path)
{
    std::filesystem::remove(path);
}

inline void MakeFifo(const std::string& path)
{
    mkfifo(path.c_str(), 0600);
}

// What removing a tree by std::filesystem would not remove well.
inline void RemoveLinksBelow(const std::string&) {}
