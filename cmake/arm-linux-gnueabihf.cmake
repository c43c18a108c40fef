# Cross build for the device's ARM board with Debian's cross compiler
# (g++-arm-linux-gnueabihf). Test binaries and the executables the tests
# start run under qemu-arm (qemu-user) with the cross C library as root.
#
#   cmake -S . -B build-arm -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(NXCGI_ARM_TRIPLE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${NXCGI_ARM_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${NXCGI_ARM_TRIPLE}-g++)
set(NXCGI_ARM_SYSROOT /usr/${NXCGI_ARM_TRIPLE} CACHE PATH "Where the ARM C library lives")

set(CMAKE_FIND_ROOT_PATH ${NXCGI_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# CTest and gtest discovery run the ARM binaries through this.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${NXCGI_ARM_SYSROOT})
