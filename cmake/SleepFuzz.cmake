# libFuzzer targets (fuzz/*_fuzz.cpp), built with clang only.
#
# With SLEEP_FUZZ=ON every library and program of the project is compiled with the fuzzer's
# coverage instrumentation and address + undefined-behaviour sanitizers (unless SLEEP_SANITIZE
# already names sanitizers), and each fuzz target links libFuzzer's driver. The same build runs
# the test suite, so one sanitizer build serves both.
option(SLEEP_FUZZ "Build the libFuzzer targets under fuzz/ (clang only)" OFF)

if(SLEEP_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "SLEEP_FUZZ needs clang (libFuzzer): configure with "
      "-DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14; found ${CMAKE_CXX_COMPILER_ID}")
  endif()
  if(SLEEP_SANITIZE MATCHES "thread")
    message(FATAL_ERROR "SLEEP_FUZZ runs with address and undefined sanitizers; "
      "SLEEP_SANITIZE=${SLEEP_SANITIZE} cannot be combined with it")
  endif()
  if(NOT SLEEP_SANITIZE)
    set(SLEEP_SANITIZE "address,undefined")
  endif()
  # Read by sleep_apply_options: coverage for the fuzzer without libFuzzer's main.
  set(SLEEP_FUZZ_INSTRUMENTATION "-fsanitize=fuzzer-no-link")
endif()
