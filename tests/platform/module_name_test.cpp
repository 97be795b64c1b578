#include <gtest/gtest.h>

#include <string>

#include "support/target.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/text/xel_utf.h"

namespace {

using WideString = xel_text::CXelStringT<wchar_t>;

} // namespace

TEST(ModuleName, IsCutToTheBuffer)
{
    wchar_t whole[4096];
    const int length = static_cast<int>(GetModuleFileNameW(nullptr, whole, 4096));
    const WideString path = whole;
    ASSERT_EQ(path.GetLength(), length);
    const struct {
        int size, result, stored;
        DWORD error;
    } rows[] = {
        {length + 2, length, length, ERROR_SUCCESS},
        {length + 1, length, length, ERROR_SUCCESS},
        {length, length, length - 1, ERROR_INSUFFICIENT_BUFFER},
        {2, 2, 1, ERROR_INSUFFICIENT_BUFFER},
        {1, 1, 0, ERROR_INSUFFICIENT_BUFFER},
    };
    for (const auto& row : rows) {
        std::u16string buffer(static_cast<std::size_t>(length) + 3, u'x');
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(GetModuleFileNameW(nullptr, reinterpret_cast<wchar_t*>(buffer.data()),
                                     static_cast<DWORD>(row.size)),
                  static_cast<DWORD>(row.result));
        EXPECT_EQ(GetLastError(), row.error);
        const auto stored = static_cast<std::size_t>(row.stored);
        std::u16string expected(xel_text::ToUtf16(path.Left(row.stored)));
        // Wine, like older versions of Windows, cuts without a terminator.
        const bool isCut = row.stored < row.result;
        expected += kOnWindows && isCut ? xel_text::ToUtf16(path)[stored] : u'\0';
        expected.resize(buffer.size(), u'x');
        EXPECT_EQ(buffer, expected) << stored;
    }
}

TEST(ModuleName, RefusesOtherModulesAndNoBuffer)
{
    wchar_t name[] = L"x";
    EXPECT_EQ(GetModuleFileNameW(nullptr, name, 0), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(GetModuleFileNameW(reinterpret_cast<HMODULE>(name), name, 2), 0u);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(WideString(name), L"x");
}
