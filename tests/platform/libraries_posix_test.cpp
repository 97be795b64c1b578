#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>

#include "platform/libraries.h"

TEST(LibrariesOnPosix, TellsWhyNot)
{
    const TestFolder folder;
    const std::string plugin = BytesOfPlugin();
    std::string otherProcessor = plugin;
    otherProcessor[18] ^= 1;
    std::string otherWords = plugin;
    otherWords[4] ^= 3;
    ASSERT_EQ(mkfifo(folder.HostPath("pipe.so").c_str(), 0600), 0);
    ExpectNotLoaded({
        // Only the loader's own search would find it.
        {L"libm.so.6", ERROR_MOD_NOT_FOUND},
        {L"\\libm.so.6", ERROR_MOD_NOT_FOUND},
        {L"\\Windows\\", ERROR_MOD_NOT_FOUND},
        {L"\\Windows\\..\\libm.so.6", ERROR_MOD_NOT_FOUND},
        {folder.Path("pipe.so"), ERROR_ACCESS_DENIED},
        {folder.Write("start.so", plugin.substr(0, 51)), ERROR_BAD_EXE_FORMAT},
        {folder.Write("processor.so", otherProcessor), ERROR_BAD_EXE_FORMAT},
        {folder.Write("words.so", otherWords), ERROR_BAD_EXE_FORMAT},
        {folder.Write("half.so", plugin.substr(0, plugin.size() / 8)), ERROR_BAD_EXE_FORMAT},
    });
}
