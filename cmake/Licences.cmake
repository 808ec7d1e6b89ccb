# Whose code is in what we build, and the notice that has to travel with it: the table below, and
# `cmake --install` puts every notice beside LICENSE.
#
#   TREESITTER_ENGINE_NOTICES   for each library "NAME|FILE": NAME becomes the installed file's
#
# What npm installs brings its notice along. What comes from the system does not everywhere, so those
# texts are kept in licences/: of what is linked statically or of whose headers functions and
# templates are compiled in, and of what a build without shared libraries links. ICU's is without the
# notices of the scripts that ICU itself is built by.
#
# tests/package/test_licences.py compares the table with what is truly compiled and linked.
include(GNUInstallDirs)

set(TREESITTER_ENGINE_NOTICES "")
foreach(_name CLI11 GCC-runtime ICU OpenSSL PCRE2 Python SQLite SQLiteCpp Zstandard nlohmann-json)
  list(APPEND TREESITTER_ENGINE_NOTICES "${_name}|${PROJECT_SOURCE_DIR}/licences/${_name}")
endforeach()

set(_core_folder "${TREESITTER_ENGINE_NODE_MODULES}/tree-sitter")
list(APPEND TREESITTER_ENGINE_NOTICES
  "tree-sitter|${_core_folder}/LICENSE"
  "tree-sitter-unicode|${_core_folder}/vendor/tree-sitter/lib/src/unicode/LICENSE")
foreach(_package ${TREESITTER_ENGINE_GRAMMAR_PACKAGES})
  cmake_path(GET _package FILENAME _name)
  list(APPEND TREESITTER_ENGINE_NOTICES "${_name}|${TREESITTER_ENGINE_NODE_MODULES}/${_package}/LICENSE")
endforeach()

foreach(_notice ${TREESITTER_ENGINE_NOTICES})
  string(REGEX MATCH "^([^|]+)\\|(.+)$" _ "${_notice}")
  install(FILES "${CMAKE_MATCH_2}" DESTINATION "${CMAKE_INSTALL_DOCDIR}/licences"
    RENAME "${CMAKE_MATCH_1}")
endforeach()
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
