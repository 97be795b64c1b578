# What users get: headers, library, the package for find_package and the file for pkg-config.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/xelutils)

# What lies in a folder of the platform, or in an internal one, is ours alone.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/xelutils
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h"
        PATTERN internal EXCLUDE
        PATTERN posix EXCLUDE
        PATTERN windows EXCLUDE
        PATTERN framework EXCLUDE)
install(TARGETS xelutils EXPORT xelutils)
install(EXPORT xelutils NAMESPACE xelutils:: DESTINATION ${package_dir}
        FILE xelutils-targets.cmake)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/xelutils-config.cmake.in
                              ${PROJECT_BINARY_DIR}/xelutils-config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/xelutils-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/xelutils-config.cmake
              ${PROJECT_BINARY_DIR}/xelutils-config-version.cmake
              ${CMAKE_CURRENT_LIST_DIR}/xelutils-check-wide.cmake
              ${CMAKE_CURRENT_LIST_DIR}/xelutils-check-wide-objects.cmake
        DESTINATION ${package_dir})

# From the file itself to the prefix, so that an installed tree can be moved.
file(RELATIVE_PATH PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" PC_PREFIX ${PC_PREFIX})
set(PC_DEFINES)
set(PC_LINK)
if(NOT BUILD_SHARED_LIBS)
    set(PC_DEFINES " -DXELUTILS_STATIC")
    get_target_property(options xelutils INTERFACE_LINK_OPTIONS)
    list(JOIN options " " options)
    set(PC_LINK " ${options}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/xelutils.pc.in ${PROJECT_BINARY_DIR}/xelutils.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/xelutils.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
