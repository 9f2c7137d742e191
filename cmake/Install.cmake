# Installation: the plug-in, the application library, the desktop framework, the desktop
# host, the simulator, the console and the decoder with their manual pages, the public
# headers, the test doubles, a CMake package (find_package(CommunicationsService)),
# pkg-config files and the documentation (the API reference when Doxygen is present).
#
# Every header is included under one prefix, CommunicationsService/ (for example
# "CommunicationsService/framework/Executable.h"), in this tree and installed alike, so that
# its framework/, desktop/ and testing/ folders never clash with an application's own.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(comms_package CommunicationsService)
set(comms_include_dir ${CMAKE_INSTALL_INCLUDEDIR})
set(comms_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${comms_package})

# Applications compile against the interfaces only: the framework loads the plug-in.
add_library(comms_interfaces INTERFACE)
target_include_directories(comms_interfaces INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
target_link_libraries(communications_testing INTERFACE comms_interfaces)
# Installed, the test doubles bring what their typed event delivery needs: the plug-in,
# whose own invoker delivers the events, and the desktop framework that the plug-in and
# the list encoding need. (In this tree the tests link the library's objects instead.)
target_link_libraries(communications_testing INTERFACE
  $<INSTALL_INTERFACE:${comms_package}::plugin>
  $<INSTALL_INTERFACE:${comms_package}::desktopframework>)

set_target_properties(comms_interfaces PROPERTIES EXPORT_NAME interfaces)
set_target_properties(CommunicationsService PROPERTIES EXPORT_NAME plugin)
set_target_properties(communications_testing PROPERTIES EXPORT_NAME testing)

# The desktop kit's libraries carry the major version in their SONAME as the plug-in does,
# and find each other, and the programs find them, wherever the prefix is moved.
set_target_properties(desktopframework desktophost PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN")

install(TARGETS comms_interfaces CommunicationsService CommunicationsServiceApp desktopframework
    desktophost communications_testing
  EXPORT ${comms_package}Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${comms_include_dir})

if(TARGET comms-simulator AND TARGET comms-console)
  file(RELATIVE_PATH comms_bin_to_lib /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(comms-simulator comms-console comms-decode PROPERTIES
    INSTALL_RPATH "$ORIGIN/${comms_bin_to_lib}")
  # The simulator is an imported target too, for applications' integration tests.
  install(TARGETS comms-simulator EXPORT ${comms_package}Targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(TARGETS comms-console comms-decode RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  include(${CMAKE_CURRENT_LIST_DIR}/ManPages.cmake)
endif()

# Only the public headers: the private ones of src/ and the desktop kit's own stay behind.
foreach(header_root include app/include desktop/include testsupport/include)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${header_root}/
    DESTINATION ${comms_include_dir}
    FILES_MATCHING PATTERN "*.h")
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/include/${comms_package}/Version.h
  DESTINATION ${comms_include_dir}/${comms_package})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    ${PROJECT_SOURCE_DIR}/docs/compatibility.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT ${comms_package}Targets
  NAMESPACE ${comms_package}::
  DESTINATION ${comms_config_dir})

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/${comms_package}Config.cmake.in
  ${PROJECT_BINARY_DIR}/${comms_package}Config.cmake
  INSTALL_DESTINATION ${comms_config_dir})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/${comms_package}ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/${comms_package}Config.cmake
  ${PROJECT_BINARY_DIR}/${comms_package}ConfigVersion.cmake
  DESTINATION ${comms_config_dir})

# The .pc files find the prefix from their own place, so that a package installed with
# `cmake --install --prefix` somewhere else than configured still points at itself.
set(comms_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH comms_pkgconfig_to_prefix /${comms_pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" comms_pkgconfig_to_prefix ${comms_pkgconfig_to_prefix})
foreach(pc_name ${comms_package} ${comms_package}-app ${comms_package}-desktop
    ${comms_package}-host ${comms_package}-testing)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${pc_name}.pc.in
    ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc.configured @ONLY)
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc
    INPUT ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc.configured)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${pc_name}.pc DESTINATION ${comms_pkgconfig_dir})
endforeach()

add_subdirectory(${PROJECT_SOURCE_DIR}/docs ${PROJECT_BINARY_DIR}/docs)
