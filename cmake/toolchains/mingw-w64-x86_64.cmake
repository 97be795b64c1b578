# Windows on 64-bit machines, with mingw-w64. The threads are those of winpthreads, which the
# standard library's own need.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(prefix x86_64-w64-mingw32)
set(wine wine)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
