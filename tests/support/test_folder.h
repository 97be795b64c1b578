// A folder of its own for each test, removed with everything in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "support/links.h"
#include "xelutils/text/xel_string.h"
#include "xelutils/text/xel_utf.h"

class TestFolder {
public:
    TestFolder()
    {
        static int number = 0;
        const auto unique = std::to_string(reinterpret_cast<std::uintptr_t>(this)) + "-" +
                            std::to_string(ClockTicks()) + "-" + std::to_string(++number);
        m_path = std::filesystem::temp_directory_path() / ("xelutils-test-" + unique);
        std::filesystem::create_directories(m_path);
    }
    ~TestFolder()
    {
        namespace fs = std::filesystem;
        RemoveLinksBelow(HostPath(""));
        std::error_code error; // a folder that stays behind spoils no test
        fs::remove_all(m_path, error);
        if (!error)
            return;
        // Some hosts keep what is read-only.
        fs::recursive_directory_iterator entry(m_path, error);
        for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error))
            fs::permissions(entry->path(), fs::perms::owner_all, error);
        fs::remove_all(m_path, error);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    // With the separators that all hosts know.
    std::string HostPath(const std::string& name) const { return (m_path / name).generic_string(); }

    // The device path of a file in the folder.
    xel_text::CXelStringT<wchar_t> Path(const std::string& name) const
    {
        return xel_text::FromUtf8(HostPath(name));
    }
    xel_text::CXelStringT<wchar_t> Write(const std::string& name, std::string_view bytes) const
    {
        std::ofstream(HostPath(name), std::ios::binary) << bytes;
        return Path(name);
    }
    std::string Read(const std::string& name) const
    {
        std::ifstream file(HostPath(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    static long long ClockTicks()
    {
        return std::filesystem::file_time_type::clock::now().time_since_epoch().count();
    }

    std::filesystem::path m_path;
};

// The bytes of a text in UTF-16LE, without a mark; `ascii` may hold zeros.
inline std::string Utf16Bytes(std::string_view ascii)
{
    std::string bytes;
    for (const char ch : ascii) {
        bytes += ch;
        bytes += '\0';
    }
    return bytes;
}
