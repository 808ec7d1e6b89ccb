// The two output formats: the form of each record, and any bytes as valid output. JSON is compared
// with that of a library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/treesitter/text/text.h"
#include "tool/escape.h"
#include "tool/json_output.h"
#include "tool/json_string.h"
#include "tool/record.h"
#include "tool/text_output.h"

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::Declined;
using engines::treesitter::NoLanguage;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseResult;
using engines::treesitter::Raised;
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

ParsedItem parsed(std::string path, engines::treesitter::Outcome outcome) {
  return {{.path = std::move(path)}, std::move(outcome)};
}

Raised raised(std::string text) { return {Raised::Kind::other, std::move(text), "", "", nullptr}; }

// A sink that keeps what arrives, and the size of the largest piece.
struct Arrived final : ByteSink {
  void write(std::string_view bytes) override {
    text += bytes;
    largest = std::max(largest, bytes.size());
  }

  std::string text;
  std::size_t largest = 0;
};

template <typename Record>
std::string written(void (*write)(ByteSink&, const Record&), const Record& record) {
  Arrived sink;
  write(sink, record);
  return sink.text;
}

TEST(JsonOutput, WritesEveryFieldInItsOrder) {
  const auto record = parsed("src/a.py", result_of({full_symbol(), symbol("", "a.")}));
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
  EXPECT_EQ(written(write_json, record), expected.dump() + '\n');
}

// Compares with what a library writes of the decoded bytes.
void expect_as_by_library(std::string_view bytes) {
  Arrived sink;
  OutputBuffer out(sink);
  write_json_string(out, bytes);
  out.flush();
  // Not EXPECT_EQ, which takes minutes to show the difference of long texts.
  EXPECT_TRUE(sink.text == ordered_json(engines::treesitter::decode_replacing(bytes)).dump())
      << bytes.size() << " bytes: " << escaped(bytes.substr(0, 40));
  EXPECT_LE(sink.largest, OutputBuffer::CAPACITY);
}

TEST(JsonString, IsWhatALibraryWrites) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t before = 0; before < 9; ++before) {  // at each place of a word
      expect_as_by_library(std::string(before, 'a') + static_cast<char>(byte) + "bcdefghi");
    }
  }
  const std::vector<std::string> units = {
      "a",    "plain text ", "\"",   "\\",       "\n",   "\x01", "\x7F", "\0"s,       "\u00E9",
      "\xE9", "\xE2\x82",    "\x80", "\xF0\x9F", "\xC0", "\xFF", "/",    "\U0001F600"};
  std::mt19937 random(5);
  for (int i = 0; i < 5000; ++i) {
    std::string bytes;
    for (auto count = random() % 20; count > 0; --count) bytes += units[random() % units.size()];
    expect_as_by_library(bytes);
  }
  // Units that lie across the end of the buffer, at any distance from it.
  for (const std::string& unit : units) {
    std::string bytes;
    while (bytes.size() < OutputBuffer::CAPACITY) bytes += unit;
    for (std::size_t begin = 0; begin < 8; ++begin) {
      expect_as_by_library(std::string(begin, ' ') + bytes);
    }
  }
}

TEST(JsonOutput, TellsTheBytesOfPathsThatAreNoText) {
  EXPECT_EQ(written(write_json, parsed("a\xFF\n/\xE2\x82z", NoLanguage{})),
            "{\"path\":\"a\uFFFD\\n/\uFFFDz\",\"path_bytes\":\"61ff0a2fe2827a\","
            "\"language\":null}\n");
}

// The outcomes that are no results, in both formats, with their error texts.
TEST(Outputs, TellTheOtherOutcomes) {
  const auto failed = [](std::string language, std::string error) {
    return ParseResult{"ignored", std::move(language), "", {}, {}, {std::move(error)}};
  };
  const auto whole = [](std::string_view path, std::string_view language, std::string_view error) {
    return "{\"path\":\"" + std::string(path) + "\",\"language\":" + std::string(language) +
           R"(,"content_hash":"","symbols":[],"references":[],"errors":[")" + std::string(error) +
           "\"]}\n";
  };
  const std::string too_large =
      "Failed to read file: it has 90000000000 bytes, and --max-filesize allows 64";
  ParsedItem declined = parsed("a/b.go", Declined{Declined::Reason::too_large, 90000000000});
  declined.item.max_size = 64;
  ParsedItem forced = declined;
  forced.item.language = "tsx";
  ParsedItem unknown = declined;
  unknown.item.path = "blob";
  struct Row {
    ParsedItem parsed;
    std::string json;
    std::string text;
    std::vector<std::string> errors;
  };
  const std::vector<Row> rows = {
      {parsed("LICENSE", NoLanguage{}),
       "{\"path\":\"LICENSE\",\"language\":null}\n",
       "file LICENSE  (unknown language)\n\n",
       {}},
      {parsed("a\nb", raised("why\n")),
       R"({"path":"a\nb","raised":"why\n"})"
       "\n",
       "file a\\nb\nraised why\\n\n\n",
       {"why\n"}},
      {parsed("gone", NoLanguage{"why"}),
       whole("gone", "null", "why"),
       "file gone\nerror why\n\n",
       {"why"}},
      {parsed("top", failed("", "why")),
       whole("top", "null", "why"),
       "file top\nerror why\n\n",
       {"why"}},
      {parsed("-", failed("go", "why")),
       whole("-", "\"go\"", "why"),
       "file -  go\nerror why\n\n",
       {"why"}},
      {declined,
       whole("a/b.go", "\"go\"", too_large),
       "file a/b.go  go\nerror " + too_large + "\n\n",
       {too_large}},
      {forced,
       whole("a/b.go", "\"tsx\"", too_large),
       "file a/b.go  tsx\nerror " + too_large + "\n\n",
       {too_large}},
      {unknown,
       whole("blob", "null", too_large),
       "file blob\nerror " + too_large + "\n\n",
       {too_large}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(written(write_json, row.parsed), row.json);
    EXPECT_EQ(written(write_text, row.parsed), row.text);
    EXPECT_EQ(error_texts(row.parsed), row.errors);
  }
}

TEST(Outputs, AreAboutAsLongAsForetold) {
  const auto record = parsed("src/a.py", result_of(std::vector<Symbol>(1000, full_symbol())));
  const auto foretold = static_cast<double>(output_size_bound(record));
  const auto length = static_cast<double>(written(write_json, record).size());
  EXPECT_NEAR(foretold / length, 1, 0.2);
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

TEST(Escape, IsTheSameAcrossTheEndsOfTheBuffer) {
  for (const std::string unit : {"a", "\x01", "\n", "\xFF", "\u00E9", "\u200B", "b\\"}) {
    std::string bytes;
    std::string expected;
    while (expected.size() <= OutputBuffer::CAPACITY) {
      bytes += unit;
      expected += escaped(unit);
    }
    EXPECT_TRUE(escaped(bytes) == expected) << escaped(unit);
  }
}

std::string text_of(std::vector<Symbol> symbols) {
  return written(write_text_entries, ParseResult{"", "", "", std::move(symbols), {}, {}});
}

TEST(TextOutput, HasOneLinePerFieldAndLine) {
  const auto record = parsed("src/a.py", result_of({full_symbol(), symbol("f", "src.a.f")}));
  EXPECT_EQ(written(write_text, record), R"(file src/a.py  python
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

}  // namespace
}  // namespace tool
