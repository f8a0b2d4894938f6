# Compile and link options shared by every target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
# Where libraries are seen from a program: a path of this machine would leave its length behind in what
# is installed, and builds in two folders would differ.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Reuse compiler results where the machine has ccache and nobody chose a launcher.
find_program(KOWEN_CCACHE ccache)
mark_as_advanced(KOWEN_CCACHE)
if(KOWEN_CCACHE)
  foreach(language C CXX)
    if(NOT DEFINED CMAKE_${language}_COMPILER_LAUNCHER)
      set(CMAKE_${language}_COMPILER_LAUNCHER ${KOWEN_CCACHE})
    endif()
  endforeach()
endif()

add_library(kowen_options INTERFACE)
target_compile_options(kowen_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow
  # Sizes, quantisers and positions are decided in strict IEEE double on every machine.
  -ffp-contract=off -fno-fast-math
  # g++ 12 takes the concatenation of strings for an overlapping copy.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(KOWEN_WARNINGS_AS_ERRORS)
  target_compile_options(kowen_options INTERFACE -Werror)
endif()

# A thread of 64 KB is to be enough for whatever calls the module or the host library. Sanitizers take
# several times as much.
set(KOWEN_FRAME_OPTIONS $<$<NOT:$<BOOL:${KOWEN_SANITIZE}>>:-Wframe-larger-than=20480>)

# What the module is made of: nothing throws, nothing is visible unless it says so, and functions
# that no entry reaches can be left out when it is linked.
add_library(kowen_module_options INTERFACE)
target_link_libraries(kowen_module_options INTERFACE kowen_options)
target_compile_options(kowen_module_options INTERFACE
  ${KOWEN_FRAME_OPTIONS}
  -fvisibility=hidden -fvisibility-inlines-hidden -ffunction-sections -fdata-sections
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:-fno-gnu-unique>)

# What reads or writes JSON links this: headers only, so those of the building machine serve any
# other, but only they must be found.
add_library(kowen_json INTERFACE)
if(CMAKE_CROSSCOMPILING)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/json)
  file(CREATE_LINK /usr/include/nlohmann ${CMAKE_BINARY_DIR}/json/nlohmann SYMBOLIC)
  target_include_directories(kowen_json SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/json)
endif()

# Tests need no speed of their own, and optimising GoogleTest's macros takes minutes.
set(KOWEN_TEST_OPTIONS $<$<CONFIG:Release>:-O0>
  # g++ 12 takes what a test pushes into a vector or appends to a string for an overflow.
  "$<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow;-Wno-array-bounds>")

# kowen_library_folders(target installed built): where a program looks for the host library, from its own
# folder, when it is installed and in the build tree. It has both paths in both places: where CMake
# puts one for the other it leaves a colon behind in the build tree, and an empty name after that is
# the current folder, where anybody may have put a library. Packages install neither, so only their
# builds have the colon.
function(kowen_library_folders target installed built)
  set(folders "$ORIGIN/${installed}" "$ORIGIN/${built}")
  list(REMOVE_DUPLICATES folders)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "${folders}")
  if(NOT CMAKE_SKIP_INSTALL_RPATH)
    set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
  endif()
endfunction()

# kowen_test(name source... [SHARDS count]): one test program of a folder. ctest runs it once, or a
# part of its tests in each of several runs side by side, when they take seconds.
function(kowen_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SHARDS" "")
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE kowen_static kowen_test_support kowen_options GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/tests)
  target_compile_options(${name} PRIVATE ${KOWEN_TEST_OPTIONS})
  target_precompile_headers(${name} REUSE_FROM kowen_test_headers)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    # The shell is this machine's, so what is loaded before the other machine's programs is not its.
    target_compile_definitions(${name} PRIVATE KOWEN_EMULATOR="unset LD_PRELOAD && ${emulator} ")
  endif()
  # Files that share what they include are compiled together.
  set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
  kowen_run_test(${name} "${arg_SHARDS}")
endfunction()

function(kowen_run_test name shards)
  if(NOT shards)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS ${name} TIMEOUT 1200)
    return()
  endif()
  foreach(shard RANGE 1 ${shards})
    math(EXPR index "${shard} - 1")
    add_test(NAME ${name}.${shard} COMMAND ${name})
    set_tests_properties(${name}.${shard} PROPERTIES LABELS ${name} TIMEOUT 1200
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${shards};GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()
