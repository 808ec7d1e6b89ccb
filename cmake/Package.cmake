# What `cmake --install` installs. Debian.cmake makes packages of its components.
#
#   the library, as one archive      libtreesitter-engine.a
#   the public headers               include/treesitter-engine
#   find_package(treesitter-engine)  with the target treesitter-engine::treesitter-engine
#   pkg-config treesitter-engine
#   the tool                         bin/treesitter-engine; its pages: tool/manual/CMakeLists.txt
#   the Python module                see bindings/python/CMakeLists.txt
#   LICENSE, and the notices of third-party code: see Licences.cmake
#
# Tested by tests/package.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# ---- The library ----

# The engine, the core and the grammars are one object, in which all names of C are local, so that a
# host may link another tree-sitter too. An archive of several objects could not hide the names.
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
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev)

# ---- Its headers ----

# Installed below a folder of their own, with the same paths as here.
foreach(_header engines/languages/languages.h engines/treesitter/treesitter.h
                engines/treesitter/records.h engines/treesitter/report.h
                engines/treesitter/build_info.h
                engines/treesitter/cancellation/cancellation.h
                engines/treesitter/core/log.h engines/treesitter/text/text.h models/symbol.h)
  cmake_path(GET _header PARENT_PATH _folder)
  install(FILES "${PROJECT_SOURCE_DIR}/${_header}"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/treesitter-engine/${_folder}" COMPONENT dev)
endforeach()
install(FILES "${PROJECT_BINARY_DIR}/generated/engines/languages/versions.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/treesitter-engine/engines/languages" COMPONENT dev)

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
  DESTINATION "${_config}" COMPONENT dev)
install(EXPORT treesitter-engine NAMESPACE treesitter-engine:: DESTINATION "${_config}"
  FILE treesitter-engine-targets.cmake COMPONENT dev)

# The prefix is relative to the file, so that an installation can be moved.
file(RELATIVE_PATH _to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/treesitter-engine.pc.in"
               "${PROJECT_BINARY_DIR}/package/treesitter-engine.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/package/treesitter-engine.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)

# ---- The tool, the licences ----

if(TARGET treesitter_engine_command)
  install(TARGETS treesitter_engine_command RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
endif()
include("${CMAKE_CURRENT_LIST_DIR}/Licences.cmake")

# ---- The documentation ----

# README.md and the files that it links to, with the same relative paths, so that the links work.
file(GLOB _pages RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/doc/*.md")
set(_documents README.md CHANGELOG.md CONTRIBUTING.md doc examples)
foreach(_page README.md CONTRIBUTING.md ${_pages})
  file(READ "${PROJECT_SOURCE_DIR}/${_page}" _text)
  string(REPLACE "](" "<" _text "${_text}")  # brackets would keep a list from being split
  string(REGEX MATCHALL "<[^)#: ]+" _links "${_text}")
  cmake_path(GET _page PARENT_PATH _folder)
  foreach(_link ${_links})
    string(SUBSTRING "${_link}" 1 -1 _link)
    cmake_path(APPEND _folder "${_link}" OUTPUT_VARIABLE _link)
    cmake_path(NORMAL_PATH _link)
    # Links to other sites are no files here. Debian has LICENSE in the file `copyright`.
    if(EXISTS "${PROJECT_SOURCE_DIR}/${_link}" AND NOT _link MATCHES "^(doc|examples)/|^LICENSE$")
      list(APPEND _documents "${_link}")
    endif()
  endforeach()
endforeach()
list(REMOVE_DUPLICATES _documents)
foreach(_document ${_documents})
  cmake_path(GET _document PARENT_PATH _folder)
  if(IS_DIRECTORY "${PROJECT_SOURCE_DIR}/${_document}")
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/${_document}"
      DESTINATION "${CMAKE_INSTALL_DOCDIR}/${_folder}" COMPONENT doc
      PATTERN __pycache__ EXCLUDE)
  else()
    install(FILES "${PROJECT_SOURCE_DIR}/${_document}"
      DESTINATION "${CMAKE_INSTALL_DOCDIR}/${_folder}" COMPONENT doc)
  endif()
endforeach()

# A host makes packages of its own.
if(PROJECT_IS_TOP_LEVEL)
  include("${CMAKE_CURRENT_LIST_DIR}/Debian.cmake")
  include(CPack)
endif()
