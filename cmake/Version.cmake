# The version header, generated from the project's version so that the headers, the plug-in,
# the packages and the desktop programs all tell the same one. Every target of this tree
# finds it as "CommunicationsService/Version.h"; it is installed with the other headers.
configure_file(${CMAKE_CURRENT_LIST_DIR}/Version.h.in
  ${PROJECT_BINARY_DIR}/include/CommunicationsService/Version.h @ONLY)
include_directories(${PROJECT_BINARY_DIR}/include)
