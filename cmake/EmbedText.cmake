# embed_text(<output.cpp> NAMESPACE <a::b> FILES <file...>)
# Writes a source file with one constant for each text file, a std::string_view with the file's exact bytes, named
# after the file: surface.vert becomes surface_vert. Rewritten whenever one of the files changes. Each must be below
# 64 KiB.
function(embed_text output)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAMESPACE" "FILES")
  set(body "// Written by cmake/EmbedText.cmake.\n#include <string_view>\n\nnamespace ${arg_NAMESPACE} {\n")
  foreach(file ${arg_FILES})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    get_filename_component(name "${file}" NAME)
    string(MAKE_C_IDENTIFIER "${name}" name)
    file(READ "${file}" text)
    string(APPEND body "extern const std::string_view ${name};\n"
      "const std::string_view ${name} = R\"embedded(${text})embedded\";\n")
  endforeach()
  string(APPEND body "} // namespace ${arg_NAMESPACE}\n")
  file(CONFIGURE OUTPUT "${output}" CONTENT "${body}" @ONLY)
endfunction()
