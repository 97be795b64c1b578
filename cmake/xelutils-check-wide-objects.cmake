# The work of xelutils_check_wide.
#
# NM       the program that lists symbols
# TARGET   the target's name, for the message
# OBJECTS  file with the names of the objects, one a line
# SYMBOLS  file to keep their symbols in
# LINKED   what was made of the objects; it is removed when they are refused, so that the next
#          build does not take it for a finished one
cmake_minimum_required(VERSION 3.22)

function(refuse reason)
    if(LINKED)
        file(REMOVE ${LINKED})
    endif()
    message(FATAL_ERROR "${TARGET}: ${reason}")
endfunction()

file(STRINGS ${OBJECTS} objects)
if(NOT objects)
    refuse("xelutils_check_wide: the target has no objects of its own")
endif()
execute_process(COMMAND ${NM} -A -P ${objects} OUTPUT_FILE ${SYMBOLS} ERROR_VARIABLE complaint
                RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR complaint MATCHES "plugin needed|not recognized")
    refuse("xelutils_check_wide: ${NM} cannot read the objects:\n${complaint}")
endif()

# A line is "object: symbol type ...". U and w are references of this object to others.
set(prefix "__|__isoc99_|__isoc23_")
set(c_names "wcs[a-z0-9_]*|wmem[a-z_]*|wcpn?cpy|[a-z]*w(printf|scanf)|mb(s|sr|snr)?towcs?|mbrtowc")
string(APPEND c_names "|wctomb|wcrtomb|[a-z]*(get|put)w(c|s|char)|open_wmemstream")
set(c_function ": (${prefix})?(${c_names})(_chk|_internal|_unlocked|_l)? [Uw] ")
set(class_name "basic_[a-z_]+|char_traits|[0-9]ctype|[0-9]codecvt|[0-9]num_get|[0-9]num_put")
set(cpp_name ": _Z[^ ]*(${class_name})Iw|: _Z[^ ]*SbIw|: _ZSt[0-9]w(cout|cin|cerr|clog) ")
file(STRINGS ${SYMBOLS} found REGEX "${c_function}|${cpp_name}")
if(found)
    list(LENGTH found count)
    list(SUBLIST found 0 12 shown)
    list(TRANSFORM shown REPLACE "^.*/([^/]*): ([^ ]+) .*$" "    \\1: \\2")
    list(JOIN shown "\n" shown)
    refuse("uses wide functions that are built for a wchar_t of 32 bits (${count} found):\n${shown}")
endif()
