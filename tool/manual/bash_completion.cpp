// See manual.h. Files are left to readline, which quotes odd names.
#include "tool/manual/manual.h"

namespace tool::manual {
namespace {

constexpr const char* HEAD = R"(# What bash completes of treesitter-engine. Written by its build.
_treesitter_engine() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
  local command='' options='' words='' offer=nothing prefix='' is_value='' i
  # "--name=value" are three words where = parts them, or one.
  if [[ $word == '=' ]]; then
    word=''
  elif [[ $before == '=' ]]; then
    before=${COMP_WORDS[COMP_CWORD-2]}
  elif [[ $word == --*=* ]]; then
    before=${word%%=*} prefix=${word%%=*}= word=${word#*=}
  fi
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  case $command in
)";

constexpr const char* TAIL = R"(  esac
  COMPREPLY=()
  if [[ -z $is_value && $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    return
  fi
  case $offer in
    words) mapfile -t COMPREPLY < <(compgen -P "$prefix" -W "$words" -- "$word") ;;
    files) compopt -o default ;;
    folders) compopt -o dirnames ;;
  esac
}
complete -F _treesitter_engine treesitter-engine
)";

std::string offered(const Value& value) {
  switch (value.offer) {
    case Offer::words:
      return "offer=words words='" + joined(value.words) + "'";
    case Offer::files:
      return "offer=files";
    case Offer::folders:
      return "offer=folders";
    case Offer::nothing:
      break;
  }
  return "offer=nothing";
}

std::string alternatives(const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names) text += (text.empty() ? "" : "|") + name;
  return text;
}

std::string command_case(const Command& command, const Value& operand) {
  std::string names;
  std::string values;
  for (const Option& option : command.options) {
    names += (names.empty() ? "" : " ") + joined(option.names);
    if (option.value.shown.empty()) continue;
    values +=
        "        " + alternatives(option.names) + ") is_value=1 " + offered(option.value) + " ;;\n";
  }
  std::string out = "    " + (command.name.empty() ? "''" : command.name) + ")\n";
  out += "      options='" + names + "' " + offered(operand) + "\n";
  if (!values.empty()) out += "      case $before in\n" + values + "      esac\n";
  return out + "      ;;\n";
}

}  // namespace

std::string bash_completion(const CommandLine& line) {
  Value commands{"COMMAND", Offer::words, {}};
  for (const Command& command : line.commands) commands.words.push_back(command.name);
  std::string out = HEAD + command_case(line.whole, commands);
  for (const Command& command : line.commands) {
    out += command_case(command, command.operands.empty() ? Value{} : command.operands[0].value);
  }
  return out + TAIL;
}

}  // namespace tool::manual
