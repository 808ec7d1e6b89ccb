// The JSON form of an answer. See answer_output.h.
#include <optional>
#include <string>
#include <string_view>

#include "tool/answer_output.h"
#include "tool/json_object.h"

namespace tool {
namespace {

using repository::Candidate;
using repository::Definition;
using repository::Meanings;
using repository::Pending;
using repository::PendingChange;
using repository::Statistics;
using repository::Use;

// The fields that tell a symbol from others.
void add_symbol(JsonObject& object, const Definition& symbol) {
  object.add_path(symbol.path);
  object.add("line", symbol.first);
  object.add("last_line", symbol.last);
  object.add("kind", symbol.kind);
  object.add("name", symbol.name);
  object.add("fqn", symbol.fqn);
}

void add_meanings(JsonObject& object, const Meanings& meanings) {
  object.add_objects("candidates", meanings.candidates,
                     [](JsonObject& inner, const Candidate& candidate) {
                       add_symbol(inner, candidate.definition);
                       inner.add_list("evidence", candidate.evidence);
                     });
  object.add("candidate_count", meanings.count);
  object.add("definition_count", meanings.definitions);
  object.add("definitions_cut", meanings.is_partial);
}

class AnswerJson final : public AnswerOutput {
 public:
  explicit AnswerJson(OutputBuffer& out) : _out(out) {}

  void write(std::span<const Definition> rows) override;
  void write_outline(std::span<const Definition> rows) override { write(rows); }
  void write(std::span<const Use> rows) override;
  void write(const PendingChange& change) override;
  void write(const Statistics& statistics) override;
  void write_cut(std::size_t shown) override;

 private:
  // One line: an object whose "answer" says what it is, with what `add` adds to it.
  template <typename Add>
  void write_row(std::string_view answer, const Add& add) {
    {
      JsonObject row(_out);
      row.add("answer", answer);
      add(row);
    }
    _out.write('\n');
  }

  OutputBuffer& _out;
};

void AnswerJson::write(std::span<const Definition> rows) {
  for (const Definition& symbol : rows) {
    write_row("definition", [&](JsonObject& row) {
      add_symbol(row, symbol);
      row.add("language", symbol.language);
      row.add("is_export", symbol.is_export);
      row.add("is_test", symbol.is_test);
      row.add("signature", symbol.signature);
      row.add("docstring", symbol.doc);
    });
  }
}

void AnswerJson::write(std::span<const Use> rows) {
  for (const Use& use : rows) {
    write_row("use", [&](JsonObject& row) {
      row.add_path(use.path);
      row.add("line", use.line);
      row.add("kind", use.kind);
      row.add("name", use.name);
      row.add("is_test", use.is_test);
      if (use.within) {
        row.add_object("within", [&](JsonObject& inner) { add_symbol(inner, *use.within); });
      } else {
        row.add("within", std::optional<std::string>());
      }
      add_meanings(row, use.meanings);
    });
  }
}

void AnswerJson::write(const PendingChange& change) {
  write_row("change", [&](JsonObject& row) {
    row.add_path(change.path);
    row.add("change", pending_text(change.kind));
    if (change.kind == Pending::unreadable) row.add("error", change.error);
  });
}

void AnswerJson::write(const Statistics& statistics) {
  write_row("statistics", [&](JsonObject& row) {
    row.add("root", statistics.root);
    row.add("database", statistics.database);
    row.add("made_by", statistics.made_by);
    row.add("is_complete", statistics.is_complete);
    row.add("bytes", statistics.bytes);
    row.add("failed", statistics.failed);
    row.add_objects("languages", statistics.languages, [](JsonObject& inner, const auto& language) {
      inner.add("language", language.language);
      inner.add("files", language.files);
      inner.add("symbols", language.symbols);
    });
  });
}

void AnswerJson::write_cut(std::size_t shown) {
  write_row("cut", [&](JsonObject& row) { row.add("shown", shown); });
}

}  // namespace

std::unique_ptr<AnswerOutput> answer_as_json(OutputBuffer& out) {
  return std::make_unique<AnswerJson>(out);
}

}  // namespace tool
