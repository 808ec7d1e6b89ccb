# What `cmake --install` gives, and the Debian package that `cpack` makes of it:
#
#   the library, as one archive      libtreesitter-engine.a
#   the public headers               include/treesitter-engine
#   find_package(treesitter-engine)  with the target treesitter-engine::treesitter-engine
#   pkg-config treesitter-engine
#   the tool                         bin/treesitter-engine
#   the Python module                see bindings/python/CMakeLists.txt
#   LICENSE, and the notices of what is compiled in: see Licences.cmake
#
# Tested by tests/package.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "source-code parsing engine for code indexers")

# ---- The library ----

# The engine, the core and the grammars as one object, in which all names of C are local: a host may
# link another tree-sitter beside it. An archive of several objects could not hide them.
set(_parts treesitter_engine treesitter_engine_languages treesitter_engine_models treesitter_engine_core)
get_target_property(_grammars treesitter_engine_grammars INTERFACE_LINK_LIBRARIES)
list(APPEND _parts ${_grammars})
list(REMOVE_DUPLICATES _parts)
list(TRANSFORM _parts REPLACE "(.+)" "$<TARGET_FILE:\\1>" OUTPUT_VARIABLE _archives)
set(_merged "${PROJECT_BINARY_DIR}/package/treesitter-engine.o")
add_custom_command(
  OUTPUT "${_merged}"
  COMMAND ${CMAKE_COMMAND}
    "-DCOMPILER=${CMAKE_CXX_COMPILER}" "-DNM=${CMAKE_NM}" "-DOBJCOPY=${CMAKE_OBJCOPY}"
    "-DLINK_TIME_OPTIMISATION=${CMAKE_INTERPROCEDURAL_OPTIMIZATION}"
    "-DARCHIVES=${_archives}" "-DOUTPUT=${_merged}"
    -P "${CMAKE_CURRENT_LIST_DIR}/MergeObjects.cmake"
  DEPENDS ${_parts} "${CMAKE_CURRENT_LIST_DIR}/MergeObjects.cmake"
  COMMENT "Merging the library into one object"
  VERBATIM)
set_source_files_properties("${_merged}" PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)

add_library(treesitter_engine_package STATIC "${_merged}")
set_target_properties(treesitter_engine_package PROPERTIES
  LINKER_LANGUAGE CXX
  INTERPROCEDURAL_OPTIMIZATION OFF
  OUTPUT_NAME treesitter-engine
  ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/package"
  EXPORT_NAME treesitter-engine)
target_compile_features(treesitter_engine_package INTERFACE cxx_std_20)
target_include_directories(treesitter_engine_package INTERFACE
  "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/treesitter-engine>")
target_link_libraries(treesitter_engine_package INTERFACE
  ICU::uc OpenSSL::Crypto PkgConfig::TREESITTER_ENGINE_PCRE2 Threads::Threads)

install(TARGETS treesitter_engine_package EXPORT treesitter-engine
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")

# ---- Its headers ----

# They are included by the paths that they have here, below a folder of their own.
foreach(_header engines/languages/languages.h engines/treesitter/treesitter.h
                engines/treesitter/records.h engines/treesitter/report.h
                engines/treesitter/build_info.h
                engines/treesitter/core/cancellation.h
                engines/treesitter/core/log.h engines/treesitter/core/text.h models/symbol.h)
  cmake_path(GET _header PARENT_PATH _folder)
  install(FILES "${PROJECT_SOURCE_DIR}/${_header}"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/treesitter-engine/${_folder}")
endforeach()
install(FILES "${PROJECT_BINARY_DIR}/generated/engines/languages/versions.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/treesitter-engine/engines/languages")

# ---- What finds it ----

set(_config "${CMAKE_INSTALL_LIBDIR}/cmake/treesitter-engine")
configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/treesitter-engine-config.cmake.in"
  "${PROJECT_BINARY_DIR}/package/treesitter-engine-config.cmake"
  INSTALL_DESTINATION "${_config}")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/package/treesitter-engine-config-version.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/package/treesitter-engine-config.cmake"
  "${PROJECT_BINARY_DIR}/package/treesitter-engine-config-version.cmake"
  DESTINATION "${_config}")
install(EXPORT treesitter-engine NAMESPACE treesitter-engine:: DESTINATION "${_config}"
  FILE treesitter-engine-targets.cmake)

# The prefix is found from where the file lies, so that an installation can be moved.
file(RELATIVE_PATH _to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/treesitter-engine.pc.in"
               "${PROJECT_BINARY_DIR}/package/treesitter-engine.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/package/treesitter-engine.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# ---- The tool, the licences ----

if(TARGET treesitter_engine_command)
  install(TARGETS treesitter_engine_command RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
include("${CMAKE_CURRENT_LIST_DIR}/Licences.cmake")

# ---- The Debian package ----

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME treesitter-engine)
set(CPACK_PACKAGE_CONTACT "treesitter-engine maintainers <maintainers@treesitter-engine.example>")
set(CPACK_PACKAGE_DESCRIPTION
  "Parses source files of sixteen languages into symbols and references: a tool, a Python module\n"
  "and a library for C++.")
list(JOIN CPACK_PACKAGE_DESCRIPTION "" CPACK_PACKAGE_DESCRIPTION)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Who builds against the archive needs these; who runs the tool or the module does not.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "g++, pkg-config, libicu-dev, libpcre2-dev, libssl-dev")
if(TARGET treesitter_engine_python)
  # The module is of this version of Python and no other.
  math(EXPR _next "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "python3 (>= 3.${Python3_VERSION_MINOR}), python3 (<< 3.${_next})")
endif()
# A host makes packages of its own.
if(PROJECT_IS_TOP_LEVEL)
  include(CPack)
endif()
