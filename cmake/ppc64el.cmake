# 64-bit POWER, least significant byte first.
set(KOWEN_MACHINE powerpc64le-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR ppc64le)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
