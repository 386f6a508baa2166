# Language level, warnings and the build options of the whole project.
option(QUENVAREL_TESTS "Build the tests" ON)
option(QUENVAREL_BENCHMARKS "Build the benchmarks and their peers" OFF)
option(QUENVAREL_FUZZ "Build the fuzz targets (needs clang)" OFF)
option(QUENVAREL_WERROR "Treat warnings as errors" ON)
set(QUENVAREL_SANITIZE "" CACHE STRING "Sanitizers for everything that is built, e.g. address,undefined")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# Every arithmetic result is rounded to its own precision: fused multiply-add would make results differ between
# compilers and processors. Nobody looks at errno or the exception flags behind a square root or a division, which keeps
# loops with them from becoming vector instructions.
add_compile_options(-ffp-contract=off -fno-math-errno -fno-trapping-math)

if(QUENVAREL_SANITIZE)
  add_compile_options(-fsanitize=${QUENVAREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUENVAREL_SANITIZE})
endif()
if(QUENVAREL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Linked by the programs and their libraries: what distributions build programs with that read foreign files, so that a bug
# ends the program and opens no door.
add_library(quenvarel_hardening INTERFACE)
if(NOT WIN32 AND NOT QUENVAREL_SANITIZE)
  include(CheckCXXCompilerFlag)
  foreach(flag stack-protector-strong stack-clash-protection cf-protection)
    check_cxx_compiler_flag(-f${flag} QUENVAREL_HAS_${flag})
    if(QUENVAREL_HAS_${flag})
      target_compile_options(quenvarel_hardening INTERFACE -f${flag})
    endif()
  endforeach()
  # Needs optimisation; some compilers define it by themselves.
  target_compile_options(quenvarel_hardening INTERFACE "$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  target_link_options(quenvarel_hardening INTERFACE -Wl,-z,relro,-z,now)
endif()

# Linked by every target of ours, never by a dependency.
add_library(quenvarel_warnings INTERFACE)
target_compile_options(quenvarel_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align -Wvla $<$<BOOL:${QUENVAREL_WERROR}>:-Werror>)
if(QUENVAREL_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Instrumented code makes GCC see uninitialised values where there are none, in std::regex for one.
  target_compile_options(quenvarel_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
