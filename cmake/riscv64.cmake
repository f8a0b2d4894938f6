# 64-bit RISC-V.
set(KOWEN_MACHINE riscv64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
