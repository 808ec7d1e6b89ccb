// The commands that ask an index. See command_options.h.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "models/symbol.h"
#include "tool/command_options.h"
#include "tool/shield.h"

namespace tool {
namespace {

using repository::Match;

constexpr unsigned MOST_ROWS = 1'000'000'000;  // 0 is for more

struct Row {
  const char* command;
  Question question;
  const char* help;
  const char* text;  // the operand as the help shows it; empty for a command without one
  const char* text_help;
  bool has_filter;  // the options --language, --in and --limit
};

constexpr std::array<Row, 9> ROWS = {{
    {"find", Question::find, "Find definitions by name", "NAME", "A name, or a part of one", true},
    {"callers", Question::callers, "Find who calls a name", "NAME", "The name of what is called",
     true},
    {"callees", Question::callees, "Find what a function calls", "FQN",
     "Its qualified name, or the last components of it", true},
    {"references", Question::references, "Find whatever refers to a name", "NAME", "The name",
     true},
    {"importers", Question::importers, "Find who imports a module", "MODULE",
     "Its name or path, or the last components of them", true},
    {"outline", Question::outline, "List the symbols of a file", "FILE", "A path", false},
    {"search", Question::search, "Find definitions by words of their signature and documentation",
     "WORDS", "Words, all of which must be there", true},
    {"changed", Question::changed, "List what the next run of `index` would do", "", "", false},
    {"stats", Question::stats, "Say what the index holds", "", "", false},
}};

constexpr const char* FOOTER = R"(
The index is found as `index` finds it: of the git repository around the current folder, or of the
nearest folder up that has one. --repository names another folder, --database the file of the index.
It may be written meanwhile; the answer is of the last state that was committed.

Names are not resolved, since that takes a compiler. Where a name has several definitions, those that
the asking file may mean are listed with what speaks for them: "declared in this file", "imported
here", "its module is imported here", "same folder", "same language".

text prints paths from the current folder. json prints an object per line, with paths from the root of
the repository; doc/schema/answer.json describes them.

Exit status: 0 when something was found, 1 when nothing was, 2 when the question could not be answered,
such as without an index.)";

std::vector<std::string> kinds() {
  const auto& texts = engines::models::SYMBOL_KIND_TEXTS;
  return {texts.begin(), texts.end()};
}

void add_match(CLI::App& command, QuestionArguments& asked) {
  const auto flag = [&](const char* name, Match match, const char* help) {
    command.add_flag_callback(
        name,
        [&asked, match] {
          if (asked.match != Match::exact && asked.match != match) {
            throw UsageError("find: --prefix, --substring and --fuzzy exclude each other");
          }
          asked.match = match;
        },
        help);
  };
  flag("--prefix", Match::prefix, "Names that begin so");
  flag("--substring", Match::substring,
       "Names that hold this; below three characters those with a word that begins so");
  flag("--fuzzy", Match::fuzzy, "Names whose words begin so: `parHead` finds parse_http_header");
}

void add_filter(CLI::App& command, QuestionArguments& asked) {
  command.add_option("--language", asked.filter.language, "In files of this language only")
      ->type_name("NAME");
  command
      .add_option("--in", asked.filter.glob,
                  "In paths that match, or below folders that do: 'src/*.ts', tests")
      ->type_name("GLOB");
  command.add_option("--limit", asked.limit, "The most rows; 100 by default, 0 for all")
      ->type_name("N")
      ->check(
          CLI::Range(0U, MOST_ROWS).description(""));  // else CLI11 reads -1 as the largest number
}

void add_question(CLI::App& app, const Row& row, QuestionArguments& asked) {
  CLI::App* const command = app.add_subcommand(row.command, row.help);
  if (row.question == Question::find) {
    add_match(*command, asked);
    command->add_option("--kind", asked.filter.kind, "Of this kind only")
        ->type_name("KIND")
        ->check(CLI::IsMember(kinds()).description(""));
  }
  if (row.has_filter) add_filter(*command, asked);
  command->add_option("--repository", asked.path, "A folder of the repository; by default this one")
      ->type_name("FOLDER");
  command->add_option("--database", asked.database, "The file of the index")->type_name("FILE");
  if (row.question == Question::find) {
    command
        ->add_option("--catalogue", asked.catalogue,
                     "Ask all indexes of a folder that `index --from-shards --catalogue` has made")
        ->type_name("FOLDER");
  }
  add_format(*command, asked.format, "text, which is the default, or json", {"json", "text"});
  if (row.question == Question::search) {
    command->add_option(row.text, asked.words, row.text_help)->type_name("");
  } else if (*row.text != '\0') {
    command->add_option(row.text, asked.text, row.text_help)->type_name("");
  }
  command->footer(FOOTER);
}

void settle(const Row& row, QuestionArguments& asked) {
  asked.question = row.question;
  const std::string command = row.command;
  unshield(asked.text);
  std::for_each(asked.words.begin(), asked.words.end(), unshield);
  unshield(asked.path);
  if (asked.database) unshield(*asked.database);
  if (asked.catalogue) unshield(*asked.catalogue);
  if (asked.path.empty()) throw UsageError(command + ": the folder's path is empty");
  if (asked.filter.glob) unshield(*asked.filter.glob);
  if (asked.filter.language) {
    unshield(*asked.filter.language);
    asked.filter.language = language_meant(*asked.filter.language);
  }
  asked.filter.limit = asked.limit == 0 ? repository::NO_LIMIT : asked.limit;
  if (*row.text == '\0') return;
  for (const std::string& word : asked.words) {
    asked.text.append(asked.text.empty() ? "" : " ").append(word);
  }
  if (asked.text.empty()) throw UsageError(command + ": no " + row.text + " is given");
}

}  // namespace

void add_questions(CLI::App& app, Arguments& parsed) {
  for (const Row& row : ROWS) add_question(app, row, parsed.question);
}

bool settle_question(const CLI::App& app, Arguments& parsed) {
  for (const Row& row : ROWS) {
    if (!app.got_subcommand(row.command)) continue;
    parsed.command = Command::question;
    settle(row, parsed.question);
    return true;
  }
  return false;
}

}  // namespace tool
