// See answer_json.h.
#include "tool/answer_json.h"

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "tool/json_output.h"
#include "tool/json_string.h"

namespace tool {
namespace {

using repository::Candidate;
using repository::Definition;
using repository::Meanings;
using repository::Pending;
using repository::PendingChange;
using repository::Statistics;
using repository::Use;

// Fields behind the first one, which write_json_path or a text has written.
class Fields {
 public:
  explicit Fields(OutputBuffer& out) : _out(out) {}

  Fields& text(std::string_view name, std::string_view value) {
    begin(name);
    write_json_string(_out, value);
    return *this;
  }
  Fields& text_or_null(std::string_view name, const std::optional<std::string>& value) {
    if (value) return text(name, *value);
    begin(name);
    _out.write("null");
    return *this;
  }
  Fields& number(std::string_view name, std::integral auto value) {
    begin(name);
    _out.write_number(value);
    return *this;
  }
  Fields& flag(std::string_view name, bool value) {
    begin(name);
    _out.write(value ? "true" : "false");
    return *this;
  }
  void begin(std::string_view name) {
    _out.write(",\"");
    _out.write(name);
    _out.write("\":");
  }

 private:
  OutputBuffer& _out;
};

void begin_row(OutputBuffer& out, std::string_view answer) {
  out.write("{\"answer\":\"");
  out.write(answer);
  out.write('"');
}

void begin_row(OutputBuffer& out, std::string_view answer, std::string_view path) {
  begin_row(out, answer);
  out.write(',');
  write_json_path(out, path);
}

// What tells a symbol from others.
void write_identity(OutputBuffer& out, const Definition& symbol) {
  Fields(out)
      .number("line", symbol.first)
      .number("last_line", symbol.last)
      .text("kind", symbol.kind)
      .text("name", symbol.name)
      .text("fqn", symbol.fqn);
}

void write_candidate(OutputBuffer& out, const Candidate& candidate) {
  out.write('{');
  write_json_path(out, candidate.definition.path);
  write_identity(out, candidate.definition);
  Fields(out).begin("evidence");
  out.write('[');
  for (const std::string_view& evidence : candidate.evidence) {
    if (&evidence != candidate.evidence.data()) out.write(',');
    write_json_string(out, evidence);
  }
  out.write("]}");
}

void write_meanings(OutputBuffer& out, const Meanings& meanings) {
  Fields fields(out);
  fields.begin("candidates");
  out.write('[');
  for (const Candidate& candidate : meanings.candidates) {
    if (&candidate != meanings.candidates.data()) out.write(',');
    write_candidate(out, candidate);
  }
  out.write(']');
  fields.number("candidate_count", meanings.count)
      .number("definition_count", meanings.definitions)
      .flag("definitions_cut", meanings.is_partial);
}

}  // namespace

void AnswerJson::write(std::span<const Definition> rows) {
  for (const Definition& row : rows) {
    begin_row(_out, "definition", row.path);
    write_identity(_out, row);
    Fields(_out)
        .text("language", row.language)
        .flag("is_export", row.is_export)
        .flag("is_test", row.is_test)
        .text_or_null("signature", row.signature)
        .text_or_null("docstring", row.doc);
    _out.write("}\n");
  }
}

void AnswerJson::write(std::span<const Use> rows) {
  for (const Use& row : rows) {
    begin_row(_out, "use", row.path);
    Fields fields(_out);
    fields.number("line", row.line)
        .text("kind", row.kind)
        .text("name", row.name)
        .flag("is_test", row.is_test)
        .begin("within");
    if (row.within) {
      _out.write('{');
      write_json_path(_out, row.within->path);
      write_identity(_out, *row.within);
      _out.write('}');
    } else {
      _out.write("null");
    }
    write_meanings(_out, row.meanings);
    _out.write("}\n");
  }
}

void AnswerJson::write(const PendingChange& change) {
  begin_row(_out, "change", change.path);
  Fields fields(_out);
  fields.text("change", pending_text(change.kind));
  if (change.kind == Pending::unreadable) fields.text("error", change.error);
  _out.write("}\n");
}

void AnswerJson::write(const Statistics& statistics) {
  begin_row(_out, "statistics");
  Fields fields(_out);
  fields.text("root", statistics.root)
      .text("database", statistics.database)
      .text("made_by", statistics.made_by)
      .flag("is_complete", statistics.is_complete)
      .number("bytes", statistics.bytes)
      .number("failed", statistics.failed)
      .begin("languages");
  _out.write('[');
  for (const auto& language : statistics.languages) {
    _out.write(&language == statistics.languages.data() ? "{\"language\":" : ",{\"language\":");
    write_json_string(_out, language.language);
    fields.number("files", language.files).number("symbols", language.symbols);
    _out.write('}');
  }
  _out.write("]}\n");
}

void AnswerJson::write_cut(std::size_t shown) {
  begin_row(_out, "cut");
  Fields(_out).number("shown", shown);
  _out.write("}\n");
}

}  // namespace tool
