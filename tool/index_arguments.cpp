// See index_arguments.h.
#include "tool/index_arguments.h"

#include <CLI/CLI.hpp>
#include <string>

#include "tool/shield.h"

namespace tool {
namespace {

using engines::treesitter::Rules;

constexpr const char* INDEX_FOOTER = R"(
The index is of the whole git repository around PATH, or of the nearest folder from PATH up that has
an index; else of PATH itself. It lies there in the hidden folder .treesitter-engine, which git does
not see, unless --database names a file. Files are taken as `parse` takes them of a folder.

A further run looks at what has changed: a file whose size, times and inode are as they were is not
read, one with the same bytes not parsed. A run that was ended at any moment loses a second's work,
and the next one goes on. A file that killed a run is left out with an error until it changes. An index
of another version of the tool, or by other rules, is made anew.

On standard error come the files that failed and, with --verbose or on a terminal, what was done.

Exit status: 0 when no file has an error, 1 when some has (all others are in the index), 2 when there
is no index, or an old one.)";

}  // namespace

void add_index(CLI::App& app, Arguments& parsed) {
  CLI::App* const index =
      app.add_subcommand("index", "Make the index of a repository, or bring it up to date");
  index->add_option("--database", parsed.database, "The file to keep the index in")
      ->type_name("FILE");
  index
      ->add_option_function<std::string>(
          "--rules",
          [&parsed](const std::string& name) {
            parsed.index_rules = name == "standard" ? Rules::standard : Rules::navigation;
          },
          "navigation, for finding definitions and callers, or standard")
      ->type_name("navigation|standard")
      ->check(CLI::IsMember({"navigation", "standard"}).description(""));
  index
      ->add_option("-j,--jobs", parsed.jobs,
                   "Threads, 1 to 1024; by default as many as processors may be used")
      ->type_name("N")
      ->check(CLI::Range(1U, MAX_JOBS).description(""));
  index->add_flag("-v,--verbose", parsed.is_verbose, "Say at the end what was done and left out");
  index->add_option("PATH", parsed.index_path, "A folder; by default the current one")
      ->type_name("");
  index->footer(INDEX_FOOTER);
}

void settle_index(Arguments& parsed) {
  unshield(parsed.index_path);
  if (parsed.database) unshield(*parsed.database);
  if (parsed.index_path.empty()) throw UsageError("index: the path is empty");
}

}  // namespace tool
