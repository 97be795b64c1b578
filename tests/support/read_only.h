// Whether a file that is read-only is safe from whoever runs the tests.
#pragma once

#include "support/target.h"
#include "support/test_folder.h"

// Wine lets the user root write to it.
inline bool IsReadOnlyHeeded()
{
    const TestFolder folder;
    folder.Write("file", "old");
    std::filesystem::permissions(folder.HostPath("file"), std::filesystem::perms::owner_read);
    if (kOnWindows)
        folder.Write("file", "new");
    return folder.Read("file") == "old";
}
