# Linux with 32-bit words; a 64-bit kernel runs the programs.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(prefix i686-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross.cmake)
