// The two output formats: each record in its form, and any bytes as fit output. JSON is judged by
// reading it back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/escape.h"
#include "tool/json_output.h"
#include "tool/text_output.h"

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::ParseResult;
using nlohmann::ordered_json;
using namespace std::string_literals;

Symbol symbol(std::string name, std::string fqn) {
  return Symbol({.id = std::nullopt,
                 .file_id = 0,
                 .name = std::move(name),
                 .kind = "function",
                 .fqn = std::move(fqn),
                 .start_line = 3,
                 .end_line = 14,
                 .signature = std::nullopt,
                 .is_export = false,
                 .docstring = std::nullopt,
                 .body_digest = std::nullopt});
}

Symbol full_symbol() {
  Symbol full = symbol("save", "src.a.User.save");
  full.id = 7;
  full.file_id = -9007199254740993;  // no double holds it
  full.signature = "def save(self):";
  full.is_export = true;
  full.docstring = "Saves.\n\n    Indented. ";
  full.body_digest = "if a:\nreturn b(\"\\\")";
  return full;
}

ParseResult result_of(std::vector<Symbol> symbols) {
  return {.path = "ignored",
          .language = "python",
          .content_hash = "00ff",
          .symbols = std::move(symbols),
          .references = {{"call_it", 5, "call"}, {"pkg.mod", 1, "import_module"}},
          .errors = {"Invalid symbol x: y"}};
}

std::string json_line(const Record& record) {
  std::string line;
  append_json(line, record);
  return line;
}

TEST(JsonOutput, WritesEveryFieldInItsOrder) {
  const Record record{"src/a.py", result_of({full_symbol(), symbol("", "a.")})};
  // The dump of an ordered document has the same order and no spaces, so the lines are equal.
  const ordered_json expected = {{"path", "src/a.py"},
                                 {"language", "python"},
                                 {"content_hash", "00ff"},
                                 {"symbols",
                                  {{{"id", 7},
                                    {"file_id", -9007199254740993},
                                    {"name", "save"},
                                    {"kind", "function"},
                                    {"fqn", "src.a.User.save"},
                                    {"start_line", 3},
                                    {"end_line", 14},
                                    {"signature", "def save(self):"},
                                    {"is_export", true},
                                    {"docstring", "Saves.\n\n    Indented. "},
                                    {"body_digest", "if a:\nreturn b(\"\\\")"}},
                                   {{"id", nullptr},
                                    {"file_id", 0},
                                    {"name", ""},
                                    {"kind", "function"},
                                    {"fqn", "a."},
                                    {"start_line", 3},
                                    {"end_line", 14},
                                    {"signature", nullptr},
                                    {"is_export", false},
                                    {"docstring", nullptr},
                                    {"body_digest", nullptr}}}},
                                 {"references",
                                  {{{"name", "call_it"}, {"line", 5}, {"kind", "call"}},
                                   {{"name", "pkg.mod"}, {"line", 1}, {"kind", "import_module"}}}},
                                 {"errors", {"Invalid symbol x: y"}}};
  EXPECT_EQ(json_line(record), expected.dump() + '\n');
}

TEST(JsonOutput, EscapesWhatMayNotStandInALine) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", R"("")"},
      {"a\"b\\c/", R"("a\"b\\c/")"},
      {"\n\r\t\b\f", R"("\n\r\t\b\f")"},
      {"\0\x1F"s, R"("\u0000\u001f")"},
      {"\u00E9\u20AC\U0001F600", "\"\u00E9\u20AC\U0001F600\""},
  };
  for (const auto& [bytes, expected] : rows) {
    EXPECT_EQ(json_line({"a", Raised{bytes}}), "{\"path\":\"a\",\"raised\":" + expected + "}\n");
  }
}

TEST(JsonOutput, ReplacesEachMaximalIllFormedSubpart) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"\xFF", "\uFFFD"},
      {"\xC3", "\uFFFD"},
      {"\x80\x80", "\uFFFD\uFFFD"},
      {"a\xE2\x82z", "a\uFFFDz"},                // a sequence cut short is one
      {"\xF0\x9F\x98\xF0\x9F", "\uFFFD\uFFFD"},  // and so is the next
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},    // a surrogate starts nothing
      {"\xC0\xAF", "\uFFFD\uFFFD"},              // nor does an overlong form
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xFF\"\n\xFE", "\uFFFD\"\n\uFFFD"},
  };
  for (const auto& [bytes, expected] : rows) {
    const auto record = ordered_json::parse(json_line({"a", Raised{bytes}}));
    EXPECT_EQ(record.at("raised").get<std::string>(), expected);
  }
}

TEST(Escape, ShowsEveryByteOnOneLine) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", ""},
      {"plain text", "plain text"},
      {" a  b", " a  b"},
      {"a ", R"(a\x20)"},
      {"  ", R"( \x20)"},
      {"C:\\n", R"(C:\\n)"},
      {"a\nb\rc\td", R"(a\nb\rc\td)"},
      {"\0\x1B[2J\x7F"s, R"(\x00\x1b[2J\x7f)"},
      {"\xFF\xE2\x82z", R"(\xff\xe2\x82z)"},
      {"\u00E9\U0001F600", "\u00E9\U0001F600"},
      {"\uFEFFa\u0085\u00A0\u200B\u202E\u2028\u3000",
       R"(\u{feff}a\u{85}\u{a0}\u{200b}\u{202e}\u{2028}\u{3000})"},
  };
  for (const auto& [bytes, expected] : rows) EXPECT_EQ(escaped(bytes), expected);
}

std::string text_of(std::vector<Symbol> symbols) {
  std::string text;
  append_text_entries(text, {"", "", "", std::move(symbols), {}, {}});
  return text;
}

TEST(TextOutput, HasOneLinePerFieldAndLine) {
  std::string text;
  append_text(text, {"src/a.py", result_of({full_symbol(), symbol("f", "src.a.f")})});
  EXPECT_EQ(text, R"(file src/a.py  python
  hash  00ff
function  src.a.User.save                           3-14  export
  id    7
  file  -9007199254740993
  sig   def save(self):
  doc   Saves.
  |
  |         Indented.\x20
  body  if a:
  |     return b("\\")
function  src.a.f                                   3-14
ref call 5 call_it
ref import_module 1 pkg.mod
error Invalid symbol x: y

)");
}

TEST(TextOutput, TellsNamesThatTheQualifiedNameHides) {
  const std::string padding(40, ' ');
  const auto line = [&](const std::string& fqn) {
    return "function  " + fqn + padding.substr(std::min(fqn.size(), padding.size())) + "  3-14\n";
  };
  EXPECT_EQ(text_of({symbol("f", "a.f")}), line("a.f"));
  EXPECT_EQ(text_of({symbol("", "a.")}), line("a."));
  EXPECT_EQ(text_of({symbol("b.c", "a.b.c")}), line("a.b.c") + "  name  b.c\n");
  EXPECT_EQ(text_of({symbol(" ", "a. ")}), line("a.\\x20"));
  EXPECT_EQ(text_of({symbol("x\ny", "a.x\ny")}), line("a.x\\ny"));
  EXPECT_EQ(text_of({symbol("f", std::string(50, 'a') + ".f")}), line(std::string(50, 'a') + ".f"));
}

TEST(TextOutput, TellsAnEmptyTextFromNone) {
  Symbol empty = symbol("f", "f");
  empty.signature = "";
  EXPECT_THAT(text_of({empty}), testing::EndsWith("\n  sig\n"));
  EXPECT_THAT(text_of({symbol("f", "f")}), testing::Not(testing::HasSubstr("sig")));
}

TEST(TextOutput, WritesTheOtherOutcomes) {
  const std::vector<std::pair<Record, std::string>> rows = {
      {{"LICENSE", UnknownLanguage{}}, "file LICENSE  (unknown language)\n\n"},
      {{"a\nb", Raised{"why\n"}}, "file a\\nb\nraised why\\n\n\n"},
      {{"top", Unreadable{std::nullopt, "why"}}, "file top\nerror why\n\n"},
      {{"-", Unreadable{"go", "why"}}, "file -  go\nerror why\n\n"},
  };
  for (const auto& [record, expected] : rows) {
    std::string text;
    append_text(text, record);
    EXPECT_EQ(text, expected);
  }
}

}  // namespace
}  // namespace tool
