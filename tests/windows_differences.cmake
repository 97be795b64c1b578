# What does not run on Windows, and why. docs/platforms.md says the same for people.

# How POSIX plays the device: paths below a root folder, modes, locks, mounts, environment.
foreach(stem copy debug_output device_root file_mapping file_times files find folders
             module_name path_lookup paths registry_file storage_cards)
    list(FILTER TEST_SOURCES EXCLUDE REGEX "/tests/platform/${stem}_test.cpp$")
endforeach()

# Rules of POSIX alone, each beside the file that says what all targets share.
list(FILTER TEST_SOURCES EXCLUDE REGEX "_posix_test.cpp$")

# Limits are set by POSIX's calls.
foreach(test files/directory_trees_limits)
    list(FILTER TEST_SOURCES EXCLUDE REGEX "/tests/${test}_test.cpp$")
endforeach()

# Modes, links, names of any bytes, limits and environment of POSIX.
list(FILTER TEST_SOURCES EXCLUDE REGEX "/tests/xelini/posix_host_test.cpp$")

# Single tests, by what they meet.
set(not_on_windows
    # There is always a system folder.
    LibraryTest.IsTakenFromTheHostsFolderOnlyWhereThereIsNoSystemFolder
    # Standard streams without a number, and the variable that silences the debugger's output.
    LogTest.LeavesFilesAloneThatTookTheNumberOfStandardError
    LogTest.IsNotShownWhenSilenced
    # What of a text without end is stored.
    Format.HugeWidthsOnlyDoNotFit
    # No window is the screen there, and the errors are others.
    Window.RefusesWhatIsNone
    # The environment chooses the code page and the zone.
    CodePages.EnvironmentNamesTheSystemPage
    StringConvertDeathTest.DoubleByteTextIsCutAtTheCapacity
    Time.LocalTimeFollowsTheZone
    # The run-time cannot know how many addresses it was given.
    Scan.EndsWhereAnAddressIsMissing
    # Links cannot be made: the C++ library has no such call there, nor has Wine.
    CopyDirectoryTest.EveryKindOfEntry
    CopyDirectoryTest.IntoItselfCopiesWhatWasThere
    CopyDirectoryTest.IntoWhatIsThere
    CopyDirectoryTest.LinksAsArgumentsAndInTheWay
    CopyFromTo.Rules
    CreateDirectoryTree.Rules
    FileQueries.WhatExists
    FindAllFilesInFolder.Rules
    FindFileInDirTree.LinksAreNotFollowed
    RemoveDirectoryTree.EveryKindOfEntryAndNothingBehindLinks
    RemoveDirectoryTree.WhatIsNoTree
    TreeWalk.FolderThatTurnsIntoALinkIsNotEntered
    # A listing has "." and ".." too.
    CopyDirectoryTest.Results
    CountFiles.*
    FindAllFilesInFolder.WholeRecordsInTheOrderOfTheListing
    RemoveDirectoryTree.EndsAtTheFirstEntryThatFails
    TreeWalk.EachEntryOnceWhileTheTreeChanges
    # The host's separators, its order of listing, its steps of time and its longest path.
    CopyDirectoryTest.DeepTrees
    CopyDirectoryTest.TenThousandFilesInOneFolder
    CopyFromToCheckDate.*
    CreateDir.MakesWhatIsMissing
    CreateDirectoryTree.FromTheTopDownToTheFirstFailure
    CreateDirectoryTree.OddPathsHaveAPlainResult
    FindFileInDirTree.FirstInTheOrderOfTheListingWins)
list(JOIN not_on_windows ":" not_on_windows)
set(only_tests TEST_FILTER "-${not_on_windows}")
