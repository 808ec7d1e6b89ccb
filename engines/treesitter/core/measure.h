// Fills in a ParseReport during a parse. An ordinary parse has no report and pays one comparison
// for each of its steps.
//
// Tested by tests/report_test.cpp.
#pragma once

#include <chrono>
#include <optional>

#include "engines/treesitter/parsing/syntax_tree.h"
#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

// Does one step and stores the time that it took, also when it throws.
template <typename Work>
auto timed(ParseReport* report, std::optional<ParseReport::Duration> ParseReport::*step,
           const Work& work) {
  if (report == nullptr) return work();
  using Clock = std::chrono::steady_clock;
  struct Timer {
    std::optional<ParseReport::Duration>& time;
    Clock::time_point start = Clock::now();
    ~Timer() { time = Clock::now() - start; }
  } const timer{report->*step};
  return work();
}

// Stores what the bytes look like. Reads 8 KiB at most.
void measure_bytes(const Source& source, ParseReport* report);

// Counts nodes, depth and syntax errors. Takes some nanoseconds for each node, and four bytes for
// each level of depth.
void measure_tree(const SyntaxTree& tree, ParseReport* report);

}  // namespace engines::treesitter
