// What the forms of an answer have in common.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "index/answers.h"

namespace tool {

inline std::string_view pending_text(repository::Pending kind) {
  switch (kind) {
    case repository::Pending::added:
      return "added";
    case repository::Pending::changed:
      return "changed";
    case repository::Pending::removed:
      return "removed";
    case repository::Pending::unreadable:
      break;
  }
  return "unreadable";
}

class AnswerOutput {
 public:
  AnswerOutput() = default;
  AnswerOutput(const AnswerOutput&) = delete;
  AnswerOutput& operator=(const AnswerOutput&) = delete;
  virtual ~AnswerOutput() = default;

  virtual void write(std::span<const repository::Definition> rows) = 0;
  virtual void write_outline(std::span<const repository::Definition> rows) = 0;
  virtual void write(std::span<const repository::Use> rows) = 0;
  virtual void write(const repository::PendingChange& change) = 0;
  virtual void write(const repository::Statistics& statistics) = 0;
  // Behind rows of which the limit left some out.
  virtual void write_cut(std::size_t shown) = 0;
};

}  // namespace tool
