# Cross-builds for the unit's ABI with Debian's compiler, which includes the C and C++ libraries. The
# layer's other dependencies are unpacked into the build tree.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L /usr/arm-linux-gnueabihf)

set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

get_property(trying GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT trying)
    set(CMAKE_FIND_ROOT_PATH ${CMAKE_BINARY_DIR}/sysroot)
    execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/unpack-packages armhf ${CMAKE_FIND_ROOT_PATH}
        zlib1g zlib1g-dev COMMAND_ERROR_IS_FATAL ANY)
endif()
