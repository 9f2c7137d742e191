# 32-bit ARM (hard float) with Debian's cross compilers; programs built here run under
# qemu-arm with the cross sysroot as its library prefix, so ctest can run the unit tests.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(COMMS_ARM_TRIPLE arm-linux-gnueabihf)
set(COMMS_ARM_SYSROOT /usr/${COMMS_ARM_TRIPLE})

set(CMAKE_C_COMPILER ${COMMS_ARM_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${COMMS_ARM_TRIPLE}-g++)

set(CMAKE_FIND_ROOT_PATH ${COMMS_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(COMMS_QEMU_ARM NAMES qemu-arm qemu-arm-static)
if(COMMS_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${COMMS_QEMU_ARM} -L ${COMMS_ARM_SYSROOT})
endif()
