# 64-bit ARM.
set(KOWEN_MACHINE aarch64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
