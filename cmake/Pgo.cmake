# Profile-guided optimisation. A first build counts what the engine does with a training set. A second
# build is optimised by these counts, including core and grammars, and at link time as a whole.
# scripts/build_pgo makes both; the presets are pgo-train and pgo.
#
#   TREESITTER_ENGINE_PGO           "" (none), "generate" or "use"
#   TREESITTER_ENGINE_PGO_PROFILES  the folder in which the counts are written and read
#
# Tested by tests/package/test_profile.py.
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

# The compiler finds counts by the path of the object file below its build folder. So the two builds may
# be in different places, if the relative path to the sources is the same for both. The compiler uses
# real paths, so symbolic links are resolved here.
file(REAL_PATH "${PROJECT_BINARY_DIR}" _binary_dir)
set(_common "-fprofile-prefix-path=${_binary_dir}")

# With relative paths the same sources give the same program in any folder. This takes the place of
# ccache, which cannot know the profile that an object was made with. GCC would otherwise shorten the
# paths of headers, some of them to absolute ones.
cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_BINARY_DIR}" OUTPUT_VARIABLE _to_source)
foreach(_language C CXX)
  set(CMAKE_${_language}_COMPILER_LAUNCHER "${CMAKE_CURRENT_LIST_DIR}/relative_paths"
    "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}" "${_to_source}")
endforeach()
list(APPEND _common -fno-canonical-system-headers)

if(TREESITTER_ENGINE_PGO STREQUAL "generate")
  # The training runs on one thread, so plain counters suffice, and the sums are always the same. It runs
  # in the folder of the sources, or the program would contain the absolute paths of the files of counts.
  cmake_path(RELATIVE_PATH TREESITTER_ENGINE_PGO_PROFILES BASE_DIRECTORY "${PROJECT_SOURCE_DIR}"
    OUTPUT_VARIABLE _profiles)
  add_compile_options(-fprofile-generate ${_common} "-fprofile-dir=${_profiles}" -fprofile-update=single)
  add_link_options(-fprofile-generate)
  add_compile_definitions(TREESITTER_ENGINE_TRAINING)
elseif(TREESITTER_ENGINE_PGO STREQUAL "use")
  # -fprofile-partial-training  code that the training did not reach is compiled for speed, not for
  #                             size: no training set reaches every rule of sixteen grammars;
  # -Wno-missing-profile        it is no fault that the training reaches nothing in a file.
  add_compile_options(-fprofile-use=${TREESITTER_ENGINE_PGO_PROFILES} ${_common}
    -fprofile-partial-training -Wno-missing-profile)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
else()
  message(FATAL_ERROR "TREESITTER_ENGINE_PGO is '${TREESITTER_ENGINE_PGO}', not generate or use")
endif()
