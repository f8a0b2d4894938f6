# What the toolchain files of other machines share: Debian's cross compilers, and an emulator that
# runs what they make. Set KOWEN_MACHINE and CMAKE_SYSTEM_PROCESSOR before.

set(CMAKE_SYSTEM_NAME Linux)
set(KOWEN_SYSROOT /usr/${KOWEN_MACHINE})
set(CMAKE_C_COMPILER ${KOWEN_MACHINE}-gcc-12)
set(CMAKE_CXX_COMPILER ${KOWEN_MACHINE}-g++-12)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR} -L ${KOWEN_SYSROOT})

# Libraries and headers are those of the other machine, programs those of this one.
set(CMAKE_FIND_ROOT_PATH ${KOWEN_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
