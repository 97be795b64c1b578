# What does not run on Windows, and why. docs/platforms.md says the same for people.

# How POSIX plays the device: paths below a root folder, odd names, mounts, standard error,
# environment.
foreach(stem code_pages debug_output device_root file_times paths registry_file storage_cards time
             virtual_memory window case)
    list(FILTER TEST_SOURCES EXCLUDE REGEX "/tests/platform/${stem}_test.cpp$")
endforeach()

# Rules of POSIX alone, each beside the file that says what all targets share.
list(FILTER TEST_SOURCES EXCLUDE REGEX "_posix_test.cpp$")

# The zone is chosen by the environment; the window is one of cells; the code page is chosen by
# the environment.
foreach(test files/file_times files/path_compaction text/string_convert)
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
    # The run-time formats and scans odd cases in another way.
    Format.CharactersOfTheOtherWidthGoThroughTheCodePage
    Format.FlagsWidthAndPrecisionOfIntegers
    Format.HugeWidthsOnlyDoNotFit
    Format.LongTextsAndSizesOfPointers
    Format.NothingIsStoredThroughAnArgument
    Format.OtherWidthGoesThroughTheCodePage
    Format.TextsAndCharacters
    Format.WhatIsNoConversionIsText
    FormatDoubles.InEveryNotation
    Locale/NumberText.DoublesWithAsManyDecimalsAsAskedFor/*
    Locale/NumberText.ManyDecimalsAreCutAt2048Characters/*
    Scan.EndsWithoutCrashWhereSomethingIsMissing
    Scan.FloatsAreTheNearest
    Scan.TextAndSets
    Scan.WidthsLiteralsPositionsAndEnds
    StringMessage.InsertsWithAFormat
    # The registry sorts values, and its import program completes texts that lack a terminator.
    Registry.GivesDataAsFarAsTheBufferGoes
    Registry.ListsNamesAsFarAsTheBufferGoes
    Registry.OpensAndCloses
    XelRegistry.ListsSectionsAndEntries
    XelRegistry.LongNameEndsTheListEarly
    XelRegistry.ReadsTextOfValues
    # A new process for a test of a crash is not reliable under Wine.
    *DeathTest*)
list(JOIN not_on_windows ":" not_on_windows)
set(only_tests TEST_FILTER "-${not_on_windows}")
