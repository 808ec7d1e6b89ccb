// The commands `parse` and `check`. See command_options.h.
#include <CLI/CLI.hpp>

#include "tool/command_options.h"

namespace tool {
namespace {

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

constexpr const char* RULES_HELP = "standard, or navigation for finding definitions and callers";

}  // namespace

void add_parse(CLI::App& app, Arguments& parsed) {
  CLI::App* const parse = app.add_subcommand("parse", "Parse files and folders");
  add_language(*parse, parsed);
  add_format(*parse, parsed.format,
             "json, text for people, ctags for editors; by default text on a terminal, else json",
             {"json", "text", "ctags"});
  add_rules(*parse, parsed.rules, RULES_HELP, {"standard", "navigation"});
  add_jobs(*parse, parsed);
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
  add_format(*check, parsed.format, "json, or text for people; by default text on a terminal only",
             {"json", "text"});
  add_rules(*check, parsed.rules, RULES_HELP, {"standard", "navigation"});
  check->add_option("FILE", parsed.paths, "The file")->type_name("");
  check->footer(CHECK_FOOTER);
}

}  // namespace tool
