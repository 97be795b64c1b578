// The registry is a file that the environment names.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "support/registry_fixture.h"
#include "support/test_folder.h"

// While it lives, the registry is what was imported last.
class TestRegistry {
public:
    TestRegistry() { setenv("XEL_REGISTRY", FileName().c_str(), 1); }
    // Lines of the test's key.
    explicit TestRegistry(const std::string& lines) : TestRegistry()
    {
        Import("Windows Registry Editor Version 5.00\r\n\r\n[" + std::string(kTestKey) + "]\r\n" +
               lines);
    }
    ~TestRegistry() { unsetenv("XEL_REGISTRY"); }
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;

    // A whole file, in one step.
    void Import(std::string_view text) const
    {
        m_folder.Write("new.reg", text);
        std::filesystem::rename(m_folder.HostPath("new.reg"), FileName());
    }
    // A text of the test's key with bytes that no file of an export would have.
    void StoreText(const std::string& name, std::string_view bytes) const
    {
        std::string line = "\"" + name + "\"=hex(1):";
        for (const char byte : bytes) {
            constexpr char kDigits[] = "0123456789abcdef";
            const auto value = static_cast<unsigned char>(byte);
            line += {kDigits[value >> 4], kDigits[value & 15], ','};
        }
        std::ofstream(FileName(), std::ios::app) << "[" << kTestKey << "]\r\n" << line << "\r\n";
    }
    std::string FileName() const { return m_folder.HostPath("test.reg"); }
    const TestFolder& Folder() const { return m_folder; }

private:
    const TestFolder m_folder;
};
