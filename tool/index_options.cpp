// The commands `index` and `watch`. See command_options.h.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "tool/command_options.h"
#include "tool/shield.h"

namespace tool {
namespace {

constexpr const char* DEFAULT_FILES = "--default-files";
constexpr const char* FROM_SHARDS = "--from-shards";
constexpr std::array FILE_OPTIONS = {"--exclude", "--type", "--hidden", "--no-ignore",
                                     "--max-filesize"};

constexpr const char* INDEX_FOOTER = R"(
The index is of the whole git repository around PATH, or of the nearest folder from PATH up that has
an index; else of PATH itself. It lies there in the hidden folder .treesitter-engine, which git does
not see, unless --database names a file.

Files are taken as `parse` takes them of a folder, the root here. An index keeps --exclude, --type,
--hidden, --no-ignore and --max-filesize: they hold for later runs, for `watch` and for `changed`,
which then add and remove files accordingly. Whoever gives any of them gives all anew, so that
those which are not given are as by default again; --default-files gives none.

A further run looks at what has changed: a file whose size, times and inode are as they were is not
read, one with the same bytes not parsed. A run that was ended at any moment loses a second's work,
and the next one goes on. A file that killed a run is left out with an error until it changes. An index
of another version of the tool, or by other rules, is made anew.

--from-shards makes the index anew, of the records in FOLDER, which `treesitter-cluster parse --output
FOLDER` has made with the same engine. Paths in them are absolute, and in the root, or taken from it; the
rules are those of the records. The next run then reads each file once, to see whether its bytes are those.
With --catalogue there is an index for each folder at the root instead, for what no single database should
hold; `find --catalogue CATALOGUE` asks all of them.

--tags writes the symbols of the index as a tags file when all is done, beside FILE and renamed, so that
editors never read half of one. Paths in it lead from the folder of FILE, or are absolute when the root
is not above it: the same bytes that `parse --format ctags` of the root gives in that folder.

On standard error come the files that failed and, with --verbose or on a terminal, what was done.

Exit status: 0 when no file has an error, 1 when some has (all others are in the index), 2 when there
is no index, or an old one.)";

constexpr const char* WATCH_FOOTER = R"(
Does what `index` does, and goes on: each file that is saved, made, moved or removed is in the index some
thirty milliseconds later. Ctrl-C and SIGTERM end it. Options mean what they mean to `index`; `help index`
says more. With --tags the tags file is written anew after each change.

Changes are told by the system (inotify). A folder that is new, moved in, or whose .gitignore, .ignore or
.git/info/exclude has changed is walked; ignored and hidden folders are not watched. Not noticed are the
user's own ignore file, `git add --force` of a file that is ignored, and what is written to a file before
it is closed. Others may ask the index meanwhile, and write it between two changes.

With --verbose or on a terminal each change has a line on standard error.

Exit status: 0 when it was ended; 2 when there is no index or it cannot go on: the repository is gone, or
the system allows too few watches (fs.inotify.max_user_watches).)";

void add(CLI::App& command, Arguments& parsed) {
  command.add_option("--database", parsed.database, "The file to keep the index in")
      ->type_name("FILE");
  add_rules(command, parsed.index_rules,
            "navigation, for finding definitions and callers, or standard",
            {"navigation", "standard"});
  add_jobs(command, parsed);
  add_files(command, parsed,
            "Refuse larger files unread; in bytes, or with K, M or G; 64M by default, 0 for none");
  command.add_flag(DEFAULT_FILES)
      ->description("Take files as by default, whatever an earlier run was told");
  command.add_option("--tags", parsed.tags, "Write a tags file for editors, too")
      ->type_name("FILE");
  command.add_flag("-v,--verbose", parsed.is_verbose, "Say at the end what was done and left out");
  command.add_option("PATH", parsed.index_path, "A folder; by default the current one")
      ->type_name("");
}

bool has_file_options(const CLI::App& command) {
  return std::any_of(FILE_OPTIONS.begin(), FILE_OPTIONS.end(),
                     [&](const char* name) { return command.count(name) > 0; });
}

void settle(const CLI::App& command, Arguments& parsed) {
  const std::string& name = command.get_name();
  unshield(parsed.index_path);
  if (parsed.database) unshield(*parsed.database);
  if (parsed.tags) unshield(*parsed.tags);
  if (parsed.index_path.empty()) throw UsageError(name + ": the path is empty");
  if (parsed.tags && parsed.tags->empty()) throw UsageError(name + ": the path of --tags is empty");
  settle_files(parsed);
  const bool is_default = command.count(DEFAULT_FILES) > 0;
  if (is_default && has_file_options(command)) {
    throw UsageError(name + ": --default-files stands alone among the options about files");
  }
  parsed.has_files = is_default || has_file_options(command);
  if (parsed.catalogue && (!parsed.from_shards || parsed.database || parsed.tags)) {
    throw UsageError(name + ": --catalogue needs " + FROM_SHARDS +
                     ", and excludes --database and --tags");
  }
  if (!parsed.from_shards) return;
  unshield(*parsed.from_shards);
  if (parsed.catalogue) unshield(*parsed.catalogue);
  if (parsed.has_files || command.count("--rules") > 0) {
    throw UsageError(name + ": " + FROM_SHARDS +
                     " has its files and rules from the run that made the shards");
  }
}

}  // namespace

void add_index(CLI::App& app, Arguments& parsed) {
  CLI::App* const index =
      app.add_subcommand("index", "Make the index of a repository, or bring it up to date");
  add(*index, parsed);
  index->footer(INDEX_FOOTER);
  index
      ->add_option(FROM_SHARDS, parsed.from_shards,
                   "Take the records of a run of treesitter-cluster, and read no file")
      ->type_name("FOLDER");
  index
      ->add_option("--catalogue", parsed.catalogue,
                   "Make an index of each folder at the root, in CATALOGUE, for `find --catalogue`")
      ->type_name("CATALOGUE");
  CLI::App* const watch =
      app.add_subcommand("watch", "Make the index of a repository, and keep it up to date");
  add(*watch, parsed);
  watch->footer(WATCH_FOOTER);
}

bool settle_index(const CLI::App& app, Arguments& parsed) {
  for (const auto& [name, command] :
       {std::pair("index", Command::index), std::pair("watch", Command::watch)}) {
    if (!app.got_subcommand(name)) continue;
    parsed.command = command;
    settle(*app.get_subcommand(name), parsed);
    return true;
  }
  return false;
}

}  // namespace tool
