// The working directory of the program, while it lives.
#pragma once

#include <filesystem>
#include <string>

class WorkingDirectory {
public:
    explicit WorkingDirectory(const std::string& path) { std::filesystem::current_path(path); }
    ~WorkingDirectory() { std::filesystem::current_path(m_before); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
    const std::filesystem::path m_before = std::filesystem::current_path();
};
