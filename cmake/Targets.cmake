# One function per kind of target. Each library sees only its own folder and those of the libraries it links:
# its include root holds a link to just that folder, so that including another floor's header without linking
# that floor does not build.

# quenvarel_library(<name> FOLDER <folder> [SOURCES <file...>] [LINKS <public...>] [PRIVATE_LINKS <private...>])
# Headers are included as "<folder>/<header>.h"; a library without sources is headers only. Adds the alias
# quenvarel::<name without the prefix>.
function(quenvarel_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "FOLDER" "SOURCES;LINKS;PRIVATE_LINKS")
  set(scope PUBLIC)
  if(arg_SOURCES)
    add_library(${name} STATIC ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE quenvarel_hardening quenvarel_warnings ${arg_PRIVATE_LINKS})
  else()
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  string(REPLACE "quenvarel_" "quenvarel::" alias ${name})
  add_library(${alias} ALIAS ${name})

  set(root "${CMAKE_BINARY_DIR}/include/${name}")
  get_filename_component(parent "${root}/${arg_FOLDER}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${arg_FOLDER}" "${root}/${arg_FOLDER}" SYMBOLIC)
  target_include_directories(${name} ${scope} "${root}")
  target_link_libraries(${name} ${scope} ${arg_LINKS})
endfunction()

# quenvarel_program(<name> SOURCES <file...> LINKS <library...>): an executable in bin/.
function(quenvarel_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_executable(${name} ${arg_SOURCES})
  if(QUENVAREL_SANITIZE)
    target_sources(${name} PRIVATE "${CMAKE_SOURCE_DIR}/cmake/drivers_stay_loaded.cpp")
  endif()
  target_link_libraries(${name} PRIVATE quenvarel_hardening quenvarel_warnings ${arg_LINKS})
  if(WIN32)
    target_link_options(${name} PRIVATE -static -mconsole $<$<CONFIG:Release>:-s>)
  endif()
endfunction()

# quenvarel_test(<name> SOURCES <file...> LINKS <library...> [DISPLAY] [SERIAL] [TIMEOUT <seconds>] [ENV <VAR=value...>])
# A GoogleTest program that CTest runs as one test. DISPLAY: it opens GL windows and needs an X display, which the
# runner supplies. SERIAL: it measures time or owns the machine's services, and runs alone.
function(quenvarel_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY;SERIAL" "TIMEOUT" "SOURCES;LINKS;ENV")
  quenvarel_test_program(${name} SOURCES ${arg_SOURCES} LINKS ${arg_LINKS})
  quenvarel_add_test(${name} ${name} ${ARGN})
endfunction()

# quenvarel_live_test(<name> SOURCES <file...> LINKS <library...> [WINDOWS|WINDOWS_ONLY] [<options of quenvarel_test>])
# A test that starts whole programs as a user does: those of Linux, with WINDOWS those of Windows under Wine as well.
# It is a native program in either case. The release preset builds it and runs it on its own programs; the windows
# preset has it built there (target live_tests) and names it the command that starts the Windows player in the
# environment variable QUENVAREL_UNDER_TEST. The other programs are started beside that one.
function(quenvarel_live_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "WINDOWS;WINDOWS_ONLY;DISPLAY;SERIAL" "TIMEOUT" "SOURCES;LINKS;ENV")
  if(NOT WIN32)
    quenvarel_test_program(${name} SOURCES ${arg_SOURCES} LINKS ${arg_LINKS} quenvarel_test_support)
    add_dependencies(live_tests ${name})
    if(NOT arg_WINDOWS_ONLY)
      quenvarel_add_test(${name} ${name} ${ARGN})
    endif()
  elseif(arg_WINDOWS OR arg_WINDOWS_ONLY)
    quenvarel_add_test(${name} "${CMAKE_SOURCE_DIR}/build/release/tests/${name}" ${ARGN})
    set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT
      "QUENVAREL_UNDER_TEST=${CMAKE_BINARY_DIR}/tests/live/programs/quenvarel")
  endif()
endfunction()

function(quenvarel_test_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  target_compile_definitions(${name} PRIVATE
    QUENVAREL_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data" QUENVAREL_BIN="${CMAKE_BINARY_DIR}/bin")
  target_link_libraries(${name} PRIVATE quenvarel_warnings ${arg_LINKS} GTest::gtest GTest::gtest_main)
  if(WIN32)
    target_link_options(${name} PRIVATE -static -mconsole)
  endif()
endfunction()

function(quenvarel_add_test name command)
  cmake_parse_arguments(PARSE_ARGV 2 arg "DISPLAY;SERIAL" "TIMEOUT" "SOURCES;LINKS;ENV")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 1800) # also on a machine with other work
  endif()
  if(QUENVAREL_SANITIZE)
    # intercept_tls_get_addr: the leak checker guesses the extent of a library's thread-local block from the bytes before
    # it; a block that happens to lie 16 bytes into a page makes it read from address zero on and die.
    list(APPEND arg_ENV
      "ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1:intercept_tls_get_addr=0"
      "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/leaks-of-drivers.supp:print_suppressions=0"
      "UBSAN_OPTIONS=print_stacktrace=1")
  endif()
  add_test(NAME ${name} COMMAND ${command})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT "${arg_ENV}")
  if(arg_DISPLAY)
    set_tests_properties(${name} PROPERTIES LABELS display)
  endif()
  if(arg_SERIAL)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
endfunction()
