// See arguments.h. Lets CLI11 read the options (command_options.h), and checks what it cannot.
#include "tool/arguments.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "engines/languages/languages.h"
#include "tool/command_options.h"
#include "tool/escape.h"
#include "tool/shield.h"
#include "tool/suggestion.h"
#include "tool/terminal.h"

namespace tool {
namespace {

constexpr const char* DESCRIPTION =
    "Reads source files and prints what each declares and what it refers to; keeps that in an "
    "index and\n"
    "answers questions from it.";

// CLI11's error texts quote what the user gave, shields included.
UsageError usage_error(const CLI::ParseError& error) {
  std::string text = error.what();
  std::erase(text, SHIELD);
  return UsageError(escaped(text));
}

void require_usable_input(const Arguments& parsed) {
  const auto inputs = std::count(parsed.paths.begin(), parsed.paths.end(), STANDARD_INPUT);
  if (parsed.lists && inputs > 0) throw UsageError("parse: --list is for files, not for -");
  const bool is_list_input = parsed.files_from == STANDARD_INPUT;
  if (inputs + (is_list_input ? 1 : 0) > 1) {
    throw UsageError("parse: standard input (-) can be read only once");
  }
  if (parsed.stdin_path && inputs == 0) {
    throw UsageError("parse: --stdin-path needs standard input (-) among the paths");
  }
  if (inputs == 0 || parsed.language) return;
  if (!parsed.stdin_path) {
    throw UsageError("parse: standard input (-) needs --language or --stdin-path");
  }
  if (!engines::languages::detect_language(*parsed.stdin_path)) {
    throw UsageError("parse: --stdin-path " + escaped(*parsed.stdin_path) +
                     " tells no language; give --language too");
  }
}

void require_checkable(const Arguments& parsed) {
  if (parsed.paths.size() != 1) throw UsageError("check: takes one FILE");
  const std::string& path = parsed.paths.front();
  if (path == STANDARD_INPUT) throw UsageError("check: standard input (-) is no file");
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw UsageError("check: " + escaped(path) + " is a folder");
  }
}

void require_usable(const Arguments& parsed) {
  if (parsed.is_batch) {
    if (!parsed.paths.empty() || parsed.files_from) {
      throw UsageError("parse: --batch takes paths from standard input alone");
    }
  } else {
    if (parsed.paths.empty() && !parsed.files_from) throw UsageError("parse: no PATH is given");
    require_usable_input(parsed);
  }
  const bool has_list = parsed.is_batch ? parsed.lists : parsed.files_from.has_value();
  if (parsed.null_separated && !has_list) {
    throw UsageError("parse: --null needs --files-from, or --batch and --list");
  }
  for (const std::string& path : parsed.paths) {
    std::error_code error;
    if (parsed.language && std::filesystem::is_directory(path, error)) {
      throw UsageError("parse: --language is for files, and " + escaped(path) + " is a folder");
    }
  }
}

std::vector<std::string> command_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands({}))
    names.push_back(command->get_name());
  return names;
}

// Turns `help COMMAND` into `COMMAND --help`. Throws UsageError when the first word is no command.
void settle_command(const CLI::App& app, std::vector<std::string>& arguments) {
  if (arguments.empty()) throw UsageError("no command is given, such as `parse PATH`");
  if (arguments.front() == "help") {
    arguments.erase(arguments.begin());
    arguments.push_back("--help");
  }
  std::string word = arguments.front();
  if (word.starts_with('-')) return;
  unshield(word);
  auto names = command_names(app);
  if (std::find(names.begin(), names.end(), arguments.front()) != names.end()) return;
  names.insert(names.end(), {"--version", "--help"});
  std::error_code error;
  std::string meant = suggestion(word, names);
  if (std::filesystem::exists(word, error)) meant = "; did you mean `parse " + escaped(word) + "`?";
  throw UsageError("unknown command '" + escaped(word) + "'" + meant);
}

// Throws UsageError for arguments that the command does not take. CLI11's text has no suggestion.
void require_all_taken(const CLI::App& command) {
  const auto rest = command.remaining();
  if (rest.empty()) return;
  std::string word = rest.front();
  unshield(word);
  if (!word.starts_with('-')) throw UsageError("unexpected argument '" + escaped(word) + "'");
  std::vector<std::string> names;
  for (const CLI::Option* const option : command.get_options()) {
    for (const auto& name : option->get_lnames()) names.push_back("--" + name);
  }
  word = word.substr(0, word.find('='));
  throw UsageError("unknown option '" + escaped(word) + "'" + suggestion(word, names));
}

// Finishes the arguments of `parse` and `check`.
void settle_parse(const CLI::App& app, Arguments& parsed) {
  std::for_each(parsed.paths.begin(), parsed.paths.end(), unshield);
  if (parsed.files_from) unshield(*parsed.files_from);
  if (parsed.stdin_path) unshield(*parsed.stdin_path);
  settle_files(parsed);
  if (app.got_subcommand("check")) {
    parsed.command = Command::check;
    require_checkable(parsed);
  } else {
    require_usable(parsed);
  }
}

}  // namespace

void add_all(CLI::App& app, Arguments& parsed) {
  app.name("treesitter-engine");
  app.description(DESCRIPTION);
  app.require_subcommand(0, 1);
  app.add_flag_callback(
      "-V,--version", [] { throw CLI::CallForVersion("", 0); },
      "Print the versions of the tool, the tree-sitter core and the grammars");
  app.add_flag("--json", parsed.is_version_json,
               "With --version: one JSON object, with digests of all that decides about records");
  app.allow_extras();
  add_parse(app, parsed);
  add_index(app, parsed);
  add_questions(app, parsed);
  add_check(app, parsed);
  app.add_subcommand("languages", "List the languages and what detects them");
  app.add_subcommand("help", "Say how a command is used: help COMMAND")
      ->add_option("COMMAND")
      ->description("One of them; without it, the tool itself")
      ->type_name("");
  for (CLI::App* const command : app.get_subcommands({})) command->allow_extras();
}

Arguments parse_arguments(int count, const char* const* arguments) {
  Arguments parsed;
  parsed.format = is_terminal(STDOUT_FILENO) ? Format::text : Format::json;
  CLI::App app;
  add_all(app, parsed);

  std::vector<std::string> rest = shielded(count, arguments);
  settle_command(app, rest);
  std::reverse(rest.begin(), rest.end());  // CLI11 takes them from the back
  try {
    app.parse(std::move(rest));
  } catch (const CLI::CallForVersion&) {
    require_all_taken(app);
    parsed.command = Command::version;
    parsed.is_version_json = app.count("--json") > 0;
    return parsed;
  } catch (const CLI::CallForHelp&) {
    parsed.command = Command::help;
    parsed.help = app.help();
    return parsed;
  } catch (const CLI::ParseError& error) {
    throw usage_error(error);
  }
  require_all_taken(app);
  if (parsed.is_version_json) throw UsageError("--json needs --version");
  for (const CLI::App* const command : app.get_subcommands()) require_all_taken(*command);
  if (app.got_subcommand("languages")) {
    parsed.command = Command::languages;
    return parsed;
  }
  if (!settle_index(app, parsed) && !settle_question(app, parsed)) settle_parse(app, parsed);
  return parsed;
}

}  // namespace tool
