# keysym_table(<output>): the characters of X11's keysyms, from the comments of X11's own header, as initializers
# {keysym, character}. Keysyms above 16 bits hold their character themselves.
function(keysym_table output)
  find_file(QUENVAREL_KEYSYMDEF X11/keysymdef.h HINTS ${X11_INCLUDE_DIR} REQUIRED)
  set(pattern "^#define XK_[A-Za-z0-9_]+ +(0x[0-9a-f][0-9a-f][0-9a-f][0-9a-f]) +/\\*\\(?U\\+([0-9A-F]+).*$")
  string(REPLACE "/\\*" "/\\* *" pattern "${pattern}")
  file(STRINGS "${QUENVAREL_KEYSYMDEF}" lines REGEX "${pattern}")
  set(body "")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "${pattern}" "{\\1, 0x\\2},\n" line "${line}")
    string(APPEND body "${line}")
  endforeach()
  file(CONFIGURE OUTPUT "${output}" CONTENT "${body}" @ONLY)
endfunction()
