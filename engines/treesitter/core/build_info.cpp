// See build_info.h.
#include "engines/treesitter/build_info.h"

#include <array>

#include "engines/languages/versions.h"
#include "engines/treesitter/engine_digest.h"
#include "engines/treesitter/guard_limits.h"
#include "engines/treesitter/reading/sha256.h"
#include "engines/treesitter/text/regex.h"
#include "engines/treesitter/text/text.h"

namespace engines::treesitter {
namespace {

// In the order of Rules (treesitter.h).
constexpr auto RULES = std::to_array<std::string_view>({"standard", "navigation"});

#ifdef __clang__
constexpr std::string_view COMPILER = "clang " __clang_version__;
#else
constexpr std::string_view COMPILER = "GCC " __VERSION__;
#endif

constexpr BuildGuards GUARDS = {
    .operations = STEPS_FLOOR * OPERATIONS_PER_STEP,
    .operations_per_kib = STEPS_PER_KIB * OPERATIONS_PER_STEP,
    .memory = MEMORY_FLOOR,
    .memory_per_byte = MEMORY_PER_BYTE,
    .seconds = SECONDS_FLOOR,
    .seconds_per_mib = SECONDS_PER_MIB,
    .scanner_state = SCANNER_STATE_BYTES,
    .file = MAX_PARSED_BYTES,
};

// The guards' numbers and the rules are not added: they stand in the sources that the parts'
// digests are made of.
std::string digest_of(const BuildInfo& info) {
  Sha256 sha;
  sha.start();
  const auto add = [&sha](std::string_view text) {
    sha.update(text);
    sha.update("\n");
  };
  for (const BuildPart& part : {info.engine, info.core}) {
    add(part.version);
    add(part.digest);
  }
  for (const auto& grammar : info.grammars) {
    add(grammar.name);
    add(grammar.grammar_version);
    add(grammar.grammar_digest);
  }
  add(info.unicode_of_text);
  add(info.unicode_of_expressions);
  return sha.finish();
}

}  // namespace

BuildInfo build_info() {
  BuildInfo info{
      .digest = {},
      .engine = {languages::ENGINE_VERSION, ENGINE_DIGEST},
      .core = {languages::CORE_VERSION, languages::CORE_DIGEST},
      .grammars = languages::language_infos(),
      .rules = RULES,
      .guards = GUARDS,
      .unicode_of_text = unicode_version(),
      .unicode_of_expressions = regex_unicode_version(),
      .compiler = COMPILER,
  };
  info.digest = digest_of(info);
  return info;
}

}  // namespace engines::treesitter
