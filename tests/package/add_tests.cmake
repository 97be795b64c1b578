# The library as a user meets it: installed, and used by a program that knows only the prefix.
set(package_work ${PROJECT_BINARY_DIR}/package)

function(add_package_test stage)
    add_test(NAME package.${stage}
        COMMAND ${CMAKE_COMMAND} -D STAGE=${stage} -D SOURCE=${PROJECT_SOURCE_DIR}
                -D WORK=${package_work} -D CXX=${CMAKE_CXX_COMPILER} -D GENERATOR=${CMAKE_GENERATOR}
                -D LIBDIR=${CMAKE_INSTALL_LIBDIR} -D READELF=${CMAKE_READELF}
                -P ${PROJECT_SOURCE_DIR}/tests/package/package_test.cmake)
    set_tests_properties(package.${stage} PROPERTIES LABELS package TIMEOUT 600 ${ARGN})
endfunction()

add_package_test(install FIXTURES_SETUP installed)
foreach(stage shared static pkgconfig wide_refused own_calls_bound)
    add_package_test(${stage} FIXTURES_REQUIRED installed)
endforeach()

if(BUILD_SHARED_LIBS)
    if(WIN32)
        # A DLL has neither the names that Windows supplies, nor those of types, nor what programs
        # always have inline.
        find_program(XELUTILS_CXXFILT NAMES c++filt REQUIRED)
        if(CMAKE_SIZEOF_VOID_P EQUAL 4)
            set(prefix __imp__)
        else()
            set(prefix __imp_)
        endif()
        set(how -D LIBRARY=$<TARGET_LINKER_FILE:xelutils> -D CXXFILT=${XELUTILS_CXXFILT}
                -D IMPORT_PREFIX=${prefix}
                -D LIST_OF_LACKING=${PROJECT_SOURCE_DIR}/tests/package/exports_not_in_dll.txt)
        set(label exports)
    else()
        # Where nothing is inlined, pieces of templates leave the library too.
        set(how -D LIBRARY=$<TARGET_FILE:xelutils>)
        set(label package)
    endif()
    add_test(NAME package.exports
        COMMAND ${CMAKE_COMMAND} -D NM=${CMAKE_NM} ${how}
                -D LIST=${PROJECT_SOURCE_DIR}/tests/package/exports.txt
                -P ${PROJECT_SOURCE_DIR}/tests/package/exports_test.cmake)
    set_tests_properties(package.exports PROPERTIES LABELS ${label})
endif()
