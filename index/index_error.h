// The errors of an index.
//
// Tested by tests/index_command_test.py and tests/questions_test.py.
#pragma once

#include <stdexcept>

namespace repository {

// An index cannot be made or used; the text says why, for people. What was committed before stays,
// and nothing else.
class IndexError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A question that makes no sense, whatever the index holds.
class QuestionError : public IndexError {
 public:
  using IndexError::IndexError;
};

// Another process is writing the index.
class LockedError : public IndexError {
 public:
  using IndexError::IndexError;
};

}  // namespace repository
