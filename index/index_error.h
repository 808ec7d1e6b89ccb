// Why an index cannot be made or used.
#pragma once

#include <stdexcept>

namespace repository {

// The text is for people. Nothing was half done: what was committed before stays.
class IndexError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What was asked makes no sense, whatever the index holds.
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
