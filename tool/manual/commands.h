// The tool's commands and options as plain rows, read from those that its command line is read by:
// what the manual pages and the completions are written of. CLI11's door for them.
//
// Tested by tests/manual_test.py.
#pragma once

#include <string>
#include <vector>

namespace tool::manual {

// What a shell offers for a value.
enum class Offer { nothing, words, files, folders };

struct Value {
  std::string shown;  // what stands for it in the help, such as "FILE"; none for a flag
  Offer offer = Offer::nothing;
  std::vector<std::string> words;
};

struct Option {
  std::vector<std::string> names;  // "-f" and "--format", as they are written
  Value value;
  std::string help;
  bool is_repeated = false;
};

struct Operand {
  Value value;
  std::string help;
  bool is_repeated = false;
};

struct Command {
  std::string name;  // none for the tool itself
  std::string what;
  std::vector<Option> options;
  std::vector<Operand> operands;
  std::string details;
};

struct CommandLine {
  std::string program;
  Command whole;
  std::vector<Command> commands;
};

// Throws std::runtime_error for a value of which commands.cpp does not say what completes it.
CommandLine command_line();

// The words between single blanks.
std::string joined(const std::vector<std::string>& words);

}  // namespace tool::manual
