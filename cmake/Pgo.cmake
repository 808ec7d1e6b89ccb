# Profile-guided optimisation, in two builds: one counts what the engine does over a training set,
# the next is compiled for that, core and grammars included, and optimised once more as a whole when
# it is linked. scripts/build_pgo makes both and trains in between; the presets are pgo-train and pgo.
#
#   TREESITTER_ENGINE_PGO           "" (none), "generate" or "use"
#   TREESITTER_ENGINE_PGO_PROFILES  the folder where the counts are written and read
set(TREESITTER_ENGINE_PGO "" CACHE STRING "Profile-guided optimisation: generate or use")
set_property(CACHE TREESITTER_ENGINE_PGO PROPERTY STRINGS "" generate use)
set(TREESITTER_ENGINE_PGO_PROFILES "${PROJECT_SOURCE_DIR}/build/pgo-profiles" CACHE PATH
    "Where the counts of a training are")
if(NOT TREESITTER_ENGINE_PGO)
  return()
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  message(FATAL_ERROR "Profile-guided optimisation is written for GCC; this is ${CMAKE_CXX_COMPILER_ID}")
endif()

# Counts are found by the name of the object file below its build folder, so that the two builds may
# lie in different places. The compiler asks the system where it is, which knows no links.
file(REAL_PATH "${PROJECT_BINARY_DIR}" _binary_dir)
set(_common "-fprofile-prefix-path=${_binary_dir}" "-fprofile-dir=${TREESITTER_ENGINE_PGO_PROFILES}")
if(TREESITTER_ENGINE_PGO STREQUAL "generate")
  # The training runs on one thread, so that plain counters do and their sums are always the same.
  add_compile_options(-fprofile-generate ${_common} -fprofile-update=single)
  add_link_options(-fprofile-generate)
  add_compile_definitions(TREESITTER_ENGINE_TRAINING)
elseif(TREESITTER_ENGINE_PGO STREQUAL "use")
  # -fprofile-partial-training  what the training never reached is compiled for speed as ever, not
  #                             for size: no training set reaches every rule of sixteen grammars;
  # -Wno-missing-profile        such a whole file is no fault.
  add_compile_options(-fprofile-use=${TREESITTER_ENGINE_PGO_PROFILES} ${_common}
    -fprofile-partial-training -Wno-missing-profile)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
else()
  message(FATAL_ERROR "TREESITTER_ENGINE_PGO is '${TREESITTER_ENGINE_PGO}', not generate or use")
endif()
