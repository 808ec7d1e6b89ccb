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
# lie in different places, as long as the way from both to the sources is the same. The compiler asks
# the system where it is, which knows no links.
file(REAL_PATH "${PROJECT_BINARY_DIR}" _binary_dir)
set(_common "-fprofile-prefix-path=${_binary_dir}")

# The same sources give the same program in any folder. It stands where a cache of objects would, which
# can't know which profile an object was made for. GCC alone would call a header by its whole path
# where that is shorter.
cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_BINARY_DIR}" OUTPUT_VARIABLE _to_source)
foreach(_language C CXX)
  set(CMAKE_${_language}_COMPILER_LAUNCHER "${CMAKE_CURRENT_LIST_DIR}/relative_paths"
    "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}" "${_to_source}")
endforeach()
list(APPEND _common -fno-canonical-system-headers)

if(TREESITTER_ENGINE_PGO STREQUAL "generate")
  # The training runs on one thread, so that plain counters do and their sums are always the same. It
  # runs in the folder of the sources, or it would hold the whole path of each file of counts.
  cmake_path(RELATIVE_PATH TREESITTER_ENGINE_PGO_PROFILES BASE_DIRECTORY "${PROJECT_SOURCE_DIR}"
    OUTPUT_VARIABLE _profiles)
  add_compile_options(-fprofile-generate ${_common} "-fprofile-dir=${_profiles}" -fprofile-update=single)
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
