// See arguments.h. CLI11's door.
#include "tool/arguments.h"

#include <sched.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <thread>

#include "engines/languages/languages.h"
#include "tool/escape.h"

namespace tool {
namespace {

constexpr const char* DESCRIPTION =
    "Reads source files and prints what each declares and what it refers to.";

constexpr const char* PARSE_FOOTER = R"(
Folders are walked in the order of their paths' bytes. Hidden entries, symbolic links and files of
unknown language in them are left out; a file that is named itself is always answered, and a link
that is named itself is followed.

json prints one object per file and line, in the order of the paths, whatever --jobs is:
  {"path","language","content_hash","symbols","references","errors"}
  {"path","language":null}   the name tells no language, and no --language is given
  {"path","raised"}          the parse ended with this error and has no result
What cannot be read (a missing file, a folder without permission) has the first form with the reason
in "errors". Bytes of a path that are no UTF-8 become U+FFFD; the exact bytes of such a path follow
in "path_bytes", as hexadecimal digits.

Exit status: 0 when every file gave a result without error texts, 1 when some file failed (its record
is there all the same), 2 when the run could not be done.)";

// CLI11 reads a value like "[a,b]" as a list, "{}" as an empty one and "++" as the end of a
// command, while folders are called "[id]"; and it forgets a "--" that stands behind the first
// path. A NUL, which no argument can hold, in front of an argument hides its beginning from CLI11.
constexpr char SHIELD = '\0';

bool needs_shield(std::string_view argument) {
  return !argument.empty() && std::string_view("[{+%").find(argument[0]) != std::string_view::npos;
}

// The arguments without the program's name, and without the "--" behind which all are paths.
std::vector<std::string> shielded(int count, const char* const* arguments) {
  std::vector<std::string> result;
  bool is_path = false;
  for (int i = 1; i < count; ++i) {
    std::string argument = arguments[i];
    if (!is_path && argument == "--") {
      is_path = true;
      continue;
    }
    if (is_path || needs_shield(argument)) argument.insert(argument.begin(), SHIELD);
    result.push_back(std::move(argument));
  }
  return result;
}

void unshield(std::string& argument) {
  if (argument.starts_with(SHIELD)) argument.erase(0, 1);
}

// CLI11's own words, which quote what the user gave.
UsageError usage_error(const CLI::ParseError& error) {
  std::string text = error.what();
  std::erase(text, SHIELD);
  return UsageError(escaped(text));
}

// The processors that this process may run on, which may be fewer than the machine has.
unsigned usable_processors() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  const bool is_known = ::sched_getaffinity(0, sizeof processors, &processors) == 0;
  // It fails on machines with more processors than the set has room for.
  const unsigned count = is_known ? static_cast<unsigned>(CPU_COUNT(&processors))
                                  : std::thread::hardware_concurrency();
  return std::clamp(count, 1U, MAX_JOBS);
}

// Empty when it is one of the sixteen, else what is wrong, as CLI11 wants it.
std::string language_fault(std::string name) {
  unshield(name);
  const auto names = engines::languages::language_names();
  if (std::find(names.begin(), names.end(), name) != names.end()) return "";
  return "unknown language '" + name + "'; `treesitter-engine languages` lists them";
}

void add_parse(CLI::App& app, Arguments& parsed) {
  CLI::App* const parse = app.add_subcommand("parse", "Parse files and folders");
  parse->add_option("--language", parsed.language, "Parse the named files as this language")
      ->type_name("NAME")
      ->check(CLI::Validator(language_fault, ""));
  parse
      ->add_option("--jobs", parsed.jobs,
                   "Threads, 1 to 1024; by default as many as processors may be used")
      ->type_name("N")
      ->check(CLI::Range(1U, MAX_JOBS).description(""));
  parse
      ->add_option_function<std::string>(
          "--format",
          [&parsed](const std::string& name) {
            parsed.format = name == "text" ? Format::text : Format::json;
          },
          "json, or text for people; by default text on a terminal only")
      ->type_name("json|text")
      ->check(CLI::IsMember({"json", "text"}).description(""));
  parse
      ->add_option("--files-from", parsed.files_from,
                   "Take paths from the lines of FILE too (-: standard input)")
      ->type_name("FILE");
  parse->add_flag("-0,--null", parsed.null_separated,
                  "The paths of --files-from end with NUL characters");
  parse
      ->add_option("PATH", parsed.paths,
                   "Files and folders; - is standard input and needs --language")
      ->type_name("");
  parse->footer(PARSE_FOOTER);
}

void require_usable(const Arguments& parsed) {
  const auto inputs = std::count(parsed.paths.begin(), parsed.paths.end(), STANDARD_INPUT);
  const bool is_list_input = parsed.files_from == STANDARD_INPUT;
  if (parsed.paths.empty() && !parsed.files_from) throw UsageError("parse: no PATH is given");
  if (inputs > 0 && !parsed.language) {
    throw UsageError("parse: standard input (-) needs --language");
  }
  if (inputs + (is_list_input ? 1 : 0) > 1) {
    throw UsageError("parse: standard input (-) can be read only once");
  }
  if (parsed.null_separated && !parsed.files_from) {
    throw UsageError("parse: --null needs --files-from");
  }
}

}  // namespace

Arguments parse_arguments(int count, const char* const* arguments) {
  Arguments parsed;
  parsed.jobs = usable_processors();
  parsed.format = ::isatty(STDOUT_FILENO) != 0 ? Format::text : Format::json;

  CLI::App app(DESCRIPTION, "treesitter-engine");
  app.require_subcommand(1);
  app.add_flag_callback(
      "--version", [] { throw CLI::CallForVersion("", 0); },
      "Print the versions of the tool, the tree-sitter core and the grammars");
  add_parse(app, parsed);
  CLI::App* const languages =
      app.add_subcommand("languages", "List the languages and what detects them");

  std::vector<std::string> rest = shielded(count, arguments);
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
  if (languages->parsed()) {
    parsed.command = Command::languages;
    return parsed;
  }
  std::for_each(parsed.paths.begin(), parsed.paths.end(), unshield);
  if (parsed.files_from) unshield(*parsed.files_from);
  require_usable(parsed);
  return parsed;
}

}  // namespace tool
