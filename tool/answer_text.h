// An answer for people: a line per row, with the place in front as terminals and editors open it,
// columns under each other.
//
//   src/books.py:12  method         Catalogue.search  def search(self, words):
//
//   src/app.py:30  call           search  in main
//       may be src/books.py:12  method Catalogue.search  (its module is imported here)
//
// Names are qualified up to the file, whose path stands in front.
//
// On a terminal no line is wider than it, with one exception: a place stays whole, since a part of
// it opens nothing, and has a line of its own where nothing else fits beside it.
//
// Tested by tests/questions_test.py.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/answer_output.h"
#include "tool/output_buffer.h"
#include "tool/terminal.h"

namespace tool {

class AnswerText final : public AnswerOutput {
 public:
  // `root`: of the paths; they are printed as they are called from the current folder.
  AnswerText(OutputBuffer& out, const Terminal& terminal, std::string root);

  void write(std::span<const repository::Definition> rows) override;
  void write_outline(std::span<const repository::Definition> rows) override;
  void write(std::span<const repository::Use> rows) override;
  void write(const repository::PendingChange& change) override;
  void write(const repository::Statistics& statistics) override;
  void write_cut(std::size_t /*shown*/) override {}

 private:
  struct Line {
    std::string place;
    std::string kind;
    std::string name;
    std::string rest;
    std::vector<std::string> below;
  };

  std::string place(const std::string& path, std::uint32_t line) const;
  std::vector<std::string> meanings(const repository::Meanings& found) const;
  void write_lines(const std::vector<Line>& lines);
  void write_line(const Line& line, std::size_t place_width, std::size_t name_width);
  // Writes as much of a text as fits, and counts it.
  void fit(std::string_view text, std::size_t& column);

  OutputBuffer& _out;
  const Terminal _terminal;
  const std::string _root;
  std::string _here;  // the current folder; empty when it is not known
};

}  // namespace tool
