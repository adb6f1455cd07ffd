# Client code for Wayland protocols that Qt has no public interface for, made by wayland-scanner
# from the protocols' XML descriptions (wayland-protocols ships the standard ones).
enable_language(C)  # the generated code
find_package(PkgConfig REQUIRED)
pkg_check_modules(WAYLAND_CLIENT REQUIRED IMPORTED_TARGET wayland-client)
pkg_get_variable(WAYLAND_PROTOCOLS_DIR wayland-protocols pkgdatadir)
pkg_get_variable(WAYLAND_SCANNER wayland-scanner wayland_scanner)
if(NOT WAYLAND_PROTOCOLS_DIR OR NOT WAYLAND_SCANNER)
    message(FATAL_ERROR "wayland-protocols and wayland-scanner are needed (Debian: wayland-protocols, libwayland-dev)")
endif()

# Adds the client header <NAME>-client-protocol.h and its code for the protocol described in XML
# to TARGET; a relative XML path is taken inside wayland-protocols.
function(add_wayland_protocol target xml)
    if(NOT IS_ABSOLUTE "${xml}")
        set(xml "${WAYLAND_PROTOCOLS_DIR}/${xml}")
    endif()
    get_filename_component(name "${xml}" NAME_WE)
    set(folder "${CMAKE_CURRENT_BINARY_DIR}/wayland")
    set(header "${folder}/${name}-client-protocol.h")
    set(code "${folder}/${name}-protocol.c")
    add_custom_command(OUTPUT "${header}" "${code}"
        COMMAND ${CMAKE_COMMAND} -E make_directory "${folder}"
        COMMAND "${WAYLAND_SCANNER}" client-header "${xml}" "${header}"
        COMMAND "${WAYLAND_SCANNER}" private-code "${xml}" "${code}"
        DEPENDS "${xml}" VERBATIM)
    target_sources(${target} PRIVATE "${header}" "${code}")
    target_include_directories(${target} PRIVATE "${folder}")
    target_link_libraries(${target} PRIVATE PkgConfig::WAYLAND_CLIENT)
endfunction()
