# Installation as a desktop application (binary, desktop entry, AppStream metadata, icons, manual page) and the
# Debian package made from it with CPack.
include(GNUInstallDirs)

set(KESTOVAN_APP_ID "org.kestovan.Aerowen")
configure_file("${PROJECT_SOURCE_DIR}/resources/linux/${KESTOVAN_APP_ID}.metainfo.xml.in"
    "${PROJECT_BINARY_DIR}/${KESTOVAN_APP_ID}.metainfo.xml" @ONLY)

install(TARGETS kestovan-aerowen RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(TARGETS aerowen-pdf aerowen-print aerowen-network LIBRARY DESTINATION "${KESTOVAN_MODULE_INSTALL_DIR}")
install(FILES "${PROJECT_SOURCE_DIR}/resources/linux/${KESTOVAN_APP_ID}.desktop"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
install(FILES "${PROJECT_BINARY_DIR}/${KESTOVAN_APP_ID}.metainfo.xml"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
install(FILES "${PROJECT_SOURCE_DIR}/resources/icons/${KESTOVAN_APP_ID}.svg"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
foreach(size 48 64 128 256)
    install(FILES "${PROJECT_SOURCE_DIR}/resources/icons/${KESTOVAN_APP_ID}-${size}.png"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps"
        RENAME "${KESTOVAN_APP_ID}.png")
endforeach()
# Manual pages are installed compressed, as Debian's tools expect.
add_custom_command(OUTPUT "${PROJECT_BINARY_DIR}/kestovan-aerowen.1.gz"
    COMMAND gzip -9 -n -c "${PROJECT_SOURCE_DIR}/docs/kestovan-aerowen.1" > "${PROJECT_BINARY_DIR}/kestovan-aerowen.1.gz"
    DEPENDS "${PROJECT_SOURCE_DIR}/docs/kestovan-aerowen.1")
add_custom_target(manual ALL DEPENDS "${PROJECT_BINARY_DIR}/kestovan-aerowen.1.gz")
install(FILES "${PROJECT_BINARY_DIR}/kestovan-aerowen.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")

set(CPACK_PACKAGE_NAME "kestovan-aerowen")
set(CPACK_PACKAGE_VENDOR "Kestovan")
set(CPACK_PACKAGE_CONTACT "Kestovan <aerowen@${KESTOVAN_MAKER_HOST}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Study for the US amateur radio licence exams")
set(CPACK_PACKAGE_DESCRIPTION "Kestovan Aerowen holds the official NCVEC question pools for the Technician, \
General and Amateur Extra exams, and lets learners study every question and sit timed practice exams composed \
like the official ones.")
set(CPACK_PACKAGE_INSTALL_DIRECTORY "kestovan-aerowen")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "education")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://${KESTOVAN_MAKER_HOST}/software/aerowen/")
# Libraries come from dpkg-shlibdeps. Named here: the programs the application runs as child processes, and the
# libraries it loads only for a pool update: text recognition, when it reads an image, and cryptography, whose
# hashing is faster than the toolkit's.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "curl, unzip, libtesseract5, tesseract-ocr-eng, libssl3")
set(CPACK_GENERATOR "DEB")
include(CPack)
