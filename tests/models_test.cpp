// The symbols that the model rejects.
#include "models/symbol.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

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
  using Arguments = SymbolArguments;
  EXPECT_EQ(rejection([](Arguments& a) { a.kind = "Method"; }), "unknown symbol kind 'Method'");
  EXPECT_EQ(rejection([](Arguments& a) { a.start_line = 0; }), "start_line is less than 1");
  EXPECT_EQ(rejection([](Arguments& a) { a.end_line = 2; }), "end_line is less than start_line");
  EXPECT_EQ(rejection([](Arguments& a) { a.name.clear(); }), "accepted");
  EXPECT_EQ(rejection([](Arguments& a) { a.name = std::string("a\0b", 3); }), "accepted");
  EXPECT_EQ(rejection([](Arguments& a) { a.end_line = a.start_line; }), "accepted");
}

}  // namespace
}  // namespace engines::models
