// The symbol model: its kinds, and what it rejects.
#include "models/symbol.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace engines::models {
namespace {

SymbolArguments arguments() {
  return {.id = std::nullopt,
          .file_id = 7,
          .name = "save",
          .kind = "method",
          .fqn = "models.User.save",
          .start_line = 3,
          .end_line = 5,
          .signature = "def save(self):",
          .is_export = true,
          .docstring = "Save.",
          .body_digest = std::nullopt};
}

TEST(SymbolTest, KeepsWhatItIsGiven) {
  const Symbol symbol(arguments());
  EXPECT_EQ(symbol.id, std::nullopt);
  EXPECT_EQ(symbol.file_id, 7);
  EXPECT_EQ(symbol.name, "save");
  EXPECT_EQ(symbol.kind, SymbolKind::method);
  EXPECT_EQ(symbol.fqn, "models.User.save");
  EXPECT_EQ(symbol.start_line, 3u);
  EXPECT_EQ(symbol.end_line, 5u);
  EXPECT_EQ(symbol.signature, "def save(self):");
  EXPECT_TRUE(symbol.is_export);
  EXPECT_EQ(symbol.docstring, "Save.");
  EXPECT_EQ(symbol.body_digest, std::nullopt);
  EXPECT_EQ(symbol, Symbol(arguments()));
}

TEST(SymbolTest, NineKindsAndTheirTexts) {
  const std::vector<std::pair<SymbolKind, std::string_view>> kinds = {
      {SymbolKind::class_, "class"},      {SymbolKind::function, "function"},
      {SymbolKind::method, "method"},     {SymbolKind::interface, "interface"},
      {SymbolKind::type, "type"},         {SymbolKind::enum_, "enum"},
      {SymbolKind::variable, "variable"}, {SymbolKind::module, "module"},
      {SymbolKind::constant, "constant"},
  };
  for (const auto& [kind, text] : kinds) {
    EXPECT_EQ(kind_text(kind), text);
    EXPECT_EQ(kind_from_text(text), kind);
  }
  for (const std::string_view text : {"", "Class", "class_", "property", "const"}) {
    EXPECT_EQ(kind_from_text(text), std::nullopt) << text;
  }
}

// Changes one argument and gives the text of the rejection.
std::string rejection(const std::function<void(SymbolArguments&)>& change) {
  SymbolArguments changed = arguments();
  change(changed);
  try {
    const Symbol symbol(std::move(changed));
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "accepted";
}

TEST(SymbolTest, RejectsWhatNoStoreCouldKeep) {
  const std::string nul("a\0b", 3);
  using Arguments = SymbolArguments;
  EXPECT_EQ(rejection([&](Arguments& a) { a.name = nul; }), "name holds a NUL character");
  EXPECT_EQ(rejection([](Arguments& a) { a.kind = "Method"; }), "unknown symbol kind 'Method'");
  EXPECT_EQ(rejection([](Arguments& a) { a.start_line = 0; }), "start_line is less than 1");
  EXPECT_EQ(rejection([](Arguments& a) { a.end_line = 2; }), "end_line is less than start_line");
  EXPECT_EQ(rejection([](Arguments& a) { a.name.clear(); }), "accepted");
  // A name around it holds the character, and has been rejected for that.
  EXPECT_EQ(rejection([&](Arguments& a) { a.fqn = nul + ".save"; }), "accepted");
  EXPECT_EQ(rejection([](Arguments& a) { a.end_line = a.start_line; }), "accepted");
}

}  // namespace
}  // namespace engines::models
