// The real registry, below the tests' own key.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

#include "support/registry_fixture.h"
#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

// While it lives, the test's key holds what was imported last.
class TestRegistry {
public:
    TestRegistry()
    {
        WaitForSingleObject(m_turn, INFINITE);
        Clear();
    }
    // Lines of the test's key.
    explicit TestRegistry(const std::string& lines) : TestRegistry()
    {
        Import("Windows Registry Editor Version 5.00\r\n\r\n[" + std::string(kTestKey) + "]\r\n" +
               lines);
    }
    ~TestRegistry()
    {
        Clear();
        ReleaseMutex(m_turn);
        CloseHandle(m_turn);
    }
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;

    void Import(std::string_view text) const
    {
        Clear();
        // Windows takes the bytes of a value for 8-bit text where the file is.
        const bool isOfToday = text.starts_with("Windows Registry Editor");
        m_folder.Write("test.reg", isOfToday ? "\xFF\xFE" + Utf16Bytes(text) : std::string(text));
        const std::string command =
            "reg import \"" + m_folder.HostPath("test.reg") + "\" >nul 2>nul";
        if (std::system(command.c_str()) != 0)
            throw "the text cannot be imported";
    }
    // A text of the test's key with bytes that an import would complete.
    void StoreText(const std::string& name, std::string_view bytes) const
    {
        HKEY key;
        RegCreateKeyExW(HKEY_CURRENT_USER, kTestSubKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                        nullptr);
        RegSetValueExW(key, xel_text::FromUtf8(name), 0, REG_SZ,
                       reinterpret_cast<const BYTE*>(bytes.data()),
                       static_cast<DWORD>(bytes.size()));
        RegCloseKey(key);
    }
    const TestFolder& Folder() const { return m_folder; }

private:
    static void Clear() { RegDeleteTreeW(HKEY_CURRENT_USER, kTestSubKey); }

    // Tests that run at the same time share the registry.
    const HANDLE m_turn = CreateMutexW(nullptr, FALSE, L"xelutils-test-registry");
    const TestFolder m_folder;
};
