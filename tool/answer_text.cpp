// The text form of an answer. See answer_output.h.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "engines/treesitter/treesitter.h"
#include "tool/answer_output.h"
#include "tool/columns.h"
#include "tool/escape.h"

namespace tool {
namespace {

using repository::Candidate;
using repository::Definition;
using repository::Meanings;
using repository::Pending;
using repository::PendingChange;
using repository::Statistics;
using repository::Use;

constexpr std::size_t KIND_WIDTH = 13;  // of "import_module"
// A column is as wide as its longest text, but not wider than this. A longer text pushes what
// stands behind it to the right.
constexpr std::size_t MOST_PLACE_WIDTH = 40;
constexpr std::size_t MOST_NAME_WIDTH = 40;

// The qualified name without the prefix that it has from the file's path.
std::string local_name(const Definition& symbol) {
  const std::string prefix = engines::treesitter::TreeSitterEngine::fqn_prefix(symbol.path) + '.';
  return escaped(symbol.fqn.starts_with(prefix) ? symbol.fqn.substr(prefix.size()) : symbol.fqn);
}

std::string first_line(const std::optional<std::string>& text) {
  return text ? escaped(std::string_view(*text).substr(0, text->find('\n'))) : "";
}

std::string joined(const std::vector<std::string_view>& texts) {
  std::string all;
  for (const std::string_view text : texts) {
    if (!all.empty()) all += ", ";
    all += text;
  }
  return all;
}

class AnswerText final : public AnswerOutput {
 public:
  AnswerText(OutputBuffer& out, const Terminal& terminal, std::string root);

  void write(std::span<const Definition> rows) override;
  void write_outline(std::span<const Definition> rows) override;
  void write(std::span<const Use> rows) override;
  void write(const PendingChange& change) override;
  void write(const Statistics& statistics) override;
  void write_cut(std::size_t /*shown*/) override {}

 private:
  struct Line {
    std::string place;
    std::string kind;
    std::string name;
    std::string rest;                // behind the name, such as the signature
    std::vector<std::string> below;  // further lines
  };

  std::string place(const std::string& path, std::uint32_t line) const;
  std::vector<std::string> meanings(const Meanings& found) const;
  void write_lines(const std::vector<Line>& lines);
  void write_line(const Line& line, std::size_t place_width, std::size_t name_width);
  void write_below(const Line& line);
  void fit(std::string_view text, std::size_t& column);

  OutputBuffer& _out;
  const Terminal _terminal;
  const std::string _root;
  std::string _here;  // the current folder; empty when the system does not tell it
};

AnswerText::AnswerText(OutputBuffer& out, const Terminal& terminal, std::string root)
    : _out(out), _terminal(terminal), _root(std::move(root)) {
  std::error_code error;
  _here = std::filesystem::current_path(error).native();
}

std::string AnswerText::place(const std::string& path, std::uint32_t line) const {
  const std::filesystem::path whole = std::filesystem::path(_root) / path;
  std::string shown = whole.native();
  if (!_here.empty()) shown = whole.lexically_relative(_here).native();
  shown = escaped(shown);
  return line == 0 ? shown : shown + ':' + std::to_string(line);
}

// Writes as much of a text as fits between `column` and the end of the line, and moves `column`.
void AnswerText::fit(std::string_view text, std::size_t& column) {
  const std::size_t room = _terminal.width - std::min(_terminal.width, column);
  const std::size_t length = columns(text);
  if (length <= room) {
    _out.write(text);
  } else if (room > 0) {
    _out.write(first_columns(text, room - 1));
    _out.write("…");
  }
  column += std::min(length, room);
}

void AnswerText::write_line(const Line& line, std::size_t place_width, std::size_t name_width) {
  std::size_t column = columns(line.place);
  _out.write(_terminal.begin(Colour::place));
  _out.write(line.place);
  _out.write(_terminal.end());
  const auto pad = [&](std::size_t width) {
    std::string spaces(2 + width - std::min(width, column), ' ');
    fit(spaces, column);
  };
  // A place that fills the terminal leaves no room, so that the rest goes on the next line.
  if (column >= _terminal.width) {
    _out.write('\n');
    column = 0;
    pad(2);
  } else {
    pad(place_width);
  }
  const std::size_t kind_end = column + KIND_WIDTH;
  fit(line.kind, column);
  if (!line.name.empty()) {
    pad(kind_end);
    const std::size_t name_end = column + name_width;
    _out.write(_terminal.begin(Colour::name));
    fit(line.name, column);
    _out.write(_terminal.end());
    if (!line.rest.empty()) {
      pad(name_end);
      fit(line.rest, column);
    }
  }
  _out.write('\n');
  write_below(line);
}

void AnswerText::write_below(const Line& line) {
  for (const std::string& below : line.below) {
    std::size_t column = 0;
    _out.write(_terminal.begin(Colour::faint));
    fit(below, column);
    _out.write(_terminal.end());
    _out.write('\n');
  }
}

void AnswerText::write_lines(const std::vector<Line>& lines) {
  std::size_t place_width = 0;
  std::size_t name_width = 0;
  for (const Line& line : lines) {
    place_width = std::max(place_width, columns(line.place));
    name_width = std::max(name_width, columns(line.name));
  }
  for (const Line& line : lines) {
    write_line(line, std::min(place_width, MOST_PLACE_WIDTH),
               std::min(name_width, MOST_NAME_WIDTH));
  }
}

void AnswerText::write(std::span<const Definition> rows) {
  std::vector<Line> lines;
  lines.reserve(rows.size());
  for (const Definition& row : rows) {
    lines.push_back({place(row.path, row.first),
                     std::string(row.kind),
                     local_name(row),
                     row.signature ? first_line(row.signature) : first_line(row.doc),
                     {}});
  }
  write_lines(lines);
}

// Indents a symbol below the one that contains it. The depth of a file has no bound, the indent
// has.
void AnswerText::write_outline(std::span<const Definition> rows) {
  constexpr std::size_t MOST_DEPTH = 20;
  std::vector<Line> lines;
  lines.reserve(rows.size());
  std::vector<std::uint32_t> ends;  // last lines of the symbols around
  for (const Definition& row : rows) {
    while (!ends.empty() && (ends.back() < row.first || ends.back() < row.last)) ends.pop_back();
    lines.push_back({place(row.path, row.first),
                     std::string(row.kind),
                     std::string(2 * std::min(ends.size(), MOST_DEPTH), ' ') + escaped(row.name),
                     first_line(row.signature),
                     {}});
    ends.push_back(row.last);
  }
  write_lines(lines);
}

std::vector<std::string> AnswerText::meanings(const Meanings& found) const {
  std::vector<std::string> lines;
  for (const Candidate& candidate : found.candidates) {
    const Definition& symbol = candidate.definition;
    lines.push_back("    may be " + place(symbol.path, symbol.first) + "  " +
                    std::string(symbol.kind) + ' ' + local_name(symbol) + "  (" +
                    joined(candidate.evidence) + ')');
  }
  if (found.count > found.candidates.size()) {
    lines.push_back("    and " + std::to_string(found.count - found.candidates.size()) +
                    (found.is_partial ? " more at least" : " more"));
  }
  return lines;
}

void AnswerText::write(std::span<const Use> rows) {
  std::vector<Line> lines;
  lines.reserve(rows.size());
  for (const Use& row : rows) {
    lines.push_back({place(row.path, row.line), std::string(row.kind), escaped(row.name),
                     row.within ? "in " + local_name(*row.within) : "", meanings(row.meanings)});
  }
  write_lines(lines);
}

void AnswerText::write(const PendingChange& change) {
  std::size_t column = 0;
  fit(std::string(pending_text(change.kind)) + "  ", column);
  const std::string path = place(change.path, 0);
  column += columns(path);
  _out.write(path);
  if (change.kind == Pending::unreadable) fit("  " + escaped(change.error), column);
  _out.write('\n');
}

void AnswerText::write(const Statistics& statistics) {
  const auto line = [&](std::string_view label, std::string_view text) {
    std::size_t column = 0;
    std::string padded(label);
    padded.resize(std::max<std::size_t>(padded.size(), 12), ' ');
    fit(padded + std::string(text), column);
    _out.write('\n');
  };
  line("root", escaped(statistics.root));
  line("database", escaped(statistics.database));
  line("made by", escaped(statistics.made_by));
  line("complete", statistics.is_complete ? "yes" : "no");
  line("bytes", std::to_string(statistics.bytes));
  line("failed", std::to_string(statistics.failed));
  for (const auto& language : statistics.languages) {
    line(language.language, std::to_string(language.files) + " files, " +
                                std::to_string(language.symbols) + " symbols");
  }
}

}  // namespace

std::unique_ptr<AnswerOutput> answer_as_text(OutputBuffer& out, const Terminal& terminal,
                                             std::string root) {
  return std::make_unique<AnswerText>(out, terminal, std::move(root));
}

std::string_view pending_text(Pending kind) {
  switch (kind) {
    case Pending::added:
      return "added";
    case Pending::changed:
      return "changed";
    case Pending::removed:
      return "removed";
    case Pending::unreadable:
      break;
  }
  return "unreadable";
}

}  // namespace tool
