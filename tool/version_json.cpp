// The output of `--version --json` (commands.h): engines/treesitter/build_info.h, field by field.
#include "engines/treesitter/treesitter.h"
#include "tool/byte_sink.h"
#include "tool/commands.h"
#include "tool/json_object.h"

namespace tool {
namespace {

using engines::treesitter::BuildGuards;
using engines::treesitter::BuildInfo;
using engines::treesitter::BuildPart;

void add_part(JsonObject& object, std::string_view name, const BuildPart& part) {
  object.add_object(name, [&part](JsonObject& fields) {
    fields.add("version", part.version);
    fields.add("digest", part.digest);
  });
}

void add_grammars(JsonObject& object, const BuildInfo& info) {
  object.add_object("grammars", [&info](JsonObject& grammars) {
    for (const auto& language : info.grammars) {
      grammars.add_object(language.name, [&language](JsonObject& grammar) {
        grammar.add("package", language.grammar_package);
        grammar.add("version", language.grammar_version);
        grammar.add("digest", language.grammar_digest);
      });
    }
  });
}

void add_guards(JsonObject& object, const BuildGuards& guards) {
  object.add_object("guards", [&guards](JsonObject& fields) {
    fields.add("operations", guards.operations);
    fields.add("operations_per_kib", guards.operations_per_kib);
    fields.add("memory", guards.memory);
    fields.add("memory_per_byte", guards.memory_per_byte);
    fields.add("seconds", guards.seconds);
    fields.add("seconds_per_mib", guards.seconds_per_mib);
    fields.add("scanner_state", guards.scanner_state);
    fields.add("file", guards.file);
  });
}

void add_all(JsonObject& object, const BuildInfo& info) {
  object.add("digest", info.digest);
  add_part(object, "engine", info.engine);
  add_part(object, "core", info.core);
  add_grammars(object, info);
  object.add_list("rules", info.rules);
  add_guards(object, info.guards);
  object.add("unicode_of_text", info.unicode_of_text);
  object.add("unicode_of_expressions", info.unicode_of_expressions);
  object.add("compiler", info.compiler);
}

}  // namespace

std::string version_json() {
  std::string text;
  StringSink sink(text);
  OutputBuffer out(sink);
  {
    JsonObject object(out);
    add_all(object, engines::treesitter::build_info());
  }
  out.write('\n');
  out.flush();
  return text;
}

}  // namespace tool
