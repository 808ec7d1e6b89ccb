// See commands.h. Uses CLI11 directly, since it reads CLI11's own tables.
#include "tool/manual/commands.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "engines/languages/languages.h"
#include "models/symbol.h"
#include "tool/arguments.h"
#include "tool/command_options.h"

namespace tool::manual {
namespace {

enum class Source : std::uint8_t { nothing, files, folders, languages, kinds, commands };

struct Row {
  bool is_operand;
  std::string_view shown;
  Source source;
};

// What each placeholder of the help stands for. One of the form a|b needs no row.
constexpr std::array<Row, 15> ROWS = {{
    {false, "CATALOGUE", Source::folders},
    {false, "FILE", Source::files},
    {false, "FOLDER", Source::folders},
    {false, "GLOB", Source::files},
    {false, "KIND", Source::kinds},
    {false, "N", Source::nothing},
    {false, "NAME", Source::languages},
    {false, "PATH", Source::files},
    {false, "SIZE", Source::nothing},
    {true, "COMMAND", Source::commands},
    {true, "FILE", Source::files},
    {true, "FQN", Source::nothing},
    {true, "MODULE", Source::nothing},
    {true, "PATH", Source::files},
    {true, "WORDS", Source::nothing},
}};

Source source_of(bool is_operand, std::string_view shown) {
  if (is_operand && shown == "NAME") return Source::nothing;  // of a symbol
  for (const Row& row : ROWS) {
    if (row.is_operand == is_operand && row.shown == shown) return row.source;
  }
  throw std::runtime_error("commands.cpp does not say what completes " + std::string(shown));
}

std::vector<std::string> alternatives(std::string_view text) {
  std::vector<std::string> words;
  while (true) {
    const auto end = text.find('|');
    words.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return words;
    text.remove_prefix(end + 1);
  }
}

std::vector<std::string> words_of(Source source, const CLI::App& app) {
  std::vector<std::string> words;
  if (source == Source::languages) {
    for (const auto name : engines::languages::language_names()) words.emplace_back(name);
  } else if (source == Source::kinds) {
    for (const auto text : engines::models::SYMBOL_KIND_TEXTS) words.emplace_back(text);
  } else if (source == Source::commands) {
    for (const CLI::App* const command : app.get_subcommands({})) {
      words.push_back(command->get_name());
    }
  }
  return words;
}

Value value_of(bool is_operand, const std::string& shown, const CLI::App& app) {
  if (shown.empty()) return {};
  if (shown.find('|') != std::string::npos) return {shown, Offer::words, alternatives(shown)};
  const Source source = source_of(is_operand, shown);
  Value value{shown, Offer::nothing, words_of(source, app)};
  if (source == Source::files) value.offer = Offer::files;
  if (source == Source::folders) value.offer = Offer::folders;
  if (!value.words.empty()) value.offer = Offer::words;
  return value;
}

Option option_row(const CLI::Option& option, const CLI::App& app) {
  Option row;
  for (const auto& name : option.get_snames()) row.names.push_back("-" + name);
  for (const auto& name : option.get_lnames()) row.names.push_back("--" + name);
  row.help = option.get_description();
  row.is_repeated = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
  // CLI11's own help recognises flags in the same way.
  if (option.get_type_size() != 0) row.value = value_of(false, option.get_type_name(), app);
  return row;
}

Operand operand_row(const CLI::Option& option, const CLI::App& app) {
  return {value_of(true, option.get_name(true), app), option.get_description(),
          option.get_items_expected_max() > 1};
}

Command command_row(const CLI::App& command, const CLI::App& app) {
  Command row;
  row.name = &command == &app ? "" : command.get_name();
  row.what = command.get_description();
  row.details = command.get_footer();
  for (const CLI::Option* const option : command.get_options()) {
    if (option->get_positional()) {
      row.operands.push_back(operand_row(*option, app));
    } else {
      row.options.push_back(option_row(*option, app));
    }
  }
  return row;
}

}  // namespace

CommandLine command_line() {
  Arguments parsed;
  CLI::App app;
  add_all(app, parsed);
  CommandLine line{app.get_name(), command_row(app, app), {}};
  for (const CLI::App* const command : app.get_subcommands({})) {
    line.commands.push_back(command_row(*command, app));
  }
  return line;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

}  // namespace tool::manual
