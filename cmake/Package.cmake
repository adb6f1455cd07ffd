# The Debian package that scripts/package builds: everything `cmake --install` puts under /usr, with
# the copyright, the changelog and the maintainer scripts Debian asks for.
set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME keyvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# The Debian revision is that of the changelog's newest entry, which must be for this version: a
# package whose changelog names another version would mislead whoever reads it.
file(STRINGS ${PROJECT_SOURCE_DIR}/packaging/changelog _keyvane_newest_entry LIMIT_COUNT 1)
if(NOT _keyvane_newest_entry MATCHES "^keyvane \\(${PROJECT_VERSION}-([0-9]+)\\)")
    message(FATAL_ERROR "packaging/changelog: the newest entry is not for version "
                        "${PROJECT_VERSION}-<revision>: add one (${_keyvane_newest_entry})")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Keyvane developers <keyvane@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop key remapper")
# The long description, wrapped as dpkg shows it: one string per line, "" between paragraphs.
set(_keyvane_description
    "Keyvane keeps an ordered list of \"original key -> new key\" mappings and"
    "installs the whole list in the kernel's keymaps, for all keyboards or for"
    "one. Keys are captured by pressing them, and a login helper installs the"
    "list again at every login."
    ""
    "It comes with hidutil, the command that changes the kernel's keymaps, and a"
    "system service that changes them, when polkit allows, for users who are not"
    "in the group input.")
list(JOIN _keyvane_description "\n" CPACK_DEBIAN_PACKAGE_DESCRIPTION)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

# The libraries' packages come from dpkg-shlibdeps; the rest is what the keymap service needs: the
# system bus, polkit, and systemd for its unit and for systemd-sysusers.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "dbus, pkexec, polkitd, systemd, udev")
# Without Qt's Wayland plugin the window still opens, through XWayland, but then the desktop's
# shortcuts may never reach the capture window. Without Qt's translations a translated Keyvane
# shows Qt's own buttons (OK, the file dialog) in English.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, qt6-translations-l10n")

set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/postinst
    ${PROJECT_SOURCE_DIR}/packaging/prerm
    ${PROJECT_SOURCE_DIR}/packaging/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Installed to /usr through DESTDIR, so that the install scripts see /usr as their prefix and put
# the service's files where Debian's systemd and D-Bus look.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

# The copyright and the changelog belong to the package alone, not to every `cmake --install`.
set(KEYVANE_PACKAGING_DIR ${PROJECT_SOURCE_DIR}/packaging)
configure_file(${PROJECT_SOURCE_DIR}/packaging/install-docs.cmake.in
               ${PROJECT_BINARY_DIR}/packaging/install-docs.cmake @ONLY)
set(CPACK_INSTALL_SCRIPTS ${PROJECT_BINARY_DIR}/packaging/install-docs.cmake)

include(CPack)
