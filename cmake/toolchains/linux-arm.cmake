# Linux on ARM without floating-point hardware, as the device's processor. The kernel runs the
# programs through qemu (scripts/arm-programs), also those that a test starts.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(prefix arm-linux-gnueabi)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross.cmake)
# The processor of the device has neither newer instructions nor unaligned access.
set(CMAKE_CXX_FLAGS_INIT "-march=armv5te -mno-unaligned-access")
# A program is told otherwise that its library's characters have 16 bits, as they are meant to.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Wl,--no-wchar-size-warning")
endforeach()
