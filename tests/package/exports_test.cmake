# Compares what the shared library exports with the list in exports.txt, which holds each name
# once, without parameters, in the order of its characters. A DLL lacks those of
# exports_not_in_dll.txt.
#
# Names that come or go on purpose: run this with -D UPDATE=1 and read the difference.
cmake_minimum_required(VERSION 3.22)

# Of a DLL the library of imports is read, where each name stands behind a prefix.
if(CXXFILT)
    execute_process(COMMAND ${NM} --defined-only ${LIBRARY}
                    COMMAND sed -n "s/.* I ${IMPORT_PREFIX}//p" COMMAND ${CXXFILT}
                    RESULTS_VARIABLE results OUTPUT_VARIABLE symbols)
else()
    execute_process(COMMAND ${NM} -D --defined-only -C --with-symbol-versions ${LIBRARY}
                    RESULTS_VARIABLE results OUTPUT_VARIABLE symbols)
endif()
if(results MATCHES "[^0;]")
    message(FATAL_ERROR "cannot read ${LIBRARY}")
endif()

# A list of CMake would break at the brackets and semicolons of names.
string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
set(names)
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[0-9a-f]* *[A-Za-z] " "" symbol "${line}")
    if(symbol MATCHES "^XELUTILS_[0-9.]+(@@XELUTILS_[0-9.]+)?$")
        continue() # the version node itself
    endif()
    if(NOT CXXFILT AND NOT symbol MATCHES "@@XELUTILS_[0-9.]+$")
        message(FATAL_ERROR "without a version node: ${symbol}")
    endif()
    string(REGEX REPLACE "(\\(.*|@@XELUTILS_[0-9.]+)$" "" name "${symbol}")
    # Sizes are of another type where words have 32 bits.
    string(REGEX REPLACE "^unsigned (int|long long|long) " "" name "${name}")
    list(APPEND names "${name}")
endforeach()
list(REMOVE_DUPLICATES names)
list(SORT names)
list(JOIN names "\n" found)

if(UPDATE)
    file(WRITE ${LIST} "${found}\n")
    return()
endif()
file(STRINGS ${LIST} expected)
if(CXXFILT)
    file(STRINGS ${LIST_OF_LACKING} lacking)
    list(REMOVE_ITEM expected ${lacking})
endif()
foreach(name IN LISTS names)
    if(NOT name IN_LIST expected)
        message(SEND_ERROR "exported, but not in the list: ${name}")
    endif()
endforeach()
foreach(name IN LISTS expected)
    if(NOT name IN_LIST names)
        message(SEND_ERROR "in the list, but not exported: ${name}")
    endif()
endforeach()
