// The report of `explain`, and that its parse is the same as that of `parse`.
#include "engines/treesitter/report.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <variant>

#include "support/inputs.h"
#include "support/parse.h"

namespace engines::treesitter {
namespace {

using namespace std::string_view_literals;

struct Explained {
  Outcome outcome;
  ParseReport report;
};

Explained explain(std::string_view bytes, std::string_view language) {
  ParseItem item{.path = input_path(language)};
  item.language = std::string(language);
  item.content = std::string(bytes);
  ParseReport report;
  report.nodes = 77;  // as if left by an earlier file
  Outcome outcome = shared_engine().explain(item, report);
  return {std::move(outcome), report};
}

TEST(ReportTest, IsOfTheVeryParse) {
  for (const Input& input : inputs()) {
    ParseItem item{.path = input.name};
    item.language = input.language;
    item.content = input.bytes;
    ParseReport report;
    const Outcome explained = shared_engine().explain(item, report);
    const Outcome parsed = shared_engine().parse(item);
    ASSERT_EQ(explained.index(), parsed.index()) << input.name;
    const auto* const result = std::get_if<ParseResult>(&parsed);
    if (result == nullptr) continue;
    EXPECT_EQ(std::get<ParseResult>(explained), *result) << input.name;
    EXPECT_EQ(report.bytes, input.bytes.size());
    EXPECT_GE(report.nodes, report.depth);
    EXPECT_TRUE(report.hash && report.parse && report.symbols && report.references);
    EXPECT_FALSE(report.read);  // the bytes were there
    EXPECT_LE(report.operations->used, report.operations->allowed);
    EXPECT_GT(report.memory->used, 0U);
    EXPECT_LE(report.memory->used, report.memory->allowed);
    EXPECT_LE(report.processor_time->used, report.processor_time->allowed);
  }
}

TEST(ReportTest, TellsHowBytesLook) {
  using Row = std::tuple<std::string_view, Encoding, std::optional<std::uint64_t>>;
  for (const auto& [bytes, encoding, ill_formed_at] : {
           Row{"", Encoding::utf8, std::nullopt},
           Row{"x = 'é'\n", Encoding::utf8, std::nullopt},
           Row{"\xEF\xBB\xBFx = 1\n", Encoding::utf8_with_mark, std::nullopt},
           Row{"x\n\xFF\xFF", Encoding::ill_formed, 2},
           Row{"\xEF\xBB\xBFx\xE2\x82", Encoding::ill_formed, 4},
           Row{"\xFF\xFEx\0=\0"sv, Encoding::utf16_little, 0},
           Row{"\xFE\xFF\0x\0="sv, Encoding::utf16_big, 0},
           Row{"x\0=\0001\0\n\0"sv, Encoding::utf16_little, std::nullopt},
           Row{"\0x\0=\0001\0\n"sv, Encoding::utf16_big, std::nullopt},
           Row{"x = 1\0\0\n"sv, Encoding::binary, std::nullopt},
           Row{"\0"sv, Encoding::binary, std::nullopt},
       }) {
    const ParseReport report = explain(bytes, "python").report;
    EXPECT_EQ(report.encoding, encoding) << bytes;
    EXPECT_EQ(report.ill_formed_at, ill_formed_at) << bytes;
  }
}

TEST(ReportTest, CountsTheTree) {
  struct Row {
    std::string_view source;
    std::uint32_t nodes, depth, error_nodes, error_bytes, missing_nodes, first_error_line;
  };
  for (const Row& row : {
           Row{"", 1, 1, 0, 0, 0, 0},
           Row{"1", 2, 2, 0, 0, 0, 0},
           Row{"[1,[2]]", 10, 4, 0, 0, 0, 0},
           Row{"[1,\n  ?]", 8, 4, 2, 5, 0, 1},  // one error within the other
           Row{"[1,\n[2]", 10, 4, 0, 0, 1, 2},
       }) {
    const ParseReport report = explain(row.source, "json").report;
    EXPECT_EQ(report.nodes, row.nodes) << row.source;
    EXPECT_EQ(report.depth, row.depth) << row.source;
    EXPECT_EQ(report.error_nodes, row.error_nodes) << row.source;
    EXPECT_EQ(report.error_bytes, row.error_bytes) << row.source;
    EXPECT_EQ(report.missing_nodes, row.missing_nodes) << row.source;
    EXPECT_EQ(report.first_error_line, row.first_error_line) << row.source;
  }
}

TEST(ReportTest, TellsHowFarAParseCame) {
  // A guard ended the parse: its count has reached the limit, and there is no tree. In a sanitized
  // build the limit of time is reached before that of operations.
  const Explained guarded = explain("<a {{b:>c:d(e f)", "tsx");
  EXPECT_EQ(std::get<ParseResult>(guarded.outcome).errors.size(), 1U);
  const auto& time = guarded.report.processor_time;
  EXPECT_TRUE(guarded.report.operations->used == guarded.report.operations->allowed ||
              (time && time->used >= time->allowed));
  EXPECT_TRUE(guarded.report.parse && guarded.report.encoding);
  EXPECT_EQ(guarded.report.nodes, 0U);
  EXPECT_FALSE(guarded.report.symbols);
  // A walk threw.
  const Explained raised = explain("class A { String s = \"\xFF\"; }", "java");
  EXPECT_TRUE(std::holds_alternative<Raised>(raised.outcome));
  EXPECT_GT(raised.report.nodes, 1U);
  EXPECT_TRUE(raised.report.symbols);
  EXPECT_FALSE(raised.report.references);
  // There is no such language.
  const ParseReport unparsed = explain("x", "klingon").report;
  EXPECT_TRUE(unparsed.hash);
  EXPECT_FALSE(unparsed.parse || unparsed.operations || unparsed.encoding);
  EXPECT_EQ(unparsed.nodes, 0U);
}

}  // namespace
}  // namespace engines::treesitter
