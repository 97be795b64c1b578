#include "xelutils/module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/child_process.h"
#include "support/test_folder.h"
#include "xelutils/platform/framework.h"
#include "xelutils/system/library_funcs.h"

namespace {

// What the child program prints, with `mode`, from a copy of it in a folder of its own.
std::string OutputOf(const std::string& mode)
{
    const TestFolder folder;
    const std::string program = folder.HostPath("child.exe");
    std::filesystem::copy_file(MODULE_CHILD_PROGRAM, program);
    const int result =
        RunChild({.program = program,
                  .arguments = {mode, std::filesystem::absolute(MODULE_LIBRARY).string(),
                                folder.HostPath("child.log.txt")},
                  .environment = {{"XEL_DEBUG_OUTPUT", ""}, {"XEL_DEVICE_ROOT", ""}},
                  .output = folder.HostPath("out"),
                  .error = folder.HostPath("err")});
    std::string output = folder.Read("out") + (result == 0 ? "" : "failed\n" + folder.Read("err"));
    std::erase(output, '\r');
    return output;
}

} // namespace

TEST(Module, IsRegisteredWithTheFramework)
{
    const AFX_MODULE_STATE& state = *AfxGetModuleState();
    ASSERT_NE(state.m_libraryList, nullptr);
    EXPECT_EQ(state.m_libraryList->m_hModule, GetXelDllBaseAddress());
    EXPECT_EQ(state.m_libraryList->m_pNextDLL, nullptr);
}

// Behind the program's own objects: first the record, then the log.
TEST(Module, ReleasesItsRecordBeforeTheLogEnds)
{
    EXPECT_EQ(OutputOf("order"), "the program's own: record, log open\n"
                                 "behind the record: no record, log open\n"
                                 "behind the log: no record, log finished\n");
}

TEST(Module, CanBeLoadedAThousandTimes)
{
    EXPECT_EQ(OutputOf("grow"), "");
}

TEST(Module, HasAHeapAndARegistrationOfItsOwnInEachCopy)
{
    EXPECT_EQ(OutputOf("both"), "");
}

TEST(Module, WaitsWhileUnloadingForAThreadInsideATrace)
{
    EXPECT_EQ(OutputOf("unload under trace"), "");
}

TEST(ExtensionModule, CollectsWhatIsRegisteredWhileTheListsAreAside)
{
    AFX_MODULE_STATE& state = *AfxGetModuleState();
    CRuntimeClass programs{"CProgram", nullptr};
    CRuntimeClass modules{"CModule", nullptr};
    COleObjectFactory factory{nullptr};
    state.m_classList = &programs;

    AFX_EXTENSION_MODULE module = {};
    EXPECT_FALSE(AfxInitExtensionModule(module, &module)); // nothing is aside
    AfxSetRegistrationsAside();
    AfxSetRegistrationsAside(); // the second time keeps what the first one took
    EXPECT_EQ(state.m_classList, nullptr);
    state.m_classList = &modules;
    state.m_factoryList = &factory;
    EXPECT_TRUE(AfxInitExtensionModule(module, &module));

    EXPECT_EQ(module.pFirstSharedClass, &modules);
    EXPECT_EQ(module.pFirstSharedFactory, &factory);
    EXPECT_EQ(state.m_classList, &programs);
    EXPECT_EQ(state.m_factoryList, nullptr);

    AfxSetRegistrationsAside();
    EXPECT_FALSE(AfxInitExtensionModule(module, &module)); // it is one already
    AfxPutRegistrationsBack();
    EXPECT_EQ(state.m_classList, &programs);

    AfxTermExtensionModule(module);
    EXPECT_EQ(module.pFirstSharedClass, nullptr);
    EXPECT_FALSE(module.bInitialized);
    state.m_classList = nullptr;
}

TEST(ExtensionModule, HasItsStringsSearchedWhileItsRecordLives)
{
    static constexpr CStringTableEntry kStrings[] = {{64001, L"of the module"}};
    const AFX_EXTENSION_MODULE module = {kStrings, 1, TRUE, &module, nullptr, nullptr};
    const CDynLinkLibrary* const before = AfxGetModuleState()->m_libraryList;
    wchar_t text[20];
    {
        const CDynLinkLibrary record(module);
        EXPECT_EQ(AfxGetModuleState()->m_libraryList, &record);
        EXPECT_EQ(AfxLoadString(64001, text, 20), 13);
    }
    EXPECT_EQ(AfxLoadString(64001, text, 20), 0);
    EXPECT_EQ(AfxGetModuleState()->m_libraryList, before);
}
