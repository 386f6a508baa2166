# Cross-builds for 64-bit Windows with MinGW-w64 on Debian, against the static libraries that
# packaging/windows/environment.sh keeps, and runs what is built under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# The variant with POSIX threads has the whole of <thread> and <mutex>.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Given by the environment, remembered by the build tree, or asked for; trial compilations get it passed on.
if(NOT QUENVAREL_WINDOWS_LIBRARIES)
  set(found "$ENV{QUENVAREL_WINDOWS_LIBRARIES}")
  if(NOT found)
    execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../packaging/windows/environment.sh"
      OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endif()
  set(QUENVAREL_WINDOWS_LIBRARIES "${found}" CACHE PATH "Installation prefix of the libraries built for Windows")
endif()
set(wanted "$ENV{QUENVAREL_WINDOWS_LIBRARIES}")
if(NOT IS_DIRECTORY "${QUENVAREL_WINDOWS_LIBRARIES}" OR (wanted AND NOT wanted STREQUAL QUENVAREL_WINDOWS_LIBRARIES))
  message(FATAL_ERROR "The tree was built with other libraries (${QUENVAREL_WINDOWS_LIBRARIES}): start it afresh, with "
    "cmake --fresh.")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUENVAREL_WINDOWS_LIBRARIES)

set(CMAKE_FIND_ROOT_PATH "${QUENVAREL_WINDOWS_LIBRARIES}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

get_filename_component(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../packaging/windows/wine" ABSOLUTE)
