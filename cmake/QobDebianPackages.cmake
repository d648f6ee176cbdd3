# `cpack -G DEB` in the build directory makes the packages libqob-txeml5 (the filter and its host),
# libqob-txeml-dev (headers and what links against them) and emltext (the command with its format
# filters). What only they have is not part of a plain install.
set(QOB_MAINTAINER "qob_txeml maintainers <maintainers@example.org>" CACHE STRING
    "Who maintains the Debian packages, as the field Maintainer says it")
set(QOB_DEBIAN_DIR "${PROJECT_SOURCE_DIR}/packaging/debian")
set(QOB_RUNTIME_PACKAGE libqob-txeml${PROJECT_VERSION_MAJOR})

# gzip leaves time and name out, so that equal sources make equal packages.
find_program(QOB_GZIP gzip)
function(qob_compressed source name)
  cmake_path(ABSOLUTE_PATH source)
  add_custom_command(OUTPUT "${CMAKE_BINARY_DIR}/packaging/${name}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${CMAKE_BINARY_DIR}/packaging"
    COMMAND ${QOB_GZIP} -9nc "${source}" > "${CMAKE_BINARY_DIR}/packaging/${name}"
    DEPENDS "${source}" VERBATIM)
endfunction()

function(qob_debian_documents component package)
  install(FILES "${QOB_DEBIAN_DIR}/copyright"
                "${CMAKE_BINARY_DIR}/packaging/changelog.Debian.gz"
                "${CMAKE_BINARY_DIR}/packaging/changelog.gz"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

if(NOT QOB_GZIP)
  message(STATUS "gzip was not found: Debian packages cannot be made. Install gzip and configure "
                 "again if you want them.")
  return()
endif()
qob_compressed("${QOB_DEBIAN_DIR}/changelog" changelog.Debian.gz)
qob_compressed("${PROJECT_SOURCE_DIR}/CHANGELOG.md" changelog.gz)
qob_compressed("${PROJECT_SOURCE_DIR}/docs/man/emltext.1" emltext.1.gz)
add_custom_target(compressed_documents ALL DEPENDS
  "${CMAKE_BINARY_DIR}/packaging/changelog.Debian.gz"
  "${CMAKE_BINARY_DIR}/packaging/changelog.gz" "${CMAKE_BINARY_DIR}/packaging/emltext.1.gz")

qob_debian_documents(runtime ${QOB_RUNTIME_PACKAGE})
qob_debian_documents(devel libqob-txeml-dev)
qob_debian_documents(tools emltext)
install(FILES "${CMAKE_BINARY_DIR}/packaging/emltext.1.gz"
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools EXCLUDE_FROM_ALL)
install(FILES completions/_emltext DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
        COMPONENT tools EXCLUDE_FROM_ALL)
install(FILES examples/extract.c examples/index_folder.cpp examples/CMakeLists.txt
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libqob-txeml-dev/examples
        COMPONENT devel EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME qob-txeml)
set(CPACK_PACKAGE_CONTACT "${QOB_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime devel tools)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(this_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${QOB_RUNTIME_PACKAGE})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${QOB_DEBIAN_DIR}/triggers")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "emltext (= ${this_version})")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "text-extraction filter for e-mail messages
The principal header fields, the body decoded and converted to the charset
that you ask for, and the text of every attachment under its label.
.
This package holds the e-mail filter and the host libraries that give it
files, character conversion and type detection. The filters that read
attachments (PDF, office documents, archives and others) come with emltext.")

set(CPACK_DEBIAN_DEVEL_PACKAGE_NAME libqob-txeml-dev)
set(CPACK_DEBIAN_DEVEL_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVEL_PACKAGE_DEPENDS "${QOB_RUNTIME_PACKAGE} (= ${this_version})")
set(CPACK_DEBIAN_DEVEL_DESCRIPTION "text-extraction filter for e-mail messages - development files
Headers, pkg-config files, a CMake package and examples for programs that
extract the text of e-mail messages in their own process.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME emltext)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA "${QOB_DEBIAN_DIR}/triggers")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${QOB_RUNTIME_PACKAGE} (= ${this_version})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "antiword, catdoc")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "print the text of e-mail messages and their attachments
Reads message files, folders, Maildirs and mbox files and prints the principal
header fields, the body and the text of HTML, PDF, office documents, archives,
calendars and other attachments.
.
Made for whole archives: it works in several processes, each message under
limits of time and memory and in a sandbox, so that a damaged or hostile
message costs nothing but itself; it writes text files or JSON lines, tells
what failed and why, and goes on where it was interrupted.")

include(CPack)
