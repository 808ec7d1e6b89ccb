// References: which nodes refer to something, by which names, in which order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/engine_peer.h"
#include "tests/support/parse.h"
#include "tests/support/parsed_tree.h"
#include "tests/support/sanitizers.h"

namespace engines::treesitter {
namespace {

using ::testing::SizeIs;

// "call f 1, import os 2": kind, name and line of each reference, in their order.
std::string listed(const std::vector<ReferenceInfo>& references) {
  std::string text;
  for (const ReferenceInfo& reference : references) {
    if (!text.empty()) text += ", ";
    text += reference.kind + ' ' + reference.name + ' ' + std::to_string(reference.line);
  }
  return text;
}

struct Case {
  std::string_view language;
  std::string_view source;
  std::string_view expected;
};

void expect_references(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(listed(parse(c.source, c.language).references), c.expected)
        << c.language << ": " << c.source;
  }
}

// ---- The walk ----

TEST(ReferenceWalkTest, OrderLinesAndRepeats) {
  expect_references({
      // A parent before its descendants.
      {"python", "f(g(h()), i(f()))\n", "call f 1, call g 1, call h 1, call i 1"},
      // The line where the expression starts, not that of the name.
      {"python", "\n(a\n .b\n .c)()\n", "call c 2, call b 2"},
      {"javascript", "a\n  .b\n  .run(\n1);\n", "call run 1, call b 1"},
      // Same name, other kind: both stay.
      {"python", "import f; f()\n", "import f 1, import_module f 1, call f 1"},
      {"typescript", "T(); let x: T;\n", "call T 1, type T 1"},
      {"python", "a.b[0]()\n", "call b 1"},
      // A node of the type `alias` that is not YAML's.
      {"csharp", "extern alias X;\n", ""},
  });
}

TEST(ReferenceWalkTest, EveryLineOfManyReferencesIsItsOwn) {
  // More references on one line than the walk first has room for, and few on the next line.
  std::string source;
  std::string expected;
  for (int line = 1; line <= 3; ++line) {
    const int count = line == 2 ? 3 : 500;
    for (int i = 0; i < count; ++i) {
      const std::string name = 'f' + std::to_string(i);
      source += name + "();";
      expected += (expected.empty() ? "call " : ", call ") + name + ' ' + std::to_string(line);
    }
    for (int i = 0; i < count; ++i) source += 'f' + std::to_string(i) + "();";
    source += '\n';
  }
  EXPECT_EQ(listed(parse(source, "javascript").references), expected);
}

TEST(ReferenceWalkTest, ManyLinesOfOneReferenceEach) {
  std::string source;
  std::string expected;
  for (int line = 1; line <= 1'000; ++line) {
    const std::string name = 'f' + std::to_string(line);
    source += name + "()\n";
    expected += (line == 1 ? "call " : ", call ") + name + ' ' + std::to_string(line);
  }
  EXPECT_EQ(listed(parse(source, "python").references), expected);
}

TEST(ReferenceWalkTest, AMillionReferencesOnOneLine) {
  constexpr std::size_t COUNT = IS_SANITIZED ? 50'000 : 500'000;  // each a name and a module
  std::string source = "import ";
  for (std::size_t i = 0; i < COUNT; ++i) source += 'm' + std::to_string(i) + ',';
  source.back() = '\n';
  EXPECT_THAT(parse(source, "python").references, SizeIs(2 * COUNT));
}

TEST(ReferenceWalkTest, LinesAfterABusyOne) {
  constexpr std::size_t COUNT = IS_SANITIZED ? 10'000 : 100'000;
  std::string source;
  for (std::size_t i = 0; i < COUNT; ++i) source += 'f' + std::to_string(i) + "();";
  for (std::size_t i = 0; i < COUNT; ++i) source += "\ng" + std::to_string(i) + "();";
  EXPECT_THAT(parse(source, "javascript").references, SizeIs(2 * COUNT));
}

TEST(ReferenceWalkTest, CallsNestedAHundredThousandDeep) {
  constexpr std::size_t DEPTH = IS_SANITIZED ? 20'000 : 100'000;
  std::string source;
  for (std::size_t i = 0; i < DEPTH; ++i) source += "f(\n";
  source += std::string(DEPTH, ')');
  EXPECT_THAT(parse(source, "javascript").references, SizeIs(DEPTH));

  std::string chain = "a";
  for (std::size_t i = 0; i < DEPTH; ++i) chain += "\n.b()";
  // The outermost call stands first, and all of them start on line 1.
  EXPECT_EQ(listed(parse(chain, "javascript").references), "call b 1, call a 1");
}

// ---- Names of calls ----

// Cases that the golden ones leave out.
TEST(CallNameTest, FirstCandidateDecides) {
  expect_references({
      {"python", "@wraps(f)\ndef g(): pass\n", "call wraps 1"},
      {"javascript", "class A { #x; f() { this.#x(); this.#x; } }", "call #x 1"},
      {"typescript", "foo(); this.go(); obj.run();\n", "call foo 1, call go 1, call obj 1"},
      {"php", "<?php f(1)->m(); A::m();", ""},
      {"php", "<?php $o->p->q->m();", "call q 1"},
  });
}

// ---- Types ----

TEST(TypeNameTest, NamesAndLists) {
  expect_references({
      {"java", "class A {\n  Map<String,\n  Integer> f;\n}",
       "type Map 2, type String 2, type Integer 3"},
      // The first name of a list is recorded on the line where the list begins, and on its own.
      {"tsx", "class A implements\n C {}", "type A 1, type C 1, type C 2"},
      // Only the list's own names: of a qualified one there is none.
      {"typescript", "class A extends b.B implements c.C<D> {}",
       "type A 1, call B 1, type C 1, type D 1"},
      {"javascript", "class A extends B {}", ""},
      {"csharp", "class A : N.B {}", ""},
  });
}

TEST(AttributeNameTest, NodesWithoutTheFields) {
  const ParsedTree csharp("class A { void F() { x = a.b; } }", "csharp");
  const ParsedTree php("<?php $o->p;", "php");
  for (const ParsedTree* tree : {&csharp, &php}) {
    const auto members = tree->nodes(NodeType::member_access_expression);
    ASSERT_THAT(members, SizeIs(1));
    EXPECT_EQ(EnginePeer::_get_attribute_name(members[0]), std::nullopt);
  }
}

// ---- Imports ----

TEST(ImportTest, Python) {
  expect_references({
      {"python", "from m import x.y\n", "import y 1, import_module m 1"},
      // A repeat on the line is left out.
      {"python", "import a, a\n", "import a 1, import_module a 1"},
      {"python", "import x; import x\n", "import x 1, import_module x 1"},
      {"python", "from a.b import b\n", "import b 1, import_module a.b 1"},
  });
}

TEST(ImportTest, OtherLanguages) {
  expect_references({
      // After a last full stop there is an empty name.
      {"csharp", "using A.;", "import A. 1, import  1"},
      {"php", "<?php include FOO;", "import FOO 1"},
      {"php", "<?php include_once FOO;", "import FOO 1"},
      {"php", "<?php require A\\B;", "import A\\B 1"},
      {"php", "<?php class A { use B, C; }", "import B 1, import C 1"},
  });
}

// ---- Text that is no UTF-8 ----

TEST(ReferenceTextTest, ANameIsReadStrictly) {
  EXPECT_EQ(listed(parse("caf\xC3\xA9()\n", "python").references), "call caf\xC3\xA9 1");
  EXPECT_THROW(parse_as_file("import a.\xE9.b\n", "python"), Utf8Error);
  EXPECT_THROW(parse_as_file("from a import b.\xE9.c\n", "python"), Utf8Error);
  EXPECT_THROW(parse_as_file("using A.\xE9.B;\n", "csharp"), Utf8Error);
}

TEST(ReferenceTextTest, WhatNoRuleReadsMayBeAnything) {
  EXPECT_EQ(listed(parse_as_file("f('\xE9')\n", "python").references), "call f 1");
  EXPECT_EQ(listed(parse_as_file("obj.run('\xFF'); // \xE9\n", "javascript").references),
            "call obj 1");
}

}  // namespace
}  // namespace engines::treesitter
