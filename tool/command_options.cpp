// See command_options.h.
#include "tool/command_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "tool/escape.h"
#include "tool/language_option.h"
#include "tool/shield.h"
#include "tool/suggestion.h"

namespace tool {
namespace {

using engines::treesitter::Rules;

constexpr const char* PARSE_FOOTER = R"(
Folders are walked in the order of their paths' bytes, to any depth. Hidden entries, symbolic links,
files of unknown language and binary ones (with a NUL among their first 8 KiB, as UTF-16 has) are
left out in them, and what is ignored:
  in a git repository by its .gitignore files, also those above the folder that is named, its
  .git/info/exclude and the user's core.excludesFile, but for what is tracked
  everywhere by .ignore files, which are written alike and stronger than .gitignore beside them
A GLOB of --exclude is such a pattern too, in the folder that is named, and stronger than all of
them: '*.min.js', '/build/', '!kept.js'.

What is named itself is taken whatever the rules say: a file is always answered, a folder entered, a
link followed; but a link to a folder in the list of --files-from is left out. --language is for
files: a folder beside it is an error.

The contents of --batch stand behind each other as `git cat-file --batch='%(objectsize) %(rest)'` prints
them: a line `SIZE PATH`, SIZE bytes, a line feed; a PATH in double quotes is quoted as git quotes it.
Each gets the record of a file of these bytes at PATH. A stream that is cut ends the run with status 2
behind the records of what was whole.

json prints one object per file and line, in the order of the paths, whatever --jobs is:
  {"path","language","content_hash","symbols","references","errors"}
  {"path","language":null}   the name tells no language, and no --language is given
  {"path","raised"}          the parse ended with this error and has no result
What cannot be read (a missing file, a folder without permission) or is larger than --max-filesize
has the first form with the reason in "errors". Bytes of a path that are no UTF-8 become U+FFFD; the
exact bytes of such a path follow in "path_bytes", as hexadecimal digits.

--list prints {"path","size"} for what is named and {"path","size","found":true} for what a folder holds;
what cannot be read of folders has the record that the parse would give it. With --batch standard input
holds paths alone, and those are printed that a walk of their folder would take by --hidden, --exclude and
--type, as they are.

ctags prints a sorted tags file in the extended format when all is parsed: `--format ctags . > tags`.
Its paths are as given, so make it where it is to lie. Lines of more than 64 KiB are left out and told.

On standard error come the files that failed and, with --verbose or on a terminal, what was done
and left out. Ctrl-C ends the run behind a whole record, a second one at once.

Exit status: 0 when every file gave a result without error texts, 1 when some file failed (its record
is there all the same), 2 when the run could not be done.)";

constexpr const char* CHECK_FOOTER = R"(
Parses one file and says what it met and took: what told the language, how the bytes look, how much of
the tree is syntax errors, what is used of each budget whose end would end the parse, and the time of
each step. json is one object on one line, with times in seconds.

Exit status: as of parse.)";

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

void add_language(CLI::App& command, Arguments& parsed) {
  command
      .add_option_function<std::string>(
          "-l,--language",
          taking([&parsed](const std::string& text) { parsed.language = language_meant(text); }),
          "Take what is named as this language: js, .js, c# and the like will do")
      ->type_name("NAME");
}

void add_rules(CLI::App& command, Arguments& parsed) {
  command
      .add_option_function<std::string>(
          "--rules",
          [&parsed](const std::string& name) {
            parsed.rules = name == "navigation" ? Rules::navigation : Rules::standard;
          },
          "standard, or navigation for finding definitions and callers")
      ->type_name("standard|navigation")
      ->check(CLI::IsMember({"standard", "navigation"}).description(""));
}

Format format_of(std::string_view name) {
  if (name == "ctags") return Format::ctags;
  return name == "text" ? Format::text : Format::json;
}

void add_format(CLI::App& command, Arguments& parsed, const std::string& description,
                const std::string& shown, std::initializer_list<std::string> names) {
  command
      .add_option_function<std::string>(
          "-f,--format", [&parsed](const std::string& name) { parsed.format = format_of(name); },
          description)
      ->type_name(shown)
      ->check(CLI::IsMember(names).description(""));
}

}  // namespace

void add_files(CLI::App& command, Arguments& parsed, const char* size_help) {
  walk::WalkOptions& walk = parsed.files.walk;
  command
      .add_option_function<std::string>(
          "--max-filesize",
          taking([&parsed](const std::string& text) { parsed.files.max_size = size_meant(text); }),
          size_help)
      ->type_name("SIZE");
  command.add_flag("--hidden", walk.hidden, "Take hidden entries of folders too, but never .git");
  command.add_flag("--no-ignore", walk.no_ignore, "Read no ignore file");
  const auto several = [](CLI::Option* option, const char* shown) {
    option->type_name(shown)->expected(1)->allow_extra_args(false)->multi_option_policy(
        CLI::MultiOptionPolicy::TakeAll);
  };
  several(command.add_option("--exclude", walk.exclude,
                             "Leave out what matches in folders; several will do"),
          "GLOB");
  several(command.add_option("--type", walk.types,
                             "Of folders take files of this language only; several will do, such "
                             "as js, .js, c#"),
          "NAME");
}

void settle_files(Arguments& parsed) {
  walk::WalkOptions& walk = parsed.files.walk;
  std::for_each(walk.exclude.begin(), walk.exclude.end(), unshield);
  for (std::string& type : walk.types) {
    unshield(type);
    type = language_meant(type);
  }
}

void add_parse(CLI::App& app, Arguments& parsed) {
  CLI::App* const parse = app.add_subcommand("parse", "Parse files and folders");
  add_language(*parse, parsed);
  add_format(*parse, parsed,
             "json, text for people, ctags for editors; by default text on a terminal, else json",
             "json|text|ctags", {"json", "text", "ctags"});
  add_rules(*parse, parsed);
  parse
      ->add_option("-j,--jobs", parsed.jobs,
                   "Threads, 1 to 1024; by default as many as processors may be used")
      ->type_name("N")
      ->check(CLI::Range(1U, MAX_JOBS).description(""));
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
  parse->add_flag("--batch", parsed.is_batch,
                  "Take contents from standard input, each behind a line of its size and path");
  parse->add_flag("--skip-binary", parsed.skips_binary,
                  "Leave out binary files also where they are named");
  parse->add_flag("--list", parsed.lists,
                  "Print what would be parsed, and its sizes; parse nothing");
  add_files(*parse, parsed,
            "Refuse larger files unread; in bytes, or with K, M or G; 64M by default, 0 for none, "
            "where standard input is still refused beyond 4G and a quarter of what one file may "
            "take");
  parse->add_flag("-v,--verbose", parsed.is_verbose, "Say at the end what was done and left out");
  parse
      ->add_option("PATH", parsed.paths,
                   "Files and folders; - is standard input, with --language or --stdin-path")
      ->type_name("");
  parse->footer(PARSE_FOOTER);
}

void add_check(CLI::App& app, Arguments& parsed) {
  CLI::App* const check = app.add_subcommand("check", "Say what one file meets and takes");
  add_language(*check, parsed);
  add_format(*check, parsed, "json, or text for people; by default text on a terminal only",
             "json|text", {"json", "text"});
  add_rules(*check, parsed);
  check->add_option("FILE", parsed.paths, "The file")->type_name("");
  check->footer(CHECK_FOOTER);
}

}  // namespace tool
