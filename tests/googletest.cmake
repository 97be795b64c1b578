# GTest::gtest and GTest::gtest_main: the installed ones, or for a target that none are installed
# for, made from the sources that Debian's package googletest brings.
find_package(GTest QUIET)
if(NOT GTest_FOUND)
    set(XELUTILS_GOOGLETEST_SOURCE /usr/src/googletest/googletest
        CACHE PATH "Sources of GoogleTest, where it is not installed for the target")
    if(NOT EXISTS ${XELUTILS_GOOGLETEST_SOURCE}/CMakeLists.txt)
        message(FATAL_ERROR "the tests need GoogleTest: install libgtest-dev or googletest, or "
                            "name its sources with -DXELUTILS_GOOGLETEST_SOURCE=...")
    endif()
    set(BUILD_SHARED_LIBS_OF_PROJECT ${BUILD_SHARED_LIBS})
    set(BUILD_SHARED_LIBS OFF)
    add_subdirectory(${XELUTILS_GOOGLETEST_SOURCE} googletest EXCLUDE_FROM_ALL)
    set(BUILD_SHARED_LIBS ${BUILD_SHARED_LIBS_OF_PROJECT})
endif()
