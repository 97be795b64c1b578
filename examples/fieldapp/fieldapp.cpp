// A small program as the device's applications are. It reads its settings beside itself, copies
// the finished jobs into an archive, removes them, and tells in its log what it did.
//
// Run it beside fieldapp.ini and a folder of jobs, as scripts/demo does.
#include <cstdio>

#include "examples/fieldapp/display.h"
#include "xelutils/files/file_funcs.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/formats/xel_formats.h"
#include "xelutils/logging/xel_logging.h"
#include "xelutils/settings/xel_settings.h"
#include "xelutils/text/xel_utf.h"

namespace {

using String = xel_text::CXelStringT<wchar_t>;
using Records = xel_templ::CXelArray<WIN32_FIND_DATAW, WIN32_FIND_DATAW&>;
using xel_logging::XEL_TRACE_ALWAYS;

struct Settings {
    String jobs;
    String archive;
    String finished;
    int columns = 40;
};

// Relative names start at the program's folder.
String BesideProgram(const String& name)
{
    return GetExeDir() + L"\\" + name;
}

bool ReadSettings(Settings& settings)
{
    xel_settings::CThreeTupleStore store;
    auto encoding = xel_settings::TEXT_ENCODING_UNKNOWN;
    const String file = BesideProgram(L"fieldapp.ini");
    if (!xel_settings::readSettingsAsIni(file, store, encoding)) {
        XEL_TRACE_ALWAYS(L"%s cannot be read", file);
        return false;
    }
    String columns;
    if (store.getValue(L"Display", L"Columns", columns))
        xel_formats::StringToInt(columns, settings.columns);
    return store.getValue(L"Jobs", L"Folder", settings.jobs) &&
           store.getValue(L"Jobs", L"Archive", settings.archive) &&
           store.getValue(L"Jobs", L"Finished", settings.finished);
}

// What a 40-column display shows of a path.
void Show(const Settings& settings, const char* what, const String& path)
{
    const String shown = PathOnDisplay(settings.columns, path);
    std::printf("%-9s %s\n", what, xel_text::ToUtf8(shown).c_str());
}

// False when a job stays where it was.
bool ArchiveJob(const Settings& settings, const String& job)
{
    const String from = BesideProgram(settings.jobs) + L"\\" + job;
    const String to =
        BesideProgram(settings.archive) + L"\\" + FileFuncsEx::CreateCorrectFileName(job, L'-');
    if (!FileFuncsEx::CopyDirectory(from, to, 1) || !FileFuncsEx::RemoveDirectoryTree(from)) {
        XEL_TRACE_ALWAYS(L"Job %s could not be archived", job);
        return false;
    }
    Records files;
    FileFuncsEx::FindAllFilesInFolder(files, FileFuncsEx::eFindFiles, to, nullptr);
    XEL_TRACE_ALWAYS(L"Job %s archived, %d files", job, static_cast<int>(files.size()));
    Show(settings, "archived", to);
    return true;
}

int ArchiveJobs(const Settings& settings)
{
    const String archive = BesideProgram(settings.archive);
    if (!FileFuncs::CreateDir(archive)) {
        XEL_TRACE_ALWAYS(L"%s cannot be created", archive);
        return 1;
    }
    xel_formats::StringArray finished;
    xel_formats::ParseValues(settings.finished, finished, ';', L"");
    int kept = 0;
    for (const String& job : finished) {
        if (FileFuncs::IsDirExist(BesideProgram(settings.jobs) + L"\\" + job))
            kept += ArchiveJob(settings, job) ? 0 : 1;
        else
            XEL_TRACE_ALWAYS(L"Job %s is not there", job);
    }
    return kept == 0 ? 0 : 1;
}

void ShowOpenJobs(const Settings& settings)
{
    Records jobs;
    const String folder = BesideProgram(settings.jobs);
    FileFuncsEx::FindAllFilesInFolder(jobs, FileFuncsEx::eFindFolders, folder, nullptr);
    for (const WIN32_FIND_DATAW& job : jobs)
        Show(settings, "open", folder + L"\\" + job.cFileName);
    XEL_TRACE_ALWAYS("%d jobs are open", static_cast<int>(jobs.size()));
}

} // namespace

int main()
{
    Settings settings;
    if (!ReadSettings(settings)) {
        std::fputs("fieldapp: the settings beside the program are missing or incomplete\n", stderr);
        return 2;
    }
    const int status = ArchiveJobs(settings);
    ShowOpenJobs(settings);
    return status;
}
