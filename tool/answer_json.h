// The JSON form of an answer: one object per row and line, whose "answer" tells what it is. What
// each holds is in doc/schema/answer.json.
//
// Tested by tests/questions_test.py.
#pragma once

#include "tool/answer_output.h"
#include "tool/output_buffer.h"

namespace tool {

class AnswerJson final : public AnswerOutput {
 public:
  explicit AnswerJson(OutputBuffer& out) : _out(out) {}

  void write(std::span<const repository::Definition> rows) override;
  void write_outline(std::span<const repository::Definition> rows) override { write(rows); }
  void write(std::span<const repository::Use> rows) override;
  void write(const repository::PendingChange& change) override;
  void write(const repository::Statistics& statistics) override;
  void write_cut(std::size_t shown) override;

 private:
  OutputBuffer& _out;
};

}  // namespace tool
