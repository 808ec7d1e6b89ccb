// What holds for every result, whatever the bytes were.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::fuzz {

// Ends the process with the broken promise on standard error: a fuzzer's way to report a find.
void require(bool holds, std::string_view promise);

// A result, or the text of what was thrown in its place.
using Answer = std::variant<ParseResult, std::string>;

// What the call gives. Only what the engine documents may be thrown: Utf8Error and
// ResultLimitError.
template <typename Call>
Answer answer_of(Call&& call) {
  try {
    return call();
  } catch (const Utf8Error& error) {
    return std::string("Utf8Error: ") + error.what();
  } catch (const ResultLimitError& error) {
    return std::string("ResultLimitError: ") + error.what();
  }
}

// Requires what a result promises: lines inside of the file, document order, the caps on lengths,
// well-formed texts, nothing in a result that failed; under the standard rules unique FQNs, too.
// `prefix` is that of all FQNs.
void check(const Answer& answer, std::string_view content, std::string_view prefix,
           Rules rules = Rules::standard);

// Whether the time limit ended the parse: the one guard whose answer depends on the machine.
bool is_timing(const Answer& answer);

}  // namespace engines::treesitter::fuzz
