# Where `cmake --install` puts things, below its prefix. On Debian and its like libraries go into the
# directory of their architecture, which the linker, pkg-config and CMake search below /usr and
# /usr/local alike.
if(NOT DEFINED CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS "/etc/debian_version")
  set(CMAKE_INSTALL_LIBDIR "lib/${CMAKE_LIBRARY_ARCHITECTURE}"
      CACHE PATH "Object code libraries, below the prefix")
endif()
include(GNUInstallDirs)
