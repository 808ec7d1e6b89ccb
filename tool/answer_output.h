// Writes what an index answers, as text for people or as JSON.
//
// Both forms write to the caller's buffer, which the caller flushes.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "index/answers.h"
#include "tool/output_buffer.h"
#include "tool/terminal.h"

namespace tool {

class AnswerOutput {
 public:
  AnswerOutput() = default;
  AnswerOutput(const AnswerOutput&) = delete;
  AnswerOutput& operator=(const AnswerOutput&) = delete;
  virtual ~AnswerOutput() = default;

  virtual void write(std::span<const repository::Definition> rows) = 0;
  // The symbols of one file, in document order.
  virtual void write_outline(std::span<const repository::Definition> rows) = 0;
  virtual void write(std::span<const repository::Use> rows) = 0;
  virtual void write(const repository::PendingChange& change) = 0;
  virtual void write(const repository::Statistics& statistics) = 0;
  // After `shown` rows, when the limit left out more.
  virtual void write_cut(std::size_t shown) = 0;
};

// One object for each row and line; doc/schema/answer.json describes them. `out` must outlive it.
std::unique_ptr<AnswerOutput> answer_as_json(OutputBuffer& out);

// A line for each row, which begins with the place as terminals and editors open it; the columns
// are aligned:
//
//   src/books.py:12  method         Catalogue.search  def search(self, words):
//
//   src/app.py:30  call           search  in main
//       may be src/books.py:12  method Catalogue.search  (its module is imported here)
//
// Names are qualified, without the part that the path tells. On a terminal no line is wider than
// the terminal, except for a place: a part of it opens nothing, so it stays whole, on a line of its
// own where nothing fits beside it.
//
// `root`: the folder to which the answer's paths are relative; they are printed relative to the
// current folder. `out` must outlive the result.
std::unique_ptr<AnswerOutput> answer_as_text(OutputBuffer& out, const Terminal& terminal,
                                             std::string root);

// "added", "changed", "removed" or "unreadable".
std::string_view pending_text(repository::Pending kind);

}  // namespace tool
