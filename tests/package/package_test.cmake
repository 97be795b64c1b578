# One stage of the package test; add_tests.cmake lists them and what is handed in.
cmake_minimum_required(VERSION 3.22)

set(outside ${SOURCE}/tests/package)
set(figures "4194304 4194304 16\n")
set(settings ${SOURCE}/examples/panel.ini)

# Runs a command, which must succeed; `output` receives what it prints.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE text
                    ERROR_VARIABLE text)
    if(NOT result EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\n${text}\nresult: ${result}")
    endif()
    set(output "${text}" PARENT_SCOPE)
endfunction()

function(expect_output expected)
    if(NOT output STREQUAL expected)
        message(FATAL_ERROR "expected:\n${expected}\nfound:\n${output}")
    endif()
endfunction()

# Configures the outside program, in a folder of this stage, against one of the installed libraries.
function(configure_outside linkage)
    file(REMOVE_RECURSE ${WORK}/${STAGE})
    run(${CMAKE_COMMAND} -S ${outside} -B ${WORK}/${STAGE} -G ${GENERATOR}
        -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${WORK}/moved-${linkage})
endfunction()

# The outside program prints the heap's figures and what it found in the settings file.
function(run_outside program)
    run(${CMAKE_COMMAND} -E env --unset=XEL_DEVICE_ROOT --unset=XEL_ACP ${ARGN}
        ${program} ${settings})
    expect_output("${figures}Kesselraum Süd\n")
endfunction()

# Both linkages are made of the same objects. A finished tree is moved to another place before
# anybody uses it: nothing in it may name the place it was installed to.
if(STAGE STREQUAL "install")
    foreach(linkage shared static)
        if(linkage STREQUAL "shared")
            set(shared ON)
        else()
            set(shared OFF)
        endif()
        run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/library -G ${GENERATOR}
            -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF
            -DXELUTILS_BUILD_TOOLS=OFF -DBUILD_SHARED_LIBS=${shared})
        run(${CMAKE_COMMAND} --build ${WORK}/library --parallel 2)
        file(REMOVE_RECURSE ${WORK}/prefix-${linkage} ${WORK}/moved-${linkage})
        run(${CMAKE_COMMAND} --install ${WORK}/library --prefix ${WORK}/prefix-${linkage})
        file(RENAME ${WORK}/prefix-${linkage} ${WORK}/moved-${linkage})
    endforeach()

elseif(STAGE MATCHES "^(shared|static)$")
    configure_outside(${STAGE})
    run(${CMAKE_COMMAND} --build ${WORK}/${STAGE})
    run_outside(${WORK}/${STAGE}/outside)
    if(STAGE STREQUAL "shared")
        run(${CMAKE_COMMAND} --build ${WORK}/${STAGE} --target headers)
    else()
        # What happens at load is there, though the program calls none of it; and plugins that are
        # linked with the library too see nothing of this copy.
        run(${READELF} --symbols --wide ${WORK}/${STAGE}/outside)
        if(NOT output MATCHES " _Z20GetXelDllBaseAddressv")
            message(FATAL_ERROR "the static library's entry is not linked")
        endif()
        run(${READELF} --dyn-syms --wide ${WORK}/${STAGE}/outside)
        if(output MATCHES "xel_|dlmalloc")
            message(FATAL_ERROR "the program exports the static library:\n${output}")
        endif()
    endif()

elseif(STAGE STREQUAL "pkgconfig")
    foreach(linkage shared static)
        set(lib ${WORK}/moved-${linkage}/${LIBDIR})
        run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${lib}/pkgconfig
            pkg-config --cflags --libs xelutils)
        separate_arguments(flags UNIX_COMMAND "${output}")
        run(${CXX} -std=c++20 ${outside}/main.cpp -o ${WORK}/outside-pkgconfig ${flags})
        run_outside(${WORK}/outside-pkgconfig LD_LIBRARY_PATH=${lib})
    endforeach()

elseif(STAGE STREQUAL "wide_refused")
    configure_outside(static)
    foreach(target uses_wstring uses_wcslen)
        execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/${STAGE} --target ${target}
                        RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text)
        if(result EQUAL 0 OR NOT text MATCHES "${target}: uses wide functions")
            message(FATAL_ERROR "${target} was not refused:\n${text}")
        endif()
    endforeach()

# A program may bring its own functions under the heap's plain names; the library's calls must
# not end there. Calls that are bound leave no relocation.
elseif(STAGE STREQUAL "own_calls_bound")
    run(${READELF} --wide --relocs ${WORK}/moved-shared/${LIBDIR}/libxelutils.so)
    if(output MATCHES "[^\n]* dl(malloc|free|calloc|realloc)[^\n]*")
        message(FATAL_ERROR "not bound: ${CMAKE_MATCH_0}")
    endif()

else()
    message(FATAL_ERROR "unknown stage ${STAGE}")
endif()
