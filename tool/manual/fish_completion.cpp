// See manual.h.
#include "tool/manual/manual.h"

#include <string_view>

namespace tool::manual {
namespace {

std::string quoted(std::string_view text) {
  std::string out = "'";
  for (const char letter : text) {
    if (letter == '\'' || letter == '\\') out += '\\';
    out += letter == '\n' ? ' ' : letter;
  }
  return out + "'";
}

// Offers the value of an option, and nothing else in its place.
std::string value_part(const Value& value) {
  switch (value.offer) {
    case Offer::words:
      return " -x -a " + quoted(joined(value.words));
    case Offer::files:
      return " -r -F";
    case Offer::folders:
      return " -x -a '(__fish_complete_directories)'";
    case Offer::nothing:
      break;
  }
  return " -x";
}

std::string option_line(const std::string& beginning, const Option& option) {
  std::string out = beginning;
  for (const auto& name : option.names) {
    out += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (!option.value.shown.empty()) out += value_part(option.value);
  return out + " -d " + quoted(option.help) + "\n";
}

std::string operand_line(const std::string& beginning, const Value& value) {
  if (value.offer == Offer::words) return beginning + " -a " + quoted(joined(value.words)) + "\n";
  return value.offer == Offer::files ? beginning + " -F\n" : "";
}

}  // namespace

std::string fish_completion(const CommandLine& line) {
  const std::string start = "complete -c " + line.program;
  std::string out = "# What fish completes of treesitter-engine. Written by its build.\n";
  out += start + " -f\n";
  for (const Option& option : line.whole.options) {
    out += option_line(start + " -n __fish_use_subcommand", option);
  }
  for (const Command& command : line.commands) {
    out += start + " -n __fish_use_subcommand -a " + command.name + " -d " + quoted(command.what) +
           "\n";
    const std::string beginning = start + " -n '__fish_seen_subcommand_from " + command.name + "'";
    for (const Operand& operand : command.operands) out += operand_line(beginning, operand.value);
    for (const Option& option : command.options) out += option_line(beginning, option);
  }
  return out;
}

}  // namespace tool::manual
