// See answer_text.h.
#include "tool/answer_text.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "engines/treesitter/treesitter.h"
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
// Columns grow with their texts up to here; a longer one moves what is behind it.
constexpr std::size_t MOST_PLACE_WIDTH = 40;
constexpr std::size_t MOST_NAME_WIDTH = 40;

// The qualified name without what the path, which stands in front, says as well.
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

}  // namespace

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

// ---- Lines ----

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
  // Beside a place that fills the terminal there is no room for anything.
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
  for (const std::string& below : line.below) {
    column = 0;
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

// ---- Rows ----

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

// What is nested stands under what holds it. The depth shown is bounded, since that of a file is
// not.
void AnswerText::write_outline(std::span<const Definition> rows) {
  constexpr std::size_t MOST_DEPTH = 20;
  std::vector<Line> lines;
  lines.reserve(rows.size());
  std::vector<std::uint32_t> ends;  // of the symbols around
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

}  // namespace tool
