# Included right after the top-level project() by cross builds (the arm32 preset sets
# CMAKE_PROJECT_CommunicationsService_INCLUDE). It supplies the packages that the host has
# but the target's sysroot lacks.
if(NOT CMAKE_CROSSCOMPILING)
  return()
endif()

# GoogleTest and GoogleMock, built for the target from Debian's sources (they define the
# GTest:: names themselves). A package configuration in the redirect folder takes
# precedence over FindGTest, so every find_package(GTest) in the tree resolves to them.
set(COMMS_GOOGLETEST_SOURCE_DIR /usr/src/googletest CACHE PATH
  "GoogleTest sources to build for the target")
if(NOT EXISTS ${COMMS_GOOGLETEST_SOURCE_DIR}/CMakeLists.txt)
  message(FATAL_ERROR "No GoogleTest sources in ${COMMS_GOOGLETEST_SOURCE_DIR} "
    "(Debian package googletest)")
endif()
# Installed with the project: the test doubles it exports link GoogleMock, and the
# target's sysroot has none of its own.
set(INSTALL_GTEST ON CACHE BOOL "Install GoogleTest with the project")
add_subdirectory(${COMMS_GOOGLETEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
file(WRITE ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/gtest-config.cmake
  "# GoogleTest is built in this tree for the target; its targets exist already.\n")

# Asio is header-only and the same for every architecture. Its headers are offered through
# a folder of their own: adding the host's whole /usr/include would let host headers
# shadow the target's.
find_path(COMMS_HOST_ASIO_DIR asio.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH NO_DEFAULT_PATH)
if(COMMS_HOST_ASIO_DIR AND NOT ASIO_INCLUDE_DIR)
  set(asio_dir ${CMAKE_BINARY_DIR}/target-headers/asio)
  file(MAKE_DIRECTORY ${asio_dir})
  file(CREATE_LINK ${COMMS_HOST_ASIO_DIR}/asio.hpp ${asio_dir}/asio.hpp SYMBOLIC)
  file(CREATE_LINK ${COMMS_HOST_ASIO_DIR}/asio ${asio_dir}/asio SYMBOLIC)
  set(ASIO_INCLUDE_DIR ${asio_dir} CACHE PATH "Asio headers")
endif()
