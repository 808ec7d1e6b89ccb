# How our own targets are built. One function sets the language, the warnings and the visibility of all
# of them, so that no target differs by accident.

# treesitter_engine_sources(VARIABLE): every .cpp below the calling folder. CONFIGURE_DEPENDS makes the
# build notice new files, which need no registration.
function(treesitter_engine_sources variable)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  set(${variable} "${sources}" PARENT_SCOPE)
endfunction()

# treesitter_engine_target(TARGET): to be called for every target of ours. Their names begin with
# treesitter_engine_, since a host that adds this folder has targets of its own. The file of a program
# is named without it.
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
    # A host may use it for its own sources. Ours repeat names in several files.
    UNITY_BUILD OFF)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}")
  # -ftls-model=initial-exec  a thread's few bytes of ours are in the memory that it starts with. Those
  #                           of a loaded module are otherwise allocated at the first access, and the
  #                           C library aborts the process if there is no memory then.
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ftls-model=initial-exec
    $<$<BOOL:${TREESITTER_ENGINE_WERROR}>:-Werror>)
  if(TREESITTER_ENGINE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC documents that this analysis is wrong under instrumentation: it warns about the standard
    # library's optional and variant.
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
  if(TREESITTER_ENGINE_SANITIZE AND type STREQUAL "EXECUTABLE")
    target_link_libraries(${target} PRIVATE treesitter_engine_sanitizer_defaults)
  endif()
endfunction()
