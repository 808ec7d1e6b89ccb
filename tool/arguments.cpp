// See arguments.h. CLI11's door.
#include "tool/arguments.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <functional>
#include <string_view>
#include <system_error>
#include <utility>

#include "engines/languages/languages.h"
#include "tool/escape.h"
#include "tool/language_option.h"
#include "tool/shield.h"
#include "tool/suggestion.h"

namespace tool {
namespace {

using engines::treesitter::Rules;

constexpr const char* DESCRIPTION =
    "Reads source files and prints what each declares and what it refers to.";

constexpr const char* PARSE_FOOTER = R"(
Folders are walked in the order of their paths' bytes, to any depth. Hidden entries, symbolic links,
files of unknown language and binary ones (with a NUL among their first 8 KiB, as UTF-16 has) are
left out in them, and what is ignored:
  in a git repository by its .gitignore files, also those above the folder that is named, its
  .git/info/exclude and the user's core.excludesFile; patterns alone decide, not what is tracked
  everywhere by .ignore files, which are written alike and stronger than .gitignore beside them
A GLOB of --exclude is such a pattern too, in the folder that is named, and stronger than all of
them: '*.min.js', '/build/', '!kept.js'.

What is named itself is taken whatever the rules say: a file is always answered, a folder entered, a
link followed; but a link to a folder in the list of --files-from is left out. --language is for
files: a folder beside it is an error.

json prints one object per file and line, in the order of the paths, whatever --jobs is:
  {"path","language","content_hash","symbols","references","errors"}
  {"path","language":null}   the name tells no language, and no --language is given
  {"path","raised"}          the parse ended with this error and has no result
What cannot be read (a missing file, a folder without permission) or is larger than --max-filesize
has the first form with the reason in "errors". Bytes of a path that are no UTF-8 become U+FFFD; the
exact bytes of such a path follow in "path_bytes", as hexadecimal digits.

ctags prints a sorted tags file in the extended format when all is parsed: `--format ctags . > tags`.
Its paths are as given, so make it where it is to lie. Lines of more than 64 KiB are left out and told.

On standard error come the files that failed and, with --verbose or on a terminal, what was done
and left out. Ctrl-C ends the run behind a whole record, a second one at once.

Exit status: 0 when every file gave a result without error texts, 1 when some file failed (its record
is there all the same), 2 when the run could not be done.)";

// CLI11's own words, which quote what the user gave.
UsageError usage_error(const CLI::ParseError& error) {
  std::string text = error.what();
  std::erase(text, SHIELD);
  return UsageError(escaped(text));
}

// "64M" as bytes; 0 for no limit.
std::uint64_t size_meant(std::string_view text) {
  constexpr std::string_view UNITS = "kmg";
  const std::string shown = escaped(text);
  unsigned shift = 0;
  if (!text.empty()) {
    const auto unit = UNITS.find(lower_case(text.substr(text.size() - 1)));
    if (unit != std::string_view::npos) {
      shift = 10 * (static_cast<unsigned>(unit) + 1);
      text.remove_suffix(1);
    }
  }
  std::uint64_t size = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
  if (error != std::errc() || end != text.data() + text.size() || size > UINT64_MAX >> shift) {
    throw UsageError("--max-filesize: '" + shown +
                     "' is no number of bytes such as 1000000 or 64M");
  }
  return size == 0 ? UINT64_MAX : size << shift;
}

// Hands the value of an option to whoever understands it.
auto taking(std::function<void(const std::string&)> take) {
  return [take = std::move(take)](std::string value) {
    unshield(value);
    take(value);
  };
}

// What folders are walked for.
void add_walk(CLI::App& parse, walk::WalkOptions& walk) {
  parse.add_flag("--hidden", walk.hidden, "Take hidden entries of folders too, but never .git");
  parse.add_flag("--no-ignore", walk.no_ignore, "Read no ignore file");
  parse.add_option("--exclude", walk.exclude, "Leave out what matches in folders; several will do")
      ->type_name("GLOB")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  parse
      .add_option("--type", walk.types,
                  "Of folders take files of this language only; several will do, as for --language")
      ->type_name("NAME")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void settle_walk(walk::WalkOptions& walk) {
  std::for_each(walk.exclude.begin(), walk.exclude.end(), unshield);
  for (std::string& type : walk.types) {
    unshield(type);
    type = language_meant(type);
  }
}

Format format_of(std::string_view name) {
  if (name == "ctags") return Format::ctags;
  return name == "text" ? Format::text : Format::json;
}

void add_parse(CLI::App& app, Arguments& parsed) {
  CLI::App* const parse = app.add_subcommand("parse", "Parse files and folders");
  parse
      ->add_option_function<std::string>(
          "-l,--language",
          taking([&parsed](const std::string& text) { parsed.language = language_meant(text); }),
          "Parse the named files as this language: js, .js, c# and the like will do")
      ->type_name("NAME");
  parse
      ->add_option("-j,--jobs", parsed.jobs,
                   "Threads, 1 to 1024; by default as many as processors may be used")
      ->type_name("N")
      ->check(CLI::Range(1U, MAX_JOBS).description(""));
  parse
      ->add_option_function<std::string>(
          "-f,--format", [&parsed](const std::string& name) { parsed.format = format_of(name); },
          "json, text for people, ctags for editors; by default text on a terminal, else json")
      ->type_name("json|text|ctags")
      ->check(CLI::IsMember({"json", "text", "ctags"}).description(""));
  parse
      ->add_option_function<std::string>(
          "--rules",
          [&parsed](const std::string& name) {
            parsed.rules = name == "navigation" ? Rules::navigation : Rules::standard;
          },
          "standard, or navigation for finding definitions and callers")
      ->type_name("standard|navigation")
      ->check(CLI::IsMember({"standard", "navigation"}).description(""));
  parse
      ->add_option_function<std::string>(
          "--max-filesize",
          taking([&parsed](const std::string& text) { parsed.max_file_size = size_meant(text); }),
          "Refuse larger files unread; in bytes, or with K, M or G; 64M by default, 0 for none, "
          "where "
          "standard input is still refused beyond 4G and a quarter of what one file may take")
      ->type_name("SIZE");
  parse
      ->add_option("--files-from", parsed.files_from,
                   "Take paths from the lines of FILE too (-: standard input)")
      ->type_name("FILE");
  parse->add_flag("-0,--null", parsed.null_separated,
                  "The paths of --files-from end with NUL characters");
  parse
      ->add_option("--stdin-path", parsed.stdin_path,
                   "What standard input is the content of: names its symbols, tells its language")
      ->type_name("PATH");
  add_walk(*parse, parsed.walk);
  parse->add_flag("-v,--verbose", parsed.is_verbose, "Say at the end what was done and left out");
  parse
      ->add_option("PATH", parsed.paths,
                   "Files and folders; - is standard input, with --language or --stdin-path")
      ->type_name("");
  parse->footer(PARSE_FOOTER);
}

void require_usable_input(const Arguments& parsed) {
  const auto inputs = std::count(parsed.paths.begin(), parsed.paths.end(), STANDARD_INPUT);
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

void require_usable(const Arguments& parsed) {
  if (parsed.paths.empty() && !parsed.files_from) throw UsageError("parse: no PATH is given");
  require_usable_input(parsed);
  if (parsed.null_separated && !parsed.files_from) {
    throw UsageError("parse: --null needs --files-from");
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

// Turns `help COMMAND` into `COMMAND --help`, and finds what is no command.
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

// What is left of the arguments is an error, which CLI11 would put less helpfully.
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

}  // namespace

Arguments parse_arguments(int count, const char* const* arguments) {
  Arguments parsed;
  parsed.format = ::isatty(STDOUT_FILENO) != 0 ? Format::text : Format::json;

  CLI::App app(DESCRIPTION, "treesitter-engine");
  app.require_subcommand(0, 1);
  app.add_flag_callback(
      "-V,--version", [] { throw CLI::CallForVersion("", 0); },
      "Print the versions of the tool, the tree-sitter core and the grammars");
  app.allow_extras();
  add_parse(app, parsed);
  CLI::App* const languages =
      app.add_subcommand("languages", "List the languages and what detects them");
  app.add_subcommand("help", "Say how a command is used: help COMMAND");
  for (CLI::App* const command : app.get_subcommands({})) command->allow_extras();

  std::vector<std::string> rest = shielded(count, arguments);
  settle_command(app, rest);
  std::reverse(rest.begin(), rest.end());  // CLI11 takes them from the back
  try {
    app.parse(std::move(rest));
  } catch (const CLI::CallForVersion&) {
    parsed.command = Command::version;
    return parsed;
  } catch (const CLI::CallForHelp&) {
    parsed.command = Command::help;
    parsed.help = app.help();
    return parsed;
  } catch (const CLI::ParseError& error) {
    throw usage_error(error);
  }
  require_all_taken(app);
  for (const CLI::App* const command : app.get_subcommands()) require_all_taken(*command);
  if (languages->parsed()) {
    parsed.command = Command::languages;
    return parsed;
  }
  std::for_each(parsed.paths.begin(), parsed.paths.end(), unshield);
  if (parsed.files_from) unshield(*parsed.files_from);
  if (parsed.stdin_path) unshield(*parsed.stdin_path);
  settle_walk(parsed.walk);
  require_usable(parsed);
  return parsed;
}

}  // namespace tool
