// The tool's commands and options as plain data, for manual pages and completions. They are read
// from the options that CLI11 parses the command line by, so that they cannot differ.
//
// Tested by tests/manual_test.py.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool::manual {

// What a shell offers for a value.
enum class Offer : std::uint8_t { nothing, words, files, folders };

struct Value {
  std::string shown;  // its placeholder in the help, such as "FILE"; empty for a flag
  Offer offer = Offer::nothing;
  std::vector<std::string> words;  // those to offer
};

struct Option {
  std::vector<std::string> names;  // with their dashes: "-f" and "--format"
  Value value;
  std::string help;
  bool is_repeated = false;  // may be given several times
};

// An argument without a name, such as a path.
struct Operand {
  Value value;
  std::string help;
  bool is_repeated = false;
};

struct Command {
  std::string name;  // empty for the tool itself
  std::string what;  // what it does, in a line
  std::vector<Option> options;
  std::vector<Operand> operands;
  std::string details;  // the text behind the options in the help
};

struct CommandLine {
  std::string program;
  Command whole;  // the tool itself
  std::vector<Command> commands;
};

// Throws std::runtime_error for a placeholder of which commands.cpp does not say what completes it.
CommandLine command_line();

// The words with a space between them.
std::string joined(const std::vector<std::string>& words);

}  // namespace tool::manual
