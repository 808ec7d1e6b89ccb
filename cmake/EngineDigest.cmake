# Writes the header OUTPUT with the digest of the engine's own sources below SOURCE_FOLDER. Run by a
# custom command of engines/treesitter/CMakeLists.txt when one of them has changed, since configuring
# again for each change would take seconds.
cmake_policy(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/SourceDigest.cmake")

file(GLOB_RECURSE _files
  "${SOURCE_FOLDER}/engines/*.cpp" "${SOURCE_FOLDER}/engines/*.h"
  "${SOURCE_FOLDER}/models/*.cpp" "${SOURCE_FOLDER}/models/*.h")
treesitter_engine_digest(_digest "${SOURCE_FOLDER}" ${_files})
file(WRITE "${OUTPUT}" "// The digest of the engine's own sources. Written by cmake/EngineDigest.cmake.
#pragma once

#include <string_view>

namespace engines::treesitter {

inline constexpr std::string_view ENGINE_DIGEST =
    \"${_digest}\";

}  // namespace engines::treesitter
")
