#include <gtest/gtest.h>

#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;

} // namespace

TEST(FileNames, OnlyTheInvalidCharactersAreReplaced)
{
    const struct {
        String name;
        wchar_t replacement;
        bool isCorrect;
        String correct;
    } rows[] = {
        {L"Job 1.txt", '-', true, L"Job 1.txt"},
        {L"a?b", '-', false, L"a-b"},
        {L"a:b", '-', false, L"a-b"},
        {L"<>\\/\":?*|", '-', false, L"---------"},
        {L"[a]", '-', true, L"[a]"},
        {L"\x00E9\xD83D\xDE00\xFF0F", '-', true, L"\x00E9\xD83D\xDE00\xFF0F"},
        {L".", '-', true, L"."},
        {L"|", 0x20AC, false, L"\x20AC"},
        // An invalid replacement is itself replaced...
        {L"a:b", '*', false, L"a_b"},
        {L"a:b", ':', false, L"a_b"},
        {L"a", '*', true, L"a"},
        // ...but not where there is no name.
        {L"", '*', false, L"*"},
        {L"", '-', false, L"-"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(IsFileNameCorrect(row.name), row.isCorrect) << testing::PrintToString(row.name);
        EXPECT_EQ(CreateCorrectFileName(row.name, row.replacement), row.correct);
    }
}

TEST(FileNames, TheWholeStoredNameCounts)
{
    const String name(L"a\0:", 3);
    EXPECT_FALSE(IsFileNameCorrect(name));
    EXPECT_TRUE(IsFileNameCorrect(String(L"a\0b", 3)));
    const String correct = CreateCorrectFileName(name, '-');
    EXPECT_EQ(correct.GetLength(), 3);
    EXPECT_EQ(correct.GetAt(1), L'\0');
    EXPECT_EQ(correct.GetAt(2), L'-');
    EXPECT_EQ(name.GetAt(2), L':');
}

TEST(FileNames, CorrectNameIsShared)
{
    const String name = L"Job 1.txt";
    EXPECT_EQ(CreateCorrectFileName(name, '-').GetString(), name.GetString());
}
