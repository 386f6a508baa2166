# The zip: one directory, started from wherever it is unpacked.
enable_language(RC)
set(description_of_quenvarel "Quenvarel, a MIDI instrument for the computer keyboard")
set(description_of_midimon "Shows what MIDI inputs receive, beside Quenvarel")
set(description_of_pmt3d "Inspects, converts and draws models, for Quenvarel")
foreach(program quenvarel midimon pmt3d)
  set(description_of_program "${description_of_${program}}")
  configure_file(windows/program.manifest ${program}.manifest @ONLY)
  configure_file(windows/program.rc ${program}.rc @ONLY)
  target_sources(${program} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${program}.rc")
  set_property(SOURCE "${CMAKE_CURRENT_BINARY_DIR}/${program}.rc" TARGET_DIRECTORY ${program} PROPERTY OBJECT_DEPENDS
    "${CMAKE_CURRENT_BINARY_DIR}/${program}.manifest" "${CMAKE_CURRENT_SOURCE_DIR}/windows/quenvarel.ico")
endforeach()

install(TARGETS quenvarel midimon pmt3d RUNTIME DESTINATION .)
install(DIRECTORY "${models}" DESTINATION .)
install(FILES "${docs}/model-format.md" "${docs}/examples.png" DESTINATION docs)
install(DIRECTORY "${docs}/examples" DESTINATION docs)
# Notepad and the command interpreter want the system's line ends.
foreach(file windows/play.cmd windows/readme.txt ../LICENSE)
  get_filename_component(name "${file}" NAME)
  configure_file("${file}" "text/${name}" @ONLY NEWLINE_STYLE CRLF)
endforeach()
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/text/play.cmd" "${CMAKE_CURRENT_BINARY_DIR}/text/readme.txt" DESTINATION .)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/text/LICENSE" DESTINATION . RENAME LICENSE.txt)

# The terms of everything in the programs: the libraries that were built for them, what the compiler adds, and the fonts.
install(DIRECTORY "${QUENVAREL_WINDOWS_LIBRARIES}/copyright/" DESTINATION licenses)
foreach(package g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev ${fonts_within})
  install(FILES "/usr/share/doc/${package}/copyright" DESTINATION licenses RENAME "${package}.txt")
endforeach()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME quenvarel-${PROJECT_VERSION}-windows-x86_64)
