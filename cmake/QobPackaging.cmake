# What `cmake --install` lays down beside the libraries and the command: the headers, pkg-config files,
# a CMake package, the manual page, completions and examples; all relocatable.
include(CMakePackageConfigHelpers)

install(FILES include/qob_txeml.h include/qob_host.h
              host/include/qob_extract.h host/include/qob_notice.h host/include/qob_limits.h
              host/include/qob_filter.h host/include/qob_insert.h
              host/include/qob_conf_language.h host/include/qob_charset_codes.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qob_txeml COMPONENT devel)

# Programs call the host (qob_txif) or an entry point of the filter itself (qob_txeml).
file(RELATIVE_PATH QOB_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
foreach(name IN ITEMS qob_txeml qob_txif)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${name}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT devel)
endforeach()

set(QOB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qob_txeml)
install(EXPORT qob_txeml NAMESPACE qob:: DESTINATION ${QOB_CMAKE_DIR} COMPONENT devel)
configure_package_config_file(cmake/qob_txeml-config.cmake.in qob_txeml-config.cmake
                              INSTALL_DESTINATION ${QOB_CMAKE_DIR})
write_basic_package_version_file(qob_txeml-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/qob_txeml-config.cmake
              ${CMAKE_BINARY_DIR}/qob_txeml-config-version.cmake
        DESTINATION ${QOB_CMAKE_DIR} COMPONENT devel)

install(FILES completions/emltext.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME emltext
        COMPONENT tools)

# What lies elsewhere in Debian packages, or is compressed there: see QobDebianPackages.
install(FILES docs/man/emltext.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT local)
install(FILES completions/_emltext
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT local)
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT local)
install(FILES examples/extract.c examples/index_folder.cpp examples/CMakeLists.txt
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT local)

include(QobDebianPackages)
