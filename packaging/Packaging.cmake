# The Debian package, made by `cpack` (or the `package` target) from what `cmake --install`
# puts in place. Build it from a Release build: the binary is stripped on the way in, and a
# sanitizer build would depend on the sanitizers' runtime libraries.

# Files Debian's policy asks every package to carry. Installed for any prefix, so that
# `cmake --install` and the package lay out the same tree.
set(pondrift_docdir ${CMAKE_INSTALL_DATADIR}/doc/pondrift)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${pondrift_docdir})

# The changelog goes in compressed with no name or time stamp in the gzip header: the same
# source makes the same package, and a package checker counts a stamp as a fault.
find_program(GZIP_PROGRAM gzip REQUIRED)
set(pondrift_changelog ${CMAKE_CURRENT_LIST_DIR}/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${pondrift_changelog}
                                                               ${CMAKE_CURRENT_LIST_DIR}/pondrift.1)
execute_process(COMMAND ${GZIP_PROGRAM} -9nc ${pondrift_changelog}
  OUTPUT_FILE ${CMAKE_BINARY_DIR}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
install(FILES ${CMAKE_BINARY_DIR}/changelog.gz DESTINATION ${pondrift_docdir})
execute_process(COMMAND ${GZIP_PROGRAM} -9nc ${CMAKE_CURRENT_LIST_DIR}/pondrift.1
  OUTPUT_FILE ${CMAKE_BINARY_DIR}/pondrift.1.gz COMMAND_ERROR_IS_FATAL ANY)
install(FILES ${CMAKE_BINARY_DIR}/pondrift.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pondrift)
set(CPACK_PACKAGE_VENDOR "The Pondrift developers")
set(CPACK_PACKAGE_CONTACT "The Pondrift developers <maintainers@pondrift.app>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "sticky notes that wait at the edge of the screen")
set(CPACK_PACKAGE_INSTALL_DIRECTORY pondrift)
# A package installs under /usr whatever prefix the build was configured with.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_PACKAGE_NAME pondrift)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://pondrift.app/")
# The synopsis above is the first line; this is the extended description under it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "Pondrift keeps notes in a small deck on the edge of the screen, out of the
way of windows and out of the taskbar. The deck fans out into a column of
coloured tabs, one per note; a tab opens its note beside the edge. Notes are
styled as Markdown while typed, can float over other windows, are stored
encrypted on the machine and can be mirrored as Markdown files into a sync
client's folder. Global hot keys make new notes and open quick capture.
The interface is in English and Simplified Chinese.")
# The libraries the program links come from dpkg-shlibdeps. Qt loads its X11 platform
# plugin at run time, which no linker sees, and without it the program cannot start.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
# Spelling in English, and Qt's own dialogs in Chinese.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "hunspell-en-us, qt6-translations-l10n")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "fonts-wqy-microhei | fonts-noto-cjk")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
