# What `cmake --install` lays down beside the libraries and the command: the headers, a pkg-config
# file and a CMake package, all relocatable.
include(CMakePackageConfigHelpers)

install(FILES include/qob_txeml.h include/qob_host.h
              host/include/qob_extract.h host/include/qob_notice.h
              host/include/qob_conf_language.h host/include/qob_charset_codes.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qob_txeml COMPONENT devel)
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT runtime)

file(RELATIVE_PATH QOB_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/qob_txeml.pc.in qob_txeml.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/qob_txeml.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT devel)

set(QOB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qob_txeml)
install(EXPORT qob_txeml NAMESPACE qob:: DESTINATION ${QOB_CMAKE_DIR} COMPONENT devel)
configure_package_config_file(cmake/qob_txeml-config.cmake.in qob_txeml-config.cmake
                              INSTALL_DESTINATION ${QOB_CMAKE_DIR})
write_basic_package_version_file(qob_txeml-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/qob_txeml-config.cmake
              ${CMAKE_BINARY_DIR}/qob_txeml-config-version.cmake
        DESTINATION ${QOB_CMAKE_DIR} COMPONENT devel)
