// See manual.h.
#include "tool/manual/manual.h"

#include <string_view>

namespace tool::manual {
namespace {

// A text within single quotes, for a place where a colon or a bracket would end it.
std::string quoted(std::string_view text) {
  std::string out;
  for (const char letter : text) {
    if (letter == '\'') {
      out += "'\\''";
      continue;
    }
    if (letter == ':' || letter == '[' || letter == ']' || letter == '\\') out += '\\';
    out += letter;
  }
  return out;
}

std::string action(const Value& value) {
  switch (value.offer) {
    case Offer::words:
      return "(" + joined(value.words) + ")";
    case Offer::files:
      return "_files";
    case Offer::folders:
      return "_files -/";
    case Offer::nothing:
      break;
  }
  return " ";
}

// What zsh's _arguments takes for one name of an option. The value may stand in the same word or in
// the next.
std::string option_argument(const Option& option, const std::string& name) {
  std::string out = "'";
  if (option.is_repeated) {
    out += "*";
  } else {
    out += "(" + joined(option.names) + ")";
  }
  out += name;
  if (!option.value.shown.empty()) out += name.starts_with("--") ? "=" : "+";
  out += "[" + quoted(option.help) + "]";
  if (!option.value.shown.empty()) {
    out += ":" + quoted(option.value.shown) + ":" + action(option.value);
  }
  return out + "'";
}

std::string arguments(const Command& command, const std::string& indent) {
  std::string out;
  for (const Option& option : command.options) {
    for (const auto& name : option.names) {
      out += " \\\n" + indent + option_argument(option, name);
    }
  }
  for (const Operand& operand : command.operands) {
    out += " \\\n" + indent + "'" + (operand.is_repeated ? "*" : "1") + ":" +
           quoted(operand.value.shown) + ":" + action(operand.value) + "'";
  }
  return out + "\n";
}

}  // namespace

std::string zsh_completion(const CommandLine& line) {
  std::string out = "#compdef " + line.program + R"(
# What zsh completes of treesitter-engine. Written by its build.
local curcontext=$curcontext state line
local -a commands
_arguments -C -S '1:command:->command' '*::argument:->argument')" +
                    arguments(line.whole, "  ") + "case $state in\n  command)\n    commands=(\n";
  for (const Command& command : line.commands) {
    out += "      '" + command.name + ":" + quoted(command.what) + "'\n";
  }
  out += "    )\n    _describe command commands\n    ;;\n  argument)\n    case $words[1] in\n";
  for (const Command& command : line.commands) {
    out += "      " + command.name + ")\n        _arguments -s -S" +
           arguments(command, "          ") + "        ;;\n";
  }
  return out + "    esac\n    ;;\nesac\n";
}

}  // namespace tool::manual
