# What every target of the project is built with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

# Libraries and the command find each other in the build tree and after relocation alike.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

set(QOB_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")
if(QOB_SANITIZE)
  # GCC 12 takes instrumented standard headers for uses of uninitialised memory; clang has no such
  # warning.
  add_compile_options(-fsanitize=${QOB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
                      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${QOB_SANITIZE})
endif()

# A shared library of the framework: lib<name>.so.5 with exactly that soname, and the interface
# headers for whoever links it. Format filters (host/filters) are loaded, never linked: they come with
# the command, without a link for the linker, and no other project sees them as targets.
function(qob_library name)
  target_include_directories(${name} PUBLIC
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/host/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/qob_txeml>")
  string(REGEX REPLACE "^qob_" "" export_name ${name})
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} EXPORT_NAME ${export_name}
                        SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN")
  set(filters "${PROJECT_SOURCE_DIR}/host/filters")
  cmake_path(IS_PREFIX filters "${CMAKE_CURRENT_SOURCE_DIR}" is_filter)
  if(is_filter)
    install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT tools NAMELINK_SKIP)
  else()
    install(TARGETS ${name} EXPORT qob_txeml LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT runtime NAMELINK_COMPONENT devel)
  endif()
endfunction()
