# The Debian packages, made by `cpack` of the components that the install rules name:
#
#   tool    treesitter-engine          the command, its manual pages and completions
#   cluster treesitter-cluster         the command that runs it over a Dask cluster
#   dev     libtreesitter-engine-dev   the archive, its headers, and what finds them
#   python  python3-treesitter         the module for Debian's Python
#   doc     treesitter-engine-doc      README.md, doc/ and examples/
#
# Refused: a folder debian/ for debhelper. It would repeat the install rules, and tree-sitter's
# sources, which npm installs, are in no source package. debian/prepare does to the files what
# debhelper does. scripts/build_deb makes the packages for users, optimised by a profile.
#
# Tested by tests/package/test_deb.py, and by scripts/check_deb, which installs them into a new system.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL dev doc)
if(TARGET treesitter_engine_command)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
if(TARGET treesitter_engine_cluster_manual)
  list(APPEND CPACK_COMPONENTS_ALL cluster)
endif()
if(TARGET treesitter_engine_python)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(CPACK_PACKAGE_NAME treesitter-engine)
set(CPACK_PACKAGE_CONTACT "treesitter-engine maintainers <maintainers@treesitter-engine.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The permissions do not depend on the umask of the build.
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Lines of at most 79 characters with their indentation.
set(_what "Given source files in sixteen languages, the engine returns the symbols that\n\
each declares (kind, qualified name, signature, documentation) and the\n\
references that it makes. Every parse is guarded: no file hangs the process,\n\
ends it or makes it grow without bound.\n")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME treesitter-engine)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS treesitter-engine-doc)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "source-code parsing engine for code indexers\n${_what}\n\
This package has the command, which prints records or tags files, keeps the\n\
index of a repository and answers questions from it.")

set(CPACK_DEBIAN_CLUSTER_PACKAGE_NAME treesitter-cluster)
set(CPACK_DEBIAN_CLUSTER_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_CLUSTER_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_CLUSTER_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_CLUSTER_PACKAGE_DEPENDS "python3 (>= 3.11), python3-distributed, python3-zstandard, \
treesitter-engine (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_CLUSTER_PACKAGE_RECOMMENDS git)
set(CPACK_DEBIAN_CLUSTER_PACKAGE_SUGGESTS treesitter-engine-doc)
set(CPACK_DEBIAN_CLUSTER_DESCRIPTION "source-code parsing engine over a Dask cluster\n${_what}\n\
This package parses millions of files, of folders and of bare repositories,\n\
into compressed shards of records by the workers of a Dask cluster.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtreesitter-engine-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libicu-dev, libpcre2-dev, libssl-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "pkg-config, treesitter-engine-doc")
set(CPACK_DEBIAN_DEV_DESCRIPTION "source-code parsing engine for code indexers (C++ library)\n${_what}\n\
This package has the library for C++20, as one archive that hides the\n\
tree-sitter that it holds, with its headers and what CMake and pkg-config\n\
find it by.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-treesitter)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS treesitter-engine-doc)
if(TARGET treesitter_engine_python)
  # The module is for this version of Python only.
  math(EXPR _next "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= 3.${Python3_VERSION_MINOR}), python3 (<< 3.${_next})")
endif()
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "source-code parsing engine for code indexers (Python module)\n${_what}\n\
This package has the module treesitter, with stubs for type checkers.")

set(CPACK_DEBIAN_DOC_PACKAGE_NAME treesitter-engine-doc)
set(CPACK_DEBIAN_DOC_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOC_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOC_DESCRIPTION "source-code parsing engine for code indexers (documentation)\n${_what}\n\
This package describes the engine, its records and its design, and has\n\
examples: a source in each language, and an indexer.")

# For debian/prepare.cmake. CPack passes variables on whose names begin with CPACK_.
set(CPACK_TREESITTER_ENGINE_PREPARE "${CMAKE_CURRENT_LIST_DIR}/debian/prepare")
set(CPACK_TREESITTER_ENGINE_SOURCE "${PROJECT_SOURCE_DIR}")
set(CPACK_TREESITTER_ENGINE_NOTICES "${TREESITTER_ENGINE_NOTICES}")
set(CPACK_TREESITTER_ENGINE_STRIP "${CMAKE_STRIP}")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/debian/prepare.cmake")
