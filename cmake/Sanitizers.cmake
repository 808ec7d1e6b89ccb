# Sanitizers for the whole build. They instrument the core and the grammars too: faults that we cause
# may show there, and ThreadSanitizer has to see every access. No check is switched off for third-party
# code but one leak (sanitizer_defaults.cpp).
if(NOT TREESITTER_ENGINE_SANITIZE)
  return()
endif()

add_compile_options(
  -fsanitize=${TREESITTER_ENGINE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
add_link_options(-fsanitize=${TREESITTER_ENGINE_SANITIZE})
# libFuzzer sees which paths an input takes, in the core and the grammars too. Comparisons are not
# traced: that would take more than half of the time, and our mutator inserts the grammars' words.
if(TREESITTER_ENGINE_FUZZ)
  add_compile_options(-fsanitize-coverage=inline-8bit-counters,pc-table)
endif()

# Linked into every executable of ours by treesitter_engine_target.
add_library(treesitter_engine_sanitizer_defaults OBJECT cmake/sanitizer_defaults.cpp)
set_target_properties(treesitter_engine_sanitizer_defaults PROPERTIES POSITION_INDEPENDENT_CODE ON)
