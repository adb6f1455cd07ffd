# Writes KeyNames.inc from the kernel's input-event-codes.h: one { "name", code } line for each KEY_
# definition, as udev's keyboard builtin names the keys in hwdb files (lower case, without "KEY_").
# Definitions that name another key (KEY_HANGUEL is KEY_HANGEUL) follow the one they name, so the
# first name of every code is its own.
#   cmake -DHEADER=.../input-event-codes.h -DOUTPUT=.../KeyNames.inc -P KeyNames.cmake
file(STRINGS "${HEADER}" lines REGEX "^#define[ \t]+KEY_[A-Z0-9_]+[ \t]+")
set(numbered "")
set(aliases "")
foreach(line IN LISTS lines)
    if(NOT line MATCHES "^#define[ \t]+KEY_([A-Z0-9_]+)[ \t]+([0-9A-Za-z_]+)")
        continue()
    endif()
    set(name "${CMAKE_MATCH_1}")
    set(value "${CMAKE_MATCH_2}")
    if(name STREQUAL "MAX" OR name STREQUAL "CNT" OR name STREQUAL "MIN_INTERESTING")
        continue()
    endif()
    string(TOLOWER "${name}" lower)
    if(value MATCHES "^(0x[0-9a-fA-F]+|[0-9]+)$")
        string(APPEND numbered "    {\"${lower}\", ${value}},\n")
    elseif(value MATCHES "^KEY_")
        string(APPEND aliases "    {\"${lower}\", ${value}},\n")
    endif()
endforeach()
file(WRITE "${OUTPUT}.tmp" "${numbered}${aliases}")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
