# How our own targets are built: one function sets the language, the warnings and the visibility of
# all of them, so that no target can differ by accident.

# treesitter_engine_sources(VARIABLE): every .cpp below the calling folder. A room is a folder, so a
# new file needs no registration; CONFIGURE_DEPENDS makes the build notice it.
function(treesitter_engine_sources variable)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  set(${variable} "${sources}" PARENT_SCOPE)
endfunction()

# treesitter_engine_target(TARGET): to be called on every target of ours. Their names begin with
# treesitter_engine_, since a host that adds this folder has targets of its own; a program's file does
# without.
function(treesitter_engine_target target)
  if(NOT target MATCHES "^treesitter_engine(_|$)")
    message(FATAL_ERROR "The target '${target}' may be a host's; call it treesitter_engine_${target}")
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    string(REGEX REPLACE "^treesitter_engine_" "" file_name ${target})
    set_target_properties(${target} PROPERTIES OUTPUT_NAME "${file_name}")
  endif()
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    # A Python module is linked from the same objects.
    POSITION_INDEPENDENT_CODE ON
    # A host may want it for its own sources; ours repeat names in each file.
    UNITY_BUILD OFF)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}")
  # -ftls-model=initial-exec  our few bytes of each thread lie in the memory that the thread starts
  #                           with. A loaded module's are otherwise allocated by the first access,
  #                           and the C library aborts the process when it is out of memory there.
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ftls-model=initial-exec
    $<$<BOOL:${TREESITTER_ENGINE_WERROR}>:-Werror>)
  if(TREESITTER_ENGINE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC documents that instrumentation hides values from this analysis: it then warns about the
    # standard library's own optional and variant.
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
  if(TREESITTER_ENGINE_SANITIZE AND type STREQUAL "EXECUTABLE")
    target_link_libraries(${target} PRIVATE treesitter_engine_sanitizer_defaults)
  endif()
endfunction()
