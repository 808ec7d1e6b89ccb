// What must hold for every result, whatever the bytes were.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <variant>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::fuzz {

// Unless it holds, prints the broken promise and aborts, by which libFuzzer notices a fault.
void require(bool holds, std::string_view promise);

// A result, or the text of what was thrown in its place.
using Answer = std::variant<ParseResult, std::string>;

// What the call gives. Of exceptions only Utf8Error and ResultLimitError are caught: the engine
// documents no others for such calls.
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

// Whether the time limit ended the parse. No other guard's answer depends on the machine.
bool is_timing(const Answer& answer);

// Gives the call's answer. Requires what a result promises: lines within the file, document order,
// the bounds of lengths, well-formed texts, nothing in a result that failed; under the standard
// rules unique FQNs too. All FQNs must begin with `prefix`. The call must give the same answer on
// another thread.
Answer checked_answer(const std::function<ParseResult()>& call, std::string_view content,
                      std::string_view prefix, Rules rules = Rules::standard);

}  // namespace engines::treesitter::fuzz
