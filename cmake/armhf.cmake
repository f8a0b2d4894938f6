# 32-bit ARM with hardware floating point.
set(KOWEN_MACHINE arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
