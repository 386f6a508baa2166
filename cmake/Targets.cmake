# One function per kind of target. Each library sees only its own folder and those of the libraries it links:
# its include root holds a link to just that folder, so that including another floor's header without linking
# that floor does not build.

# quenvarel_library(<name> FOLDER <folder> SOURCES <file...> [LINKS <public...>] [PRIVATE_LINKS <private...>])
# Headers are included as "<folder>/<header>.h". Adds the alias quenvarel::<name without the prefix>.
function(quenvarel_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "FOLDER" "SOURCES;LINKS;PRIVATE_LINKS")
  add_library(${name} STATIC ${arg_SOURCES})
  string(REPLACE "quenvarel_" "quenvarel::" alias ${name})
  add_library(${alias} ALIAS ${name})

  set(root "${CMAKE_BINARY_DIR}/include/${name}")
  get_filename_component(parent "${root}/${arg_FOLDER}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${arg_FOLDER}" "${root}/${arg_FOLDER}" SYMBOLIC)
  target_include_directories(${name} PUBLIC "${root}")
  target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE quenvarel_warnings ${arg_PRIVATE_LINKS})
endfunction()

# quenvarel_program(<name> SOURCES <file...> LINKS <library...>): an executable in bin/.
function(quenvarel_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE quenvarel_warnings ${arg_LINKS})
  if(WIN32)
    target_link_options(${name} PRIVATE -static -mconsole)
  endif()
endfunction()

# quenvarel_test(<name> SOURCES <file...> LINKS <library...> [DISPLAY] [SERIAL] [TIMEOUT <seconds>] [ENV <VAR=value...>])
# A GoogleTest program that CTest runs as one test. DISPLAY: it opens GL windows and needs an X display, which the
# runner supplies. SERIAL: it measures time or owns the machine's services, and runs alone.
function(quenvarel_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY;SERIAL" "TIMEOUT" "SOURCES;LINKS;ENV")
  add_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  target_compile_definitions(${name} PRIVATE
    QUENVAREL_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data" QUENVAREL_BIN="${CMAKE_BINARY_DIR}/bin")
  target_link_libraries(${name} PRIVATE quenvarel_warnings ${arg_LINKS} GTest::gtest GTest::gtest_main)
  if(WIN32)
    target_link_options(${name} PRIVATE -static -mconsole)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  quenvarel_test_properties()
endfunction()

# quenvarel_live_test(<name> SOURCES <file...> LINKS <library...> [WINDOWS] [DISPLAY] [SERIAL] [TIMEOUT <seconds>]
#   [ENV <VAR=value...>])
# A test that starts whole programs as a user does. It is a native program, and is told in the environment variable
# QUENVAREL_UNDER_TEST which quenvarel to start; the other programs stand beside that one. So one test drives the
# Linux program and, with WINDOWS, the Windows program under Wine too: the windows build lists it with the programs
# of its own, and has the test itself built by the release preset (target live_tests).
function(quenvarel_live_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY;SERIAL;WINDOWS" "TIMEOUT" "SOURCES;LINKS;ENV")
  if(NOT WIN32)
    list(APPEND arg_ENV "QUENVAREL_UNDER_TEST=${CMAKE_BINARY_DIR}/bin/quenvarel")
    quenvarel_test(${name} SOURCES ${arg_SOURCES} LINKS ${arg_LINKS} quenvarel_test_support)
    quenvarel_test_properties()
    add_dependencies(live_tests ${name})
  elseif(arg_WINDOWS)
    list(APPEND arg_ENV "QUENVAREL_UNDER_TEST=${CMAKE_BINARY_DIR}/tests/live/programs/quenvarel")
    add_test(NAME ${name} COMMAND "${CMAKE_SOURCE_DIR}/build/release/tests/${name}")
    quenvarel_test_properties()
  endif()
endfunction()

# Applies the options that the functions above have parsed to the test ${name} of theirs.
macro(quenvarel_test_properties)
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 300)
  endif()
  if(QUENVAREL_SANITIZE)
    list(APPEND arg_ENV
      "ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1"
      "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/leaks-of-drivers.supp:print_suppressions=0"
      "UBSAN_OPTIONS=print_stacktrace=1")
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT "${arg_ENV}")
  if(arg_DISPLAY)
    set_tests_properties(${name} PROPERTIES LABELS display)
  endif()
  if(arg_SERIAL)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
endmacro()
