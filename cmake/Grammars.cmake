# The tree-sitter core and the sixteen grammars, compiled from the sources that npm installed. These
# files stay unchanged: the engine's changes are made by compiler options, by headers that are included
# first, and in copies of a few files of the core.
#
#   treesitter_engine_core            the library, public header <tree_sitter/api.h>
#   treesitter_engine_core_internals  adds the core's private headers (<lib/src/subtree.h>)
#   treesitter_engine_grammars        every grammar, behind one interface target
if(NOT EXISTS "${TREESITTER_ENGINE_NODE_MODULES}/tree-sitter/package.json")
  message(FATAL_ERROR
    "The tree-sitter sources are not installed (no ${TREESITTER_ENGINE_NODE_MODULES}): "
    "run ./run, or npm ci, in ${PROJECT_SOURCE_DIR} first.")
endif()

# _third_party_target(TARGET): the options that the core and every grammar share.
function(_third_party_target target)
  set_target_properties(${target} PROPERTIES
    C_STANDARD 11
    C_EXTENSIONS ON  # endian.h and fdopen are declared under gnu11 and not under c11
    C_VISIBILITY_PRESET hidden
    UNITY_BUILD OFF
    POSITION_INDEPENDENT_CODE ON)
  # These follow the flags of the build type, so they win in every configuration:
  # -O2               a parser at -O0 makes every test run wait;
  # -UNDEBUG          without assertions two scanners would corrupt memory;
  # -fexceptions      our guards throw through these C frames;
  # -fno-semantic-interposition  these functions are never replaced, so they may be inlined under -fPIC.
  target_compile_options(${target} PRIVATE
    -w -O2 -UNDEBUG -fexceptions -fno-semantic-interposition)
  # A failed assertion ends the parse and not the process:
  # engines/treesitter/parsing/parser.cpp defines this function.
  target_compile_definitions(${target} PRIVATE __assert_fail=treesitter_engine_assert_fail)
endfunction()

include("${CMAKE_CURRENT_LIST_DIR}/SourceDigest.cmake")

set(_core "${TREESITTER_ENGINE_NODE_MODULES}/tree-sitter/vendor/tree-sitter/lib")
set(_core_copy "${PROJECT_BINARY_DIR}/generated/core")
configure_file("${_core}/src/lib.c" "${_core_copy}/lib.c" COPYONLY)

# _replace_in_core(FILE HEADER FUNCTION...): copies the core's FILE beside the copy of lib.c, from
# which the core is compiled. In the copy, HEADER is included before the first FUNCTION and defines all
# of them; the core's own functions get names that begin with published_. A FUNCTION is given as its
# definition up to the name, and one that is not in FILE exactly once ends the build.
function(_replace_in_core file header)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${_core}/src/${file}")
  file(READ "${_core}/src/${file}" text)
  set(include "#include \"${header}\"\n")
  foreach(function ${ARGN})
    string(REGEX REPLACE "([a-z_]+)$" "published_\\1(" renamed "${function}")
    string(FIND "${text}" "\n${function}(" first)
    string(FIND "${text}" "\n${function}(" last REVERSE)
    if(first EQUAL -1 OR NOT first EQUAL last)
      message(FATAL_ERROR "The core's ${file} does not define '${function}' once; see cmake/${header}")
    endif()
    string(REPLACE "\n${function}(" "\n${include}${renamed}" text "${text}")
    set(include "")
  endforeach()
  file(WRITE "${_core_copy}/${file}.new" "${text}")
  configure_file("${_core_copy}/${file}.new" "${_core_copy}/${file}" COPYONLY)
  set(_replaced "${_replaced}/${file}" PARENT_SCOPE)
endfunction()

_replace_in_core(stack.c core_stack.h "static void stack_node_release"
  "static StackNode *stack_node_new" "static StackVersion ts_stack__add_version"
  "StackSliceArray ts_stack_pop_count" "forceinline StackAction pop_all_callback")
_replace_in_core(parser.c core_parser.h "static void ts_parser__log"
  "static StackVersion ts_parser__reduce")
_replace_in_core(subtree.c core_subtree.h "void ts_subtree_summarize_children")
_replace_in_core(lexer.c core_lexer.h "static void ts_lexer__advance"
  "static void ts_lexer__mark_end")

# treesitter_engine_compile_core(TARGET): gives TARGET, which has a copy of lib.c, the core's options.
function(treesitter_engine_compile_core target)
  _third_party_target(${target})
  target_include_directories(${target} SYSTEM PUBLIC "${_core}/include"
    PRIVATE "${_core}/src" "${PROJECT_SOURCE_DIR}/cmake")
  target_compile_definitions(${target} PRIVATE TREE_SITTER_HIDDEN_SYMBOLS)
  # The core copies many small structures just after writing their fields. These optimisations turn
  # the copies into wide loads, which wait for the stores: 3 % of a parse. Without them the fields are
  # copied from registers.
  target_compile_options(${target} PRIVATE
    $<$<C_COMPILER_ID:GNU>:-fno-tree-vectorize -fno-store-merging>
    -include "${PROJECT_SOURCE_DIR}/cmake/allocator.h")
endfunction()

set(treesitter_engine_published_core "${_core}/src/lib.c")  # for the test of the replaced functions
add_library(treesitter_engine_core STATIC "${_core_copy}/lib.c")
treesitter_engine_compile_core(treesitter_engine_core)
# Unused by the code. It makes Ninja and ccache compile the core anew when one more of its files is
# copied, which they would not notice.
target_compile_definitions(treesitter_engine_core PRIVATE "TREESITTER_ENGINE_REPLACED=${_replaced}")
# Core and scanners call functions of the engine, so the linker has to read it again behind them.
target_link_libraries(treesitter_engine_core PRIVATE $<LINK_ONLY:treesitter_engine>)

# The private headers are included from above their folder (<lib/src/subtree.h>), since the folder has
# copies of some ICU headers that would hide the installed ones.
add_library(treesitter_engine_core_internals INTERFACE)
target_link_libraries(treesitter_engine_core_internals INTERFACE treesitter_engine_core)
target_include_directories(treesitter_engine_core_internals SYSTEM INTERFACE "${_core}/..")

add_library(treesitter_engine_grammars INTERFACE)
target_link_libraries(treesitter_engine_grammars INTERFACE treesitter_engine_core)
set(_grammar_versions "")
set(TREESITTER_ENGINE_GRAMMAR_PACKAGES "")  # as npm names them
file(WRITE "${PROJECT_BINARY_DIR}/generated/digested_files" "")

# _package_version(PACKAGE VARIABLE): the version in an installed package's package.json.
function(_package_version package variable)
  set(manifest "${TREESITTER_ENGINE_NODE_MODULES}/${package}/package.json")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${manifest}")
  file(READ "${manifest}" text)
  string(JSON version GET "${text}" version)
  set(${variable} "${version}" PARENT_SCOPE)
endfunction()

# _digest(VARIABLE PACKAGE FILE... [FOLDERS FOLDER...] [ALSO FILE...] [WITH FILE...]): the digest of the
# package's files that are compiled (treesitter_engine_compiled_files) and of our files that change
# them: the FILEs after WITH, beside this file, and this file. generated/digested_files lists the
# package's.
function(_digest variable package)
  cmake_parse_arguments(PARSE_ARGV 2 "" "" "" "FOLDERS;ALSO;WITH")
  set(root "${TREESITTER_ENGINE_NODE_MODULES}/${package}")
  treesitter_engine_compiled_files(files ${_UNPARSED_ARGUMENTS} FOLDERS ${_FOLDERS} ALSO ${_ALSO})
  list(JOIN files "\n" listed)
  file(APPEND "${PROJECT_BINARY_DIR}/generated/digested_files" "${listed}\n")
  treesitter_engine_digest(theirs "${root}" ${files})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${files})
  list(TRANSFORM _WITH PREPEND "${PROJECT_SOURCE_DIR}/cmake/" OUTPUT_VARIABLE files)
  list(APPEND files "${PROJECT_SOURCE_DIR}/cmake/Grammars.cmake")
  treesitter_engine_digest(ours "${PROJECT_SOURCE_DIR}" ${files})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${files})
  string(SHA256 digest "${theirs} ${ours}")
  set(${variable} ${digest} PARENT_SCOPE)
endfunction()

# _grammar(NAME PACKAGE [FOLDER] [ALSO FILE]): a static library of PACKAGE/[FOLDER/]src, which defines
# tree_sitter_NAME(). FILE is a file there that the scanner includes by a macro.
function(_grammar name package)
  cmake_parse_arguments(PARSE_ARGV 2 "" "" "ALSO" "")
  cmake_path(APPEND source "${TREESITTER_ENGINE_NODE_MODULES}" "${package}" ${_UNPARSED_ARGUMENTS} src)
  list(TRANSFORM _ALSO PREPEND "${source}/")
  set(target treesitter_engine_grammar_${name})
  add_library(${target} STATIC "${source}/parser.c")
  _third_party_target(${target})
  target_include_directories(${target} SYSTEM PRIVATE "${source}")
  target_compile_definitions(${target} PRIVATE TREE_SITTER_HIDE_SYMBOLS TREE_SITTER_REUSE_ALLOCATOR)
  set(forced "${PROJECT_SOURCE_DIR}/cmake/parser_prelude.h")
  set_source_files_properties("${source}/parser.c" PROPERTIES
    COMPILE_OPTIONS "-include;${forced}"
    OBJECT_DEPENDS "${forced};${PROJECT_SOURCE_DIR}/cmake/lexer_step.h")
  if(EXISTS "${source}/scanner.c")
    target_sources(${target} PRIVATE "${source}/scanner.c")
    set(forced "${PROJECT_SOURCE_DIR}/cmake/scanner_prelude.h")
    set_source_files_properties("${source}/scanner.c" PROPERTIES
      COMPILE_OPTIONS "-include;${forced}" OBJECT_DEPENDS "${forced}")
  endif()
  target_link_libraries(${target} PRIVATE treesitter_engine_core)
  target_link_libraries(treesitter_engine_grammars INTERFACE ${target})
  _package_version(${package} version)
  get_target_property(sources ${target} SOURCES)
  _digest(digest ${package} ${sources} FOLDERS "${source}" ALSO ${_ALSO}
    WITH allocator.h lexer_step.h parser_prelude.h scanner_prelude.h scanner_state.h)
  string(APPEND _grammar_versions
    "    {\"${name}\", \"${version}\",\n     \"${digest}\"},\n")
  set(_grammar_versions "${_grammar_versions}" PARENT_SCOPE)
  list(APPEND TREESITTER_ENGINE_GRAMMAR_PACKAGES ${package})
  list(REMOVE_DUPLICATES TREESITTER_ENGINE_GRAMMAR_PACKAGES)
  set(TREESITTER_ENGINE_GRAMMAR_PACKAGES ${TREESITTER_ENGINE_GRAMMAR_PACKAGES} PARENT_SCOPE)
endfunction()

_grammar(c_sharp tree-sitter-c-sharp)
_grammar(go tree-sitter-go)
_grammar(java tree-sitter-java)
_grammar(javascript tree-sitter-javascript)
_grammar(json tree-sitter-json)
_grammar(markdown @tree-sitter-grammars/tree-sitter-markdown tree-sitter-markdown)
_grammar(php tree-sitter-php php)
_grammar(python tree-sitter-python)
_grammar(ruby tree-sitter-ruby)
_grammar(rust tree-sitter-rust)
_grammar(sql @derekstride/tree-sitter-sql)
_grammar(toml @tree-sitter-grammars/tree-sitter-toml)
_grammar(tsx tree-sitter-typescript tsx)
_grammar(typescript tree-sitter-typescript typescript)
_grammar(xml @tree-sitter-grammars/tree-sitter-xml xml)
_grammar(yaml @tree-sitter-grammars/tree-sitter-yaml ALSO schema.core.c)
target_compile_definitions(treesitter_engine_grammar_yaml PRIVATE TREESITTER_ENGINE_WIDE_ROWS)

# The versions that are compiled in, for --version and for hosts. A header, since only half of the
# grammars have their version in their own data.
_package_version(tree-sitter _core_version)
# What replaces functions of the core was written after those of this version; another version's may do
# more.
set(_compared_core 0.25.1)
if(NOT _core_version STREQUAL _compared_core)
  message(FATAL_ERROR "The core is of version ${_core_version}. Compare the functions that cmake/core_*.h "
    "replaces with those of ${_compared_core}, then name the new version in cmake/Grammars.cmake.")
endif()
_digest(_core_digest tree-sitter "${_core}/src/lib.c" FOLDERS "${_core}/src" "${_core}/include"
  WITH allocator.h core_lexer.h core_parser.h core_stack.h core_subtree.h lexer_step.h)
configure_file("${CMAKE_CURRENT_LIST_DIR}/versions.h.in"
               "${PROJECT_BINARY_DIR}/generated/engines/languages/versions.h" @ONLY)
target_include_directories(treesitter_engine_grammars INTERFACE "${PROJECT_BINARY_DIR}/generated")
