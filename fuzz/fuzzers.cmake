# The fuzzers and what they are made of: kowen_fuzzer(name source...), sources from the top of the
# tree. Included by fuzz/, for which that is a libFuzzer program, and by tests/fuzz/, for which it is
# a test. Those of the host library and the command line are there where these are built.
set(reference tests/reference/color)

kowen_fuzzer(profile_fuzzer fuzz/profile_fuzzer.cpp fuzz/no_waiting.cpp)
kowen_fuzzer(escape_fuzzer fuzz/escape_fuzzer.cpp fuzz/no_waiting.cpp)
kowen_fuzzer(bitmap_fuzzer fuzz/bitmap_fuzzer.cpp
  ${reference}/bitmap.cpp ${reference}/resample.cpp)
kowen_fuzzer(door_fuzzer fuzz/door_fuzzer.cpp)
kowen_fuzzer(device_fuzzer fuzz/device_fuzzer.cpp
  ${reference}/bitmap.cpp ${reference}/resample.cpp)
kowen_fuzzer(file_fuzzer fuzz/file_fuzzer.cpp)
kowen_fuzzer(line_fuzzer fuzz/line_fuzzer.cpp)
kowen_fuzzer(struct_fuzzer fuzz/struct_fuzzer.cpp)
kowen_fuzzer(document_fuzzer fuzz/document_fuzzer.cpp)
kowen_fuzzer(kernel_fuzzer fuzz/kernel_fuzzer.cpp)
kowen_fuzzer(color_fuzzer fuzz/color_fuzzer.cpp
  ${reference}/bitmap.cpp ${reference}/dither.cpp ${reference}/median_cut.cpp
  ${reference}/resample.cpp)

if(KOWEN_BUILD_HOST)
  kowen_fuzzer(stream_fuzzer fuzz/stream_fuzzer.cpp)
  kowen_fuzzer(metadata_fuzzer fuzz/metadata_fuzzer.cpp tools/readers/exif.cpp)
  kowen_fuzzer(reader_fuzzer fuzz/reader_fuzzer.cpp)
  kowen_fuzzer(host_fuzzer fuzz/host_fuzzer.cpp fuzz/no_waiting.cpp)
  kowen_fuzzer(profile_text_fuzzer fuzz/profile_text_fuzzer.cpp fuzz/no_waiting.cpp)
endif()
