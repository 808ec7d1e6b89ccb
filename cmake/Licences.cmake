# The notices of all third-party code in our builds. `cmake --install` installs them beside LICENSE.
#
#   TREESITTER_ENGINE_NOTICES   "NAME|FILE" for each library; NAME is the name of the installed file
#
# Packages of npm contain their notices. Not all packages of the system do, so licences/ has those of
# libraries that are linked statically, of those whose inline functions or templates are compiled in,
# and of those that only a build without shared libraries links. ICU's lacks the notices of the scripts
# by which ICU itself is built.
#
# tests/package/test_licences.py compares the table with the compiled and linked files.
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
