# 32-bit PowerPC, most significant byte first.
set(KOWEN_MACHINE powerpc-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR ppc)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)

# See tests/support/emulated_floats.c.
list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -E LD_PRELOAD=${CMAKE_BINARY_DIR}/libemulated_floats.so)
