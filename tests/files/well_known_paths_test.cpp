#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "xelutils/files/file_funcs.h"

namespace {

using String = xel_text::CXelStringT<wchar_t>;

bool IsTestProgram(const String& path)
{
    // The last dot of the path need not be the name's.
    const String name = FileFuncs::ExtractFileNameWithExtFromPathName(path);
    return name.SpanExcluding(L".") == L"xelutils_tests" && FileFuncs::IsFileExist(path);
}

// Asks when the record of the paths is gone, being older than it.
struct LateAsker {
    ~LateAsker()
    {
        const bool right =
            IsTestProgram(GetApplicationPath()) && FileFuncs::IsDirExist(GetExeDir());
        std::_Exit(right ? 0 : 1);
    }
};

} // namespace

TEST(WellKnownPaths, FoldersAreTheProgramsOwn)
{
    EXPECT_TRUE(IsTestProgram(GetApplicationPath()));
    const String dir = GetExeDir();
    EXPECT_TRUE(FileFuncs::IsDirExist(dir));
    const int length = dir.GetLength();
    EXPECT_EQ(GetApplicationPath().Left(length), dir);
    EXPECT_EQ(GetApplicationPath().ReverseFind('\\'), length);
    EXPECT_EQ(GetRootDir(), dir);
    EXPECT_EQ(GetDocsDir(), dir);
}

TEST(WellKnownPaths, WhatACallerGetsIsItsOwn)
{
    String dir = GetExeDir();
    dir.SetAt(0, '?');
    EXPECT_NE(GetExeDir(), dir);
    EXPECT_NE(GetRootDir(), dir);
}

TEST(WellKnownPaths, ConcurrentFirstCallsAgree)
{
    // The first ones only in a new process.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto check = [] {
        constexpr int kThreads = 4;
        std::vector<String> paths(kThreads);
        std::vector<std::thread> threads;
        for (String& path : paths)
            threads.emplace_back([&path] { path = GetApplicationPath(); });
        for (std::thread& thread : threads)
            thread.join();
        bool right = true;
        for (const String& path : paths)
            right = right && IsTestProgram(path);
        std::_Exit(right ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

TEST(WellKnownPaths, StaticDestructorsAreAnswered)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto check = [] {
        static const LateAsker asker;
        // Makes the record, which so goes before the asker does.
        GetDocsDir();
        std::exit(2);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}
