# 64-bit IBM Z, most significant byte first.
set(KOWEN_MACHINE s390x-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
