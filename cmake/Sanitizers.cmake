# Sanitizers for the whole build. They instrument the core and the grammars too: a fault that we
# provoke shows itself there, and ThreadSanitizer needs to see every access to be believed. No check
# is switched off for third-party code, since none was found to need it.
if(NOT TREESITTER_ENGINE_SANITIZE)
  return()
endif()

add_compile_options(
  -fsanitize=${TREESITTER_ENGINE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
add_link_options(-fsanitize=${TREESITTER_ENGINE_SANITIZE})
# libFuzzer learns which paths an input took, in the core and the grammars too. Comparisons are not
# traced: that takes more than half of the time, and the words of a grammar come from our mutator.
if(TREESITTER_ENGINE_FUZZ)
  add_compile_options(-fsanitize-coverage=inline-8bit-counters,pc-table)
endif()

# Linked into every executable of ours by treesitter_engine_target.
add_library(treesitter_engine_sanitizer_defaults OBJECT cmake/sanitizer_defaults.cpp)
set_target_properties(treesitter_engine_sanitizer_defaults PROPERTIES POSITION_INDEPENDENT_CODE ON)
