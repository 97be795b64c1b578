# Windows on 32-bit machines, with mingw-w64.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(prefix i686-w64-mingw32)
set(wine wine32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
