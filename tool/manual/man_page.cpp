// See manual.h.
#include "tool/manual/manual.h"

#include <cctype>
#include <sstream>
#include <string_view>

#include "engines/languages/versions.h"

namespace tool::manual {
namespace {

constexpr std::string_view STATUS = "Exit status: ";

// Text in which the formatter finds no request. Characters that users type are kept: the formatter
// would print a plain - as a hyphen, and ` and ' as quotation marks.
std::string escaped(std::string_view text) {
  std::string out = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
  for (const char letter : text) {
    switch (letter) {
      case '\\':
        out += "\\e";
        break;
      case '-':
        out += "\\-";
        break;
      case '\'':
        out += "\\(aq";
        break;
      case '`':
        out += "\\(ga";
        break;
      case '^':
        out += "\\(ha";
        break;
      case '~':
        out += "\\(ti";
        break;
      default:
        out += letter;
    }
  }
  return out;
}

std::string text_line(std::string_view text) { return escaped(text) + '\n'; }
std::string bold(std::string_view text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + escaped(text) + "\\fR"; }

std::string option_title(const Option& option) {
  std::string title;
  for (const auto& name : option.names) title += (title.empty() ? "" : ", ") + bold(name);
  if (!option.value.shown.empty()) title += " " + italic(option.value.shown);
  return title + '\n';
}

std::string synopsis(const CommandLine& line, const Command& command) {
  std::string out = bold(line.program);
  if (!command.name.empty()) out += " " + bold(command.name);
  out += " [" + italic("OPTION") + "]...";
  for (const Operand& operand : command.operands) {
    out += " [" + italic(operand.value.shown) + "]" + (operand.is_repeated ? "..." : "");
  }
  if (command.name.empty()) out += " " + italic("COMMAND") + " [" + italic("ARGUMENT") + "]...";
  return out + '\n';
}

// The paragraphs of a help text. Indented lines are kept as they are, and the paragraph of the exit
// status becomes a section.
std::string paragraphs(const std::string& text) {
  std::string out;
  std::istringstream lines(text);
  bool is_first = false;  // a line begins a paragraph, but not the section
  bool is_kept = false;   // the line before was indented
  for (std::string line; std::getline(lines, line);) {
    const bool keeps = line.starts_with("  ");
    if (is_kept && !keeps) out += ".EE\n";
    if (keeps && !is_kept) out += ".EX\n";
    is_kept = keeps;
    if (line.empty()) {
      is_first = !out.empty();
      continue;
    }
    if (line.starts_with(STATUS)) {
      out += ".SH EXIT STATUS\n";
      line.erase(0, STATUS.size());
      line[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(line[0])));
    } else if (is_first && !keeps) {
      out += ".PP\n";
    }
    is_first = false;
    out += text_line(line);
  }
  return is_kept ? out + ".EE\n" : out;
}

std::string one_line(std::string text) {
  for (char& letter : text) {
    if (letter == '\n') letter = ' ';
  }
  return text;
}

std::string see_also(const CommandLine& line, const Command& command) {
  std::string out = ".SH SEE ALSO\n";
  if (!command.name.empty()) return out + ".BR " + text_line(line.program + " (1)");
  for (const Command& other : line.commands) {
    const bool is_last = &other == &line.commands.back();
    out += ".BR " + text_line(page_name(line, other) + " (1)" + (is_last ? "" : ","));
  }
  return out;
}

}  // namespace

std::string page_name(const CommandLine& line, const Command& command) {
  return command.name.empty() ? line.program : line.program + "-" + command.name;
}

std::string man_page(const CommandLine& line, const Command& command) {
  const std::string name = page_name(line, command);
  // Without a date, so that two builds of a version write the same page.
  std::string out = ".TH " + name + " 1 \"\" \"" + line.program + " ";
  out += engines::languages::ENGINE_VERSION;
  out += "\" \"User Commands\"\n.SH NAME\n";
  // The index of manual pages takes the first line of NAME and splits it at the first \-.
  const bool is_whole = command.name.empty();
  const std::string what =
      is_whole ? "find what source files declare and refer to" : one_line(command.what);
  out += escaped(name) + " \\- " + text_line(what);
  out += ".SH SYNOPSIS\n" + synopsis(line, command) + ".SH DESCRIPTION\n";
  out += text_line(one_line(command.what) + (command.what.ends_with('.') ? "" : "."));
  if (is_whole) {
    out += ".SH COMMANDS\n";
    for (const Command& other : line.commands) {
      out += ".TP\n" + bold(other.name) + '\n' + text_line(other.what);
    }
  }
  for (const Operand& operand : command.operands) {
    out += ".TP\n" + italic(operand.value.shown) + '\n' + text_line(operand.help);
  }
  out += ".SH OPTIONS\n";
  for (const Option& option : command.options) {
    out += ".TP\n" + option_title(option) + text_line(option.help);
  }
  if (!command.details.empty()) out += ".SH DETAILS\n" + paragraphs(command.details);
  return out + see_also(line, command);
}

}  // namespace tool::manual
