# What does not run on Windows, and why. docs/platforms.md says the same for people.

# How POSIX plays the device: paths below a root folder, modes, odd names, locks, signals, mounts,
# standard error, environment. A file for all targets may stand beside one of POSIX's own rules.
list(FILTER TEST_SOURCES EXCLUDE REGEX "/tests/.*_posix_test.cpp$")
foreach(stem debug_output device_root file_times paths registry_file storage_cards)
    list(FILTER TEST_SOURCES EXCLUDE REGEX "/tests/platform/${stem}_test.cpp$")
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
    Scan.EndsWhereAnAddressIsMissing)
list(JOIN not_on_windows ":" not_on_windows)
set(only_tests TEST_FILTER "-${not_on_windows}")
