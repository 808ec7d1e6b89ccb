// See command_options.h.
#include "tool/command_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <functional>
#include <system_error>
#include <utility>

#include "engines/languages/languages.h"
#include "tool/escape.h"
#include "tool/shield.h"
#include "tool/suggestion.h"

namespace tool {
namespace {

using engines::treesitter::Rules;

// Usual names of languages that are neither canonical nor a suffix.
constexpr std::pair<std::string_view, std::string_view> ALIASES[] = {
    {"c#", "csharp"},       {"c-sharp", "csharp"}, {"ecmascript", "javascript"}, {"golang", "go"},
    {"node", "javascript"}, {"python3", "python"}, {"typescriptreact", "tsx"},
};

std::vector<std::string> names() {
  const auto all = engines::languages::language_names();
  return {all.begin(), all.end()};
}

// The value of --max-filesize, such as "64M", in bytes. "0" means no limit: the largest number.
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

// A function for CLI11 that calls `take` with the value as the user wrote it.
auto taking(std::function<void(const std::string&)> take) {
  return [take = std::move(take)](std::string value) {
    unshield(value);
    take(value);
  };
}

// An option whose value is one of `words`.
void add_choice(CLI::App& command, const char* names, const char* help,
                const std::vector<std::string>& words,
                const std::function<void(const std::string&)>& take) {
  command.add_option_function<std::string>(names, take, help)
      ->type_name(CLI::detail::join(words, "|"))
      ->check(CLI::IsMember(words).description(""));
}

}  // namespace

std::string language_meant(std::string_view text) {
  const std::string word = lower_case(text);
  const std::string suffix = word.starts_with('.') ? word : '.' + word;
  for (const auto& language : engines::languages::language_infos()) {
    const auto& suffixes = language.suffixes;
    if (word == language.name ||
        std::find(suffixes.begin(), suffixes.end(), suffix) != suffixes.end()) {
      return std::string(language.name);
    }
  }
  for (const auto& [alias, name] : ALIASES) {
    if (word == alias) return std::string(name);
  }
  const std::string meant = suggestion(word, names());
  throw UsageError("unknown language '" + escaped(text) + "'" +
                   (meant.empty() ? "; `treesitter-engine languages` lists them" : meant));
}

void add_language(CLI::App& command, Arguments& parsed) {
  command
      .add_option_function<std::string>(
          "-l,--language",
          taking([&parsed](const std::string& text) { parsed.language = language_meant(text); }),
          "Take what is named as this language: js, .js, c# and the like will do")
      ->type_name("NAME");
}

void add_format(CLI::App& command, Format& format, const char* help,
                const std::vector<std::string>& words) {
  add_choice(command, "-f,--format", help, words, [&format](const std::string& word) {
    format = word == "ctags" ? Format::ctags : word == "text" ? Format::text : Format::json;
  });
}

void add_rules(CLI::App& command, Rules& rules, const char* help,
               const std::vector<std::string>& words) {
  add_choice(command, "--rules", help, words, [&rules](const std::string& word) {
    rules = word == "navigation" ? Rules::navigation : Rules::standard;
  });
}

void add_jobs(CLI::App& command, Arguments& parsed) {
  command
      .add_option("-j,--jobs", parsed.jobs,
                  "Threads, 1 to 1024; by default as many as processors may be used")
      ->type_name("N")
      ->check(CLI::Range(1U, MAX_JOBS).description(""));
}

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

}  // namespace tool
