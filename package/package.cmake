# The Debian package, and the files that it installs besides the programs. Tested by
# scripts/package_check.sh.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zarn-install)
set(CPACK_PACKAGE_CONTACT "Zarn maintainers <maintainers@zarn.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "graphical installer of the Zarn 2.0 suite")
set(CPACK_PACKAGE_DESCRIPTION
    "Installs the suite from a tape, tar archives or a CD-ROM, adds subsystems and\nremoves them. make-distribution writes the media.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "csh, xterm")
# The X server needs the fonts, and may run on another machine.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xauth, x11-utils, xfonts-75dpi, xfonts-base, openssh-client, procps")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "ncompress, xorriso, sudo")
include(CPack)

# Debian requires manuals and changelogs to be compressed, and builds to be reproducible.
function(zarn_install_compressed destination)
    foreach(file ${ARGN})
        get_filename_component(name ${file} NAME)
        set(packed ${CMAKE_BINARY_DIR}/${name}.gz)
        add_custom_command(OUTPUT ${packed} DEPENDS ${CMAKE_SOURCE_DIR}/${file} VERBATIM
                           COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/${file} > ${packed})
        add_custom_target(zarn_${name} ALL DEPENDS ${packed})
        install(FILES ${packed} DESTINATION ${destination})
    endforeach()
endfunction()

set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_PACKAGE_NAME})
install(FILES package/copyright docs/distribution.md DESTINATION ${documents})
zarn_install_compressed(${documents} package/changelog)
zarn_install_compressed(${CMAKE_INSTALL_MANDIR}/man1 docs/Zarn_install.1 docs/make-distribution.1)
