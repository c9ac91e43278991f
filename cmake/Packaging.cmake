# Installation as a desktop application, and the Debian package.
include(GNUInstallDirs)

set(QUORLEN_APP_ID app.quorlen.Calculator)
install(TARGETS quorlen-calculator quorlen RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES packaging/${QUORLEN_APP_ID}.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES packaging/${QUORLEN_APP_ID}.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(DIRECTORY packaging/icons/hicolor DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorlen-calculator)
set(CPACK_PACKAGE_VENDOR Quorlen)
set(CPACK_PACKAGE_CONTACT "Quorlen <hello@quorlen.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Tempo, rhythm, reverb, pitch and harmony calculators for musicians")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
# Libraries come from dpkg-shlibdeps; what is loaded at run time without
# being linked (fonts, Qt's platform plugins, the sound server, FFmpeg's
# libraries opened at the first file read) is named here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
find_package(PkgConfig REQUIRED)
pkg_check_modules(FFMPEG_RUNTIME REQUIRED libavformat libavcodec libavutil)
set(ffmpeg_packages "")
foreach(library avformat avcodec avutil)
  string(REGEX MATCH "^[0-9]+" major "${FFMPEG_RUNTIME_lib${library}_VERSION}")
  string(APPEND ffmpeg_packages ", lib${library}${major}")
endforeach()
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qt6-qpa-plugins, fonts-inter, fonts-jetbrains-mono, fonts-noto-color-emoji${ffmpeg_packages}")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pulseaudio | pipewire-pulse, xdg-utils")
include(CPack)
