# Project-wide compile settings, applied per target so an embedding project keeps its own.

# sleep_apply_options(<target>): warnings and sanitizers for one of our targets.
function(sleep_apply_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(SLEEP_SANITIZE)
    # Every report stops the program, so a sanitizer finding fails its test.
    target_compile_options(${target} PRIVATE -fsanitize=${SLEEP_SANITIZE} -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${SLEEP_SANITIZE})
  endif()
  if(SLEEP_FUZZ_INSTRUMENTATION)
    target_compile_options(${target} PRIVATE ${SLEEP_FUZZ_INSTRUMENTATION})
  endif()
endfunction()

# sleep_use_fast_allocator(<target>): links mimalloc, when it was found, into a program that runs
# whole simulations. They allocate and free many small short-lived objects, and mimalloc runs them
# faster than the C library's allocator. Sanitizer builds keep the sanitizer's allocator. The
# program names no mimalloc symbol, so the library is linked even where the linker drops unused ones.
function(sleep_use_fast_allocator target)
  if(TARGET mimalloc AND NOT SLEEP_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:--no-as-needed)
    target_link_libraries(${target} PRIVATE mimalloc)
  endif()
endfunction()

# sleep_library(<name> <dir> [GROUPS ...] [DEPS ...]): a static library from every source of
# <dir>/src, exporting <dir>/include so its headers are included by bare file name. With GROUPS,
# the sources and headers sit in <dir>/<group>/src and <dir>/<group>/include instead.
function(sleep_library name dir)
  cmake_parse_arguments(ARG "" "" "GROUPS;DEPS" ${ARGN})
  set(roots "${dir}")
  if(ARG_GROUPS)
    list(TRANSFORM ARG_GROUPS PREPEND "${dir}/" OUTPUT_VARIABLE roots)
  endif()
  set(sources "")
  set(includes "")
  foreach(root IN LISTS roots)
    file(GLOB root_sources CONFIGURE_DEPENDS "${root}/src/*.cpp")
    list(APPEND sources ${root_sources})
    list(APPEND includes "${root}/include")
  endforeach()
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${includes})
  target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  sleep_apply_options(${name})
  if(SLEEP_SANITIZE)
    target_link_options(${name} INTERFACE -fsanitize=${SLEEP_SANITIZE})
  endif()
endfunction()
