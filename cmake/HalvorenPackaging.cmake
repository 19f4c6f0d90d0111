# Where the programs and their system files go when installed, and the Debian package that holds
# them (`cpack` in a release build directory, or the "package" workflow preset).
include(GNUInstallDirs)

set(HALVOREN_HOMEPAGE "https://halvoren.example.org" CACHE STRING "The project's web address, for the package metadata")
set(packaging "${PROJECT_SOURCE_DIR}/packaging")

install(TARGETS halvoren halvoren-probe RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Started by systemd only; the unit names this path.
install(TARGETS halvoren-helper RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/halvoren)
# What Halvoren runs through pkexec to enable or disable the unit; the polkit action names it.
install(PROGRAMS "${packaging}/polkit/halvoren-helper-service" DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/halvoren)
install(FILES "${packaging}/systemd/halvoren-helper.service" DESTINATION lib/systemd/system)
install(FILES "${packaging}/polkit/com.halvoren.helper.policy" DESTINATION ${CMAKE_INSTALL_DATADIR}/polkit-1/actions)
install(FILES "${packaging}/sysusers/halvoren.conf" DESTINATION lib/sysusers.d)
install(FILES "${packaging}/desktop/halvoren.desktop" DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES "${packaging}/desktop/halvoren.svg" DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
configure_file("${packaging}/desktop/com.halvoren.Halvoren.metainfo.xml.in"
               "${PROJECT_BINARY_DIR}/packaging/com.halvoren.Halvoren.metainfo.xml" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/packaging/com.halvoren.Halvoren.metainfo.xml"
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# Debian wants its copyright, a compressed changelog in the package's doc directory and
# compressed manual pages; gzip -n leaves the time out, so the package builds the same each time.
set(docs "${CMAKE_INSTALL_DATADIR}/doc/halvoren")
set(generated "${PROJECT_BINARY_DIR}/packaging")
configure_file("${packaging}/debian/changelog.Debian.in" "${generated}/changelog.Debian" @ONLY)
set(compressed)
foreach(source "${generated}/changelog.Debian" "${packaging}/man/halvoren.1" "${packaging}/man/halvoren-probe.1"
        "${packaging}/man/halvoren-helper.1")
  get_filename_component(name "${source}" NAME)
  add_custom_command(OUTPUT "${generated}/${name}.gz" COMMAND gzip -9 -n -c "${source}" > "${generated}/${name}.gz"
                     DEPENDS "${source}")
  list(APPEND compressed "${generated}/${name}.gz")
endforeach()
add_custom_target(halvoren_package_files ALL DEPENDS ${compressed})
install(FILES "${packaging}/debian/copyright" "${generated}/changelog.Debian.gz" DESTINATION ${docs})
install(FILES "${generated}/halvoren.1.gz" "${generated}/halvoren-probe.1.gz" "${generated}/halvoren-helper.1.gz"
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME halvoren)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_PACKAGE_VENDOR "The Halvoren developers")
set(CPACK_PACKAGE_CONTACT "The Halvoren developers <maintainers@users.noreply.c-seed-6fcbbf98.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "fan control and thermal monitor for Mac computers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${HALVOREN_HOMEPAGE}")
# CPack indents every line after the first; "." stands for an empty line.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Halvoren reads the temperature, fan and power sensors of Mac computers,
Apple silicon and Intel alike, and drives the fans by the policy chosen:
the firmware's own control, presets, custom modes, manual speeds, Turbo
and timed cooldowns.
.
Fan writes go through a small privileged helper, a systemd service that
Halvoren installs through polkit when asked; members of the group
halvoren may control the fans.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Polkit asks for the password when the helper is installed from Halvoren.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pkexec, systemd")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    "${packaging}/debian/postinst;${packaging}/debian/prerm;${packaging}/debian/postrm")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
