# Two Debian packages, quenvarel and quenvarel-tools, for the release that they are built on.
include(GNUInstallDirs)

# --- Version ---
# 2.2.0+deb12 comes after 2.2.0 and before 2.2.1, and 2.2.0+deb13 after both.
cmake_host_system_information(RESULT release QUERY DISTRIB_INFO)
string(REPLACE debian deb distribution "${release_ID}")
set(suite "${release_VERSION_CODENAME}")
if(NOT suite)
  set(suite unstable)
endif()
set(release_number "${release_VERSION_ID}")
if(NOT release_number)
  set(release_number "${suite}")
endif()
set(package_version "${PROJECT_VERSION}+${distribution}${release_number}")

# --- Files made for the packages ---
# made_file(NAME DEPENDS <file...> COMMAND <what writes it to standard output>): a file in the build directory.
set(changelog "${CMAKE_SOURCE_DIR}/CHANGELOG.md")
function(made_file name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DEPENDS;COMMAND")
  set(file "${CMAKE_CURRENT_BINARY_DIR}/${name}")
  add_custom_command(OUTPUT "${file}" DEPENDS ${arg_DEPENDS} COMMAND ${arg_COMMAND} > "${file}" VERBATIM)
  set_property(GLOBAL APPEND PROPERTY QUENVAREL_MADE_FILES "${file}")
endfunction()

set(pages quenvarel midimon make_keys)
foreach(page ${pages})
  set(source "${CMAKE_CURRENT_SOURCE_DIR}/man/${page}.1")
  made_file(${page}.1.gz DEPENDS "${source}" COMMAND gzip -9nc "${source}")
endforeach()
# pmt3d writes its page and its completion itself, from the tables that its help is printed from.
made_file(pmt3d.1.gz DEPENDS pmt3d COMMAND sh -c "\"$1\" --man | gzip -9nc" sh "$<TARGET_FILE:pmt3d>")
made_file(pmt3d.bash DEPENDS pmt3d COMMAND pmt3d --completion)
foreach(document model-format.md own-keyboard.md)
  made_file(${document}.gz DEPENDS "${docs}/${document}" COMMAND gzip -9nc "${docs}/${document}")
endforeach()
set(write_changelog "${CMAKE_CURRENT_SOURCE_DIR}/changelog")
made_file(changelog.gz DEPENDS "${changelog}" "${write_changelog}"
  COMMAND "${write_changelog}" debian.gz "${changelog}" "${PROJECT_VERSION}" "${package_version}" "${suite}"
    "${QUENVAREL_MAINTAINER}")
set(terms "")
foreach(font ${fonts_within})
  list(APPEND terms "/usr/share/doc/${font}/copyright")
endforeach()
set(write_copyright "${CMAKE_CURRENT_SOURCE_DIR}/linux/copyright")
made_file(copyright DEPENDS "${write_copyright}" "${CMAKE_SOURCE_DIR}/LICENSE" ${terms}
  COMMAND "${write_copyright}" "${CMAKE_SOURCE_DIR}/LICENSE" ${terms})
set(write_metainfo "${CMAKE_CURRENT_SOURCE_DIR}/linux/metainfo")
set(metainfo quenvarel.quenvarel.quenvarel.metainfo.xml)
made_file(${metainfo} DEPENDS "${write_metainfo}" "${changelog}" "${write_changelog}"
  COMMAND "${write_metainfo}" "${PROJECT_VERSION}" "${changelog}" "homepage=${QUENVAREL_HOMEPAGE}"
    "screenshot=${QUENVAREL_SCREENSHOT}")
get_property(made GLOBAL PROPERTY QUENVAREL_MADE_FILES)
add_custom_target(packaging_files ALL DEPENDS ${made})

# --- What is installed ---
# for_player(...) and for_tools(...) are install(...) for one of the packages.
macro(for_player)
  install(${ARGN} COMPONENT player)
endmacro()
macro(for_tools)
  install(${ARGN} COMPONENT tools)
endmacro()
set(built "${CMAKE_CURRENT_BINARY_DIR}")
set(manual ${CMAKE_INSTALL_MANDIR}/man1)
set(documents ${CMAKE_INSTALL_DATADIR}/doc)

for_player(TARGETS quenvarel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
for_player(DIRECTORY "${models}" DESTINATION ${CMAKE_INSTALL_DATADIR}/quenvarel)
for_player(FILES linux/quenvarel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
for_player(FILES "${built}/${metainfo}" DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
for_player(FILES quenvarel.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
for_player(FILES "${built}/quenvarel.1.gz" DESTINATION ${manual})
for_player(FILES "${built}/copyright" "${built}/changelog.gz" DESTINATION ${documents}/quenvarel)

for_tools(TARGETS midimon pmt3d make_keys RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
for_tools(FILES "${built}/midimon.1.gz" "${built}/pmt3d.1.gz" "${built}/make_keys.1.gz" DESTINATION ${manual})
for_tools(FILES "${built}/pmt3d.bash" DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME pmt3d)
for_tools(FILES "${built}/copyright" "${built}/changelog.gz" "${built}/model-format.md.gz" "${built}/own-keyboard.md.gz"
  "${docs}/examples.png" DESTINATION ${documents}/quenvarel-tools)
for_tools(DIRECTORY "${docs}/examples" DESTINATION ${documents}/quenvarel-tools)

# --- The packages ---
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL player tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_VERSION "${package_version}")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${QUENVAREL_HOMEPAGE}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The libraries are found in the programs. Written down is only what no program is linked with: sounds, drivers, fonts.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # it would come before those of both

set(CPACK_DEBIAN_PLAYER_PACKAGE_NAME quenvarel)
set(CPACK_DEBIAN_PLAYER_PACKAGE_DEPENDS "timgm6mb-soundfont | sf2-soundfont-gm")
set(CPACK_DEBIAN_PLAYER_PACKAGE_RECOMMENDS "libgl1-mesa-dri, fluid-soundfont-gm")
set(CPACK_DEBIAN_PLAYER_PACKAGE_SUGGESTS "quenvarel-tools, jackd, musescore-general-soundfont")
set(CPACK_DEBIAN_PLAYER_DESCRIPTION "MIDI instrument for the computer keyboard, with a picture of its keys
Turns the computer's keyboard and mouse into a MIDI keyboard with two
manuals, and shows its keys in a picture as they go down. What is typed or
clicked is sent to a synthesizer: behind a cable, in another program (JACK or
ALSA), or to the built-in one, which plays on the speakers or records a sound
file. It also records MIDI files, and lets other MIDI keyboards play along.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME quenvarel-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_REPLACES "quenvarel (<< 2.2.0+)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_BREAKS "quenvarel (<< 2.2.0+)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "fonts-ebgaramond")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "quenvarel")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "tools for the models and the MIDI ports of quenvarel
What makes and checks keys and other models for the instrument quenvarel, and
shows what MIDI devices send:
.
 * pmt3d inspects, converts and draws models and pictures;
 * make_keys writes the models of a piano's or a harpsichord's keys;
 * midimon prints what a MIDI input receives.
.
The format of the models is described, with examples.")
