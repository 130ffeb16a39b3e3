# Where an installed ZEL keeps its files, and its Debian package.
#
# The programs go to bin and everything of their own to share/zel, where the
# start-up looks when nothing lies beside the program; the desktop's menu, icon
# theme, MIME database and software centres read the rest from their usual
# folders, and the tools menu's "使用说明" reads the README from share/doc/zel.
include(GNUInstallDirs)

set(ZEL_DATA ${CMAKE_SOURCE_DIR}/data)

install(TARGETS zel zel-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${ZEL_PROFILE_PACK} DESTINATION ${CMAKE_INSTALL_DATADIR}/zel)

# The main entry (named for the dock's progress messages) and the subtitle
# editor's, which subtitle files open with.
install(FILES ${ZEL_DATA}/desktop/zel.desktop ${ZEL_DATA}/desktop/zel-subtitles.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${ZEL_DATA}/desktop/org.calder.zel.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${ZEL_DATA}/desktop/zel-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages RENAME zel.xml)

# Drawn once from zel.svg by scripts/render-icons.sh.
set(ZEL_ICON_SIZES 16 32 48 64 128 256)
foreach(size IN LISTS ZEL_ICON_SIZES)
  install(FILES ${ZEL_DATA}/icons/zel-${size}.png
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps RENAME zel.png)
endforeach()
install(FILES ${ZEL_DATA}/icons/zel.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zel)

# cpack -G DEB in the build folder: zel_VERSION_ARCH.deb. The libraries the
# programs link come from dpkg-shlibdeps; FFmpeg is run, never linked, so it is
# named here, and the optional tools and a Chinese font are recommended.
set(ZEL_PACKAGE_MAINTAINER "ZEL maintainers <zel@calder.invalid>" CACHE STRING "The Debian package's maintainer")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR Calder)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "batch media converter (ZEL 影音工坊)")
# The first line is the synopsis.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "${CPACK_PACKAGE_DESCRIPTION_SUMMARY}\n"
    "ZEL collects video, audio, picture and subtitle files in a task list and\n"
    "converts them one after another with FFmpeg, to a chosen format or a\n"
    "ready-made profile. It also cuts and joins without re-encoding, converts\n"
    "between sixteen subtitle and lyric formats, edits subtitles against a\n"
    "playing video, builds karaoke videos and grabs frames and thumbnail sheets.\n"
    "Its texts are in Simplified Chinese. zel-cli drives the same engine from\n"
    "the command line.")
list(JOIN CPACK_DEBIAN_PACKAGE_DESCRIPTION "" CPACK_DEBIAN_PACKAGE_DESCRIPTION)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${ZEL_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The libraries' own packages come from shlibdeps; Qt's window system plugins
# are loaded at run time, which shlibdeps cannot see, and without the X11 one
# the window does not open at all.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ffmpeg, qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "mkvtoolnix, mencoder, fonts-wqy-microhei | fonts-noto-cjk, qt6-wayland")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)
