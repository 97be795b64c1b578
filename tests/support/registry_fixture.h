// A registry of a test's own: class TestRegistry.
#pragma once

// Where tests keep their keys, so that a real registry can take them too.
constexpr char kTestKey[] = "HKEY_CURRENT_USER\\Software\\xelutils-test";
constexpr wchar_t kTestSubKey[] = L"Software\\xelutils-test";

#if defined(_WIN32)
#include "support/registry_fixture_windows.h"
#else
#include "support/registry_fixture_posix.h"
#endif
