// See commands.h.
#include <string_view>

#include "engines/languages/languages.h"
#include "engines/languages/versions.h"
#include "tool/commands.h"

namespace tool {
namespace {

constexpr std::size_t NAME_WIDTH = 12;
constexpr std::size_t LINE_WIDTH = 80;

// Writes words in lines of at most LINE_WIDTH columns, indented behind the name.
class Paragraph {
 public:
  Paragraph(std::string& out, std::string_view name) : _out(out), _column(name.size()) {
    _out += name;
    indent();
  }
  ~Paragraph() { _out += '\n'; }
  Paragraph(const Paragraph&) = delete;
  Paragraph& operator=(const Paragraph&) = delete;

  void add(std::string_view word) {
    if (_column > NAME_WIDTH && _column + 1 + word.size() > LINE_WIDTH) {
      _out += '\n';
      _column = 0;
      indent();
    } else if (_column > NAME_WIDTH) {
      _out += ' ';
      ++_column;
    }
    _out += word;
    _column += word.size();
  }

 private:
  void indent() {
    _out.append(NAME_WIDTH - _column, ' ');
    _column = NAME_WIDTH;
  }

  std::string& _out;
  std::size_t _column;
};

}  // namespace

std::string languages_text() {
  std::string out;
  for (const auto& language : engines::languages::language_infos()) {
    Paragraph paragraph(out, language.name);
    for (const auto suffix : language.suffixes) paragraph.add(suffix);
    for (const auto file_name : language.file_names) paragraph.add(file_name);
  }
  return out;
}

std::string version_text() {
  std::string out = "treesitter-engine ";
  out += engines::languages::ENGINE_VERSION;
  out += "\ntree-sitter ";
  out += engines::languages::core_version();
  out += '\n';
  for (const auto& language : engines::languages::language_infos()) {
    out += language.name;
    out += ' ';
    out += language.grammar_version;
    out += " (";
    out += language.grammar_package;
    out += ")\n";
  }
  return out;
}

}  // namespace tool
