# Installation for hosts: the libraries, the public headers, a CMake package with the imported
# targets imgtarn::imgtarn and imgtarn::vision, a pkg-config file for each library, and a .deb
# through CPack.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS imgtarn EXPORT imgtarnTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
# The typed API's targets go in an export set of their own: the package file loads them only
# when OpenCV is found, so hosts of the binary contract need no OpenCV development files.
install(TARGETS imgtarn_vision EXPORT imgtarnVisionTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/imgtarn
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

set(IMGTARN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/imgtarn)
install(EXPORT imgtarnTargets NAMESPACE imgtarn:: DESTINATION ${IMGTARN_CMAKE_DIR}
        COMPONENT dev)
install(EXPORT imgtarnVisionTargets NAMESPACE imgtarn:: DESTINATION ${IMGTARN_CMAKE_DIR}
        COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/imgtarnConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/imgtarnConfig.cmake
                              INSTALL_DESTINATION ${IMGTARN_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/imgtarnConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/imgtarnConfig.cmake
              ${PROJECT_BINARY_DIR}/imgtarnConfigVersion.cmake
        DESTINATION ${IMGTARN_CMAKE_DIR} COMPONENT dev)

foreach(pc IN ITEMS imgtarn imgtarn-vision)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME imgtarn)
set(CPACK_PACKAGE_VENDOR "imgtarn")
set(CPACK_PACKAGE_CONTACT "imgtarn developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Machine-vision operations for solder-paste inspection hosts")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
include(CPack)
