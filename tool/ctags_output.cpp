// See ctags_output.h.
#include "tool/ctags_output.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>
#include <tuple>
#include <variant>
#include <vector>

#include "engines/languages/versions.h"
#include "tool/output_buffer.h"

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseResult;

void write_escape(OutputBuffer& out, char character) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  // Characters that are escaped by a letter, and those letters.
  constexpr std::string_view SPECIAL = "\\\t\n\r\a\b\v\f";
  constexpr std::string_view LETTERS = "\\tnrabvf";
  out.write('\\');
  if (const std::size_t at = SPECIAL.find(character); at != std::string_view::npos) {
    out.write(LETTERS[at]);
    return;
  }
  const auto byte = static_cast<unsigned char>(character);
  out.write('x');
  out.write(DIGITS[byte >> 4]);
  out.write(DIGITS[byte & 0xF]);
}

bool is_plain(char character) {
  return static_cast<unsigned char>(character) >= 0x20 && character != 0x7F && character != '\\';
}

void write_value(OutputBuffer& out, std::string_view text) {
  while (!text.empty()) {
    const auto special = std::find_if_not(text.begin(), text.end(), is_plain);
    const auto plain = static_cast<std::size_t>(special - text.begin());
    out.write(text.substr(0, plain));
    if (plain < text.size()) write_escape(out, text[plain]);
    text.remove_prefix(std::min(plain + 1, text.size()));
  }
}

// Escapes a "!" at the beginning, with which the lines of the head begin, and a space, which sorts
// before them.
void write_name(OutputBuffer& out, std::string_view name) {
  if (name.front() == ' ' || name.front() == '!') {
    write_escape(out, name.front());
    name.remove_prefix(1);
  }
  write_value(out, name);
}

// Finds the declaration around a symbol: the one whose FQN is the beginning of the symbol's. By
// binary search and not by hashes, since a hostile file may have names that share one hash.
class Scopes {
 public:
  Scopes(std::size_t prefix_size, const std::vector<Symbol>& symbols)
      : _symbols(symbols), _by_fqn(symbols.size()), _prefix_size(prefix_size) {
    std::iota(_by_fqn.begin(), _by_fqn.end(), 0);
    std::sort(_by_fqn.begin(), _by_fqn.end(), [this](std::uint32_t one, std::uint32_t other) {
      return std::tie(_symbols[one].fqn, one) < std::tie(_symbols[other].fqn, other);
    });
  }

  // Writes the field of the scope, if the symbol has one.
  void write(OutputBuffer& out, std::uint32_t index) const {
    const std::string_view name = _symbols[index].name;
    std::string_view above = _symbols[index].fqn;
    if (!above.ends_with(name)) return;  // a name that is a path is written otherwise in an FQN
    above.remove_suffix(name.size());
    if (above.size() <= _prefix_size + 2 || !above.ends_with('.')) return;
    above.remove_suffix(1);
    out.write('\t');
    out.write(kind_of(above, index));
    out.write(':');
    write_value(out, above.substr(_prefix_size + 1));
  }

 private:
  // Of several declarations with this FQN, the nearest before the symbol contains it. Where none
  // stands before it, the first one after it counts: a method of Go may stand before its type.
  std::string_view kind_of(std::string_view fqn, std::uint32_t index) const {
    const auto behind =
        std::partition_point(_by_fqn.begin(), _by_fqn.end(), [&](std::uint32_t each) {
          const int order = _symbols[each].fqn.compare(fqn);
          return order < 0 || (order == 0 && each < index);
        });
    const auto is_it = [&](auto at) { return _symbols[*at].fqn == fqn; };
    const auto kind = [&](auto at) { return engines::models::kind_text(_symbols[*at].kind); };
    if (behind != _by_fqn.begin() && is_it(behind - 1)) return kind(behind - 1);
    if (behind != _by_fqn.end() && is_it(behind)) return kind(behind);
    return "unknown";
  }

  const std::vector<Symbol>& _symbols;
  std::vector<std::uint32_t> _by_fqn;
  const std::size_t _prefix_size;
};

void write_number_field(OutputBuffer& out, std::string_view label, std::uint32_t number) {
  out.write(label);
  out.write_number(number);
}

void write_tags(OutputBuffer& out, std::string_view path, std::string_view language,
                const std::vector<Symbol>& symbols, const Scopes& scopes) {
  for (std::uint32_t index = 0; index < symbols.size(); ++index) {
    const Symbol& symbol = symbols[index];
    if (symbol.name.empty()) continue;
    write_name(out, symbol.name);
    out.write('\t');
    write_value(out, path);
    write_number_field(out, "\t", symbol.start_line);
    out.write(";\"\t");
    out.write(engines::models::kind_text(symbol.kind));
    write_number_field(out, "\tline:", symbol.start_line);
    out.write("\tlanguage:");
    out.write(language);
    scopes.write(out, index);
    if (symbol.is_export) out.write("\taccess:public");
    write_number_field(out, "\tend:", symbol.end_line);
    out.write('\n');
  }
}

}  // namespace

std::string tags_left_out_text(std::size_t count) {
  return "Tags left out, since their lines are longer than 64 KiB: " + std::to_string(count);
}

void write_ctags_head(ByteSink& sink) {
  OutputBuffer out(sink);
  out.write(
      "!_TAG_FILE_ENCODING\tutf-8\t//\n"
      "!_TAG_FILE_FORMAT\t2\t/extended format/\n"
      "!_TAG_FILE_SORTED\t1\t/0=unsorted, 1=sorted, 2=foldcase/\n"
      "!_TAG_OUTPUT_EXCMD\tnumber\t//\n"
      "!_TAG_OUTPUT_FILESEP\tslash\t//\n"
      "!_TAG_OUTPUT_MODE\tu-ctags\t//\n"
      "!_TAG_PROGRAM_NAME\ttreesitter-engine\t//\n"
      "!_TAG_PROGRAM_VERSION\t");
  out.write(engines::languages::ENGINE_VERSION);
  out.write("\t//\n");
  out.flush();
}

void write_ctags(ByteSink& sink, const ParsedItem& parsed) {
  const auto* const result = std::get_if<ParseResult>(&parsed.outcome);
  if (result == nullptr || result->symbols.empty()) return;
  const std::string& path = parsed.item.path;
  write_ctags(sink, path, engines::treesitter::TreeSitterEngine::fqn_prefix(path), result->language,
              result->symbols);
}

void write_ctags(ByteSink& sink, std::string_view path, std::string_view prefix,
                 std::string_view language, const std::vector<Symbol>& symbols) {
  OutputBuffer out(sink);
  write_tags(out, path, language, symbols, Scopes(prefix.size(), symbols));
  out.flush();
}

}  // namespace tool
