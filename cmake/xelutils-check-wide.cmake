# xelutils_check_wide(<target>)
#
# Fails the build of the target when one of its own objects refers to the C library's wide
# functions or to std::basic_string<wchar_t> and its kin. They are built for a wchar_t of 32 bits;
# a program that is compiled with -fshort-wchar and calls them compiles, links, and dies when it
# runs. Functions that take single characters by value (iswalpha, towlower) are right and pass.
#
# Call it in the directory that creates the target. On Windows wchar_t has 16 bits everywhere and
# nothing is checked. Objects that only a linker with link-time optimisation can read are refused.

set(XELUTILS_CHECK_WIDE_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/xelutils-check-wide-objects.cmake)

function(xelutils_check_wide target)
    if(WIN32)
        return()
    endif()
    get_target_property(type ${target} TYPE)
    set(stem ${CMAKE_CURRENT_BINARY_DIR}/${target}-check-wide$<$<BOOL:$<CONFIG>>:-$<CONFIG>>)
    file(GENERATE OUTPUT ${stem}.objects CONTENT "$<JOIN:$<TARGET_OBJECTS:${target}>,\n>\n")
    set(check ${CMAKE_COMMAND} -D NM=${CMAKE_NM} -D TARGET=${target} -D OBJECTS=${stem}.objects
              -D SYMBOLS=${stem}.symbols)
    if(type STREQUAL OBJECT_LIBRARY)
        # It has no link step that could carry the check.
        add_custom_command(OUTPUT ${target}-check-wide.stamp
            COMMAND ${check} -P ${XELUTILS_CHECK_WIDE_SCRIPT}
            COMMAND ${CMAKE_COMMAND} -E touch ${target}-check-wide.stamp
            DEPENDS $<TARGET_OBJECTS:${target}> ${XELUTILS_CHECK_WIDE_SCRIPT}
            COMMENT "Looking for wide functions in ${target}" VERBATIM)
        add_custom_target(${target}-check-wide ALL DEPENDS ${target}-check-wide.stamp)
    else()
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${check} -D LINKED=$<TARGET_FILE:${target}> -P ${XELUTILS_CHECK_WIDE_SCRIPT}
            VERBATIM)
    endif()
endfunction()
