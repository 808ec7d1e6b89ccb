// References: which nodes refer to something, under which names, and in which order.
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
      {"python", "", ""},
      {"python", "x = 1\n", ""},
      {"json", "{\"a\": [1]}", ""},
      // One record per line, and one per line only.
      {"python", "f(); f()\n", "call f 1"},
      {"python", "f()\nf()\nf(); f()\n", "call f 1, call f 2, call f 3"},
      // A parent before its descendants.
      {"python", "f(g(x))\n", "call f 1, call g 1"},
      {"python", "f(g(h()), i(f()))\n", "call f 1, call g 1, call h 1, call i 1"},
      // The line on which the expression starts, not the one that holds the name.
      {"python", "\n(a\n .b\n .c)()\n", "call c 2, call b 2"},
      {"python", "f(\n  1,\n  g(\n  ))\n", "call f 1, call g 3"},
      {"javascript", "a\n  .b\n  .run(\n1);\n", "call run 1, call b 1"},
      // Same name, other kind: both stay.
      {"python", "import f; f()\n", "import f 1, import_module f 1, call f 1"},
      {"typescript", "T(); let x: T;\n", "call T 1, type T 1"},
      // CRLF and lone carriage returns: lines are tree-sitter's rows.
      {"python", "f()\r\ng()\r\n", "call f 1, call g 2"},
      // Broken source has references too.
      {"python", "f(1)\n)))\ng(2)\n", "call f 1, call g 3"},
  });
}

TEST(ReferenceWalkTest, MethodReferences) {
  expect_references({
      // The call has named its callee; an attribute of it has not been.
      {"python", "self.handler()\n", "call handler 1"},
      {"python", "x = {\"key\": self._handler}\n", "call _handler 1"},
      {"python", "self.a.b()\n", "call b 1, call a 1"},
      {"python", "f(self.g)\n", "call f 1, call g 1"},
      {"python", "self.x = self.y\n", "call x 1, call y 1"},
      {"python", "a.b[0]()\n", "call b 1"},
      // A use and a call of one name on one line are one.
      {"python", "x = [self.f, self.f()]\n", "call f 1"},
      {"javascript", "x = this.handler;\n", "call handler 1"},
      {"javascript", "on(obj.handler);\n", "call on 1, call handler 1"},
      // Members that carry no name which a rule knows.
      {"csharp", "class A { void F() { x = a.b; } }", ""},
      {"php", "<?php $o->p;", ""},
      // Nodes of type `attribute` that are no member accesses.
      {"csharp", "[Route(\"x\")] class A { }", ""},
      {"rust", "#[derive(Debug)] struct A;", "type A 1"},
      {"php", "<?php #[A] class B {}", ""},
  });
}

TEST(ReferenceWalkTest, AliasesAreYamlsOnly) {
  expect_references({
      {"yaml", "a: &base 1\nb: *base\n", "call base 2"},
      {"yaml", "a: &x 1\nb: [*x, *x]\nc:\n  <<: *x\n", "call x 2, call x 4"},
      {"ruby", "alias a b\n", ""},
      {"csharp", "extern alias X;\n", ""},
  });
}

TEST(ReferenceWalkTest, EveryLineOfManyReferencesIsItsOwn) {
  // More references on one line than the walk begins with room for, and few on the next ones.
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

TEST(CallNameTest, FirstCandidateDecides) {
  expect_references({
      {"python", "foo()\n", "call foo 1"},
      {"python", "obj.method()\n", "call method 1"},
      {"python", "a.b.c()\n", "call c 1, call b 1"},
      {"python", "f()()\n", "call f 1"},
      {"python", "x[0]()\n", ""},
      {"python", "(lambda: 1)()\n", ""},
      {"python", "\"\".join(x)\n", "call join 1"},
      {"python", "@wraps(f)\ndef g(): pass\n", "call wraps 1"},

      {"javascript", "foo();\n", "call foo 1"},
      {"javascript", "this.run();\n", "call run 1"},
      {"javascript", "super.run();\n", "call run 1"},
      {"javascript", "class A { #x; f() { this.#x(); this.#x; } }", "call #x 1"},
      {"javascript", "f().run();\n", "call run 1, call f 1"},
      // The object is an identifier and comes first.
      {"javascript", "obj.run();\n", "call obj 1"},
      {"javascript", "obj?.run();\n", "call obj 1"},
      {"javascript", "a.b.run();\n", "call run 1, call b 1"},
      {"javascript", "a[0]();\n", ""},
      {"javascript", "new Foo();\n", ""},
      {"javascript", "import('m');\n", ""},
      {"typescript", "foo();\n", "call foo 1"},
      {"typescript", "this.run();\n", "call run 1"},
      {"typescript", "obj.run();\n", "call obj 1"},
      {"typescript", "f<T>(x);\n", "call f 1, type T 1"},
      {"tsx", "x = <A b={f()} />;\n", "call f 1"},

      {"java", "class A { void f() { foo(x); } }", "call foo 1"},
      {"java", "class A { void f() { obj.run(); } }", "call obj 1"},
      {"java", "class A { void f() { this.run(); } }", "call run 1"},
      {"java", "class A { void f() { a.b.run(); } }", "call run 1"},
      {"java", "class A { void f() { new X(); } }", "type X 1"},

      {"ruby", "puts x\n", "call puts 1"},
      {"ruby", "obj.run\n", "call obj 1"},
      {"ruby", "Foo.run\n", "call run 1"},
      {"ruby", "run\n", ""},

      {"go", "package p\nfunc f() { g() }\n", "call g 2"},
      {"go", "package p\nfunc f() { pkg.Func() }\n", ""},

      {"rust", "fn f() { foo(); }", "call foo 1"},
      {"rust", "fn f() { println!(\"x\"); }", "call println 1"},
      {"rust", "fn f() { std::println!(\"x\"); }", ""},
      {"rust", "fn f() { obj.run(); }", ""},
      {"rust", "fn f() { a::b(); }", ""},

      {"csharp", "class A { void F() { Foo(); } }", "call Foo 1"},
      {"csharp", "class A { void F() { obj.Run(); } }", "call obj 1"},
      {"csharp", "class A { void F() { this.Run(); } }", "call Run 1"},

      {"php", "<?php foo();", ""},
      {"php", "<?php $o->m();", ""},
      {"php", "<?php A::m();", ""},
      // The member that is called is not looked at; the one it is called on is.
      {"php", "<?php $o->p->m();", "call p 1"},
      {"php", "<?php $o->p->q->m();", "call q 1"},
      {"php", "<?php f(1)->m();", ""},

      {"sql", "SELECT count(*) FROM t;", ""},
  });
}

// ---- Types ----

TEST(TypeNameTest, NamesAndLists) {
  expect_references({
      {"java", "class A { List<String> f; }", "type List 1, type String 1"},
      {"java", "class A {\n  Map<String,\n  Integer> f;\n}",
       "type Map 2, type String 2, type Integer 3"},
      {"java", "class A extends B implements C, D {}", "type B 1, type C 1, type D 1"},
      {"typescript", "class A extends B implements C, D {}",
       "type A 1, type B 1, type C 1, type D 1"},
      // A list is recorded where it begins, and its first name again where it stands.
      {"typescript", "class A implements\n C {}", "type A 1, type C 1, type C 2"},
      // Only the list's own names: of a qualified one there is none.
      {"typescript", "class A extends b.B implements c.C<D> {}",
       "type A 1, call B 1, type C 1, type D 1"},
      {"typescript", "interface A extends B {}", "type A 1, type B 1"},
      {"typescript", "let x: Foo<Bar>;", "type Foo 1, type Bar 1"},
      {"javascript", "class A extends B {}", ""},
      {"python", "x: List[int] = y\n", "type List 1"},
      {"go", "package p\ntype T struct { x []U }\n", "type T 2, type U 2"},
      {"rust", "fn f(x: Vec<T>) {}", "type Vec 1, type T 1"},
      // The first plain name of the bases; generic ones are of another type.
      {"csharp", "class A : B, C {}", "type B 1"},
      {"csharp", "class A : C<D>, B {}", "type B 1"},
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

// What a field holds is the library's answer: the grammar passes fields through a hidden rule here.
TEST(AttributeNameTest, TypeQuery) {
  expect_references({
      {"typescript", "let x: typeof a.b.c;", "call b 1"},
  });
}

// ---- Imports ----

TEST(ImportTest, Python) {
  expect_references({
      {"python", "import os\n", "import os 1, import_module os 1"},
      {"python", "import os.path\n", "import os.path 1, import path 1, import_module os.path 1"},
      {"python", "\n\nimport os, pkg.sub.mod\n",
       "import os 3, import pkg.sub.mod 3, import mod 3, "
       "import_module os 3, import_module pkg.sub.mod 3"},
      // The alias is the only plain name inside.
      {"python", "import numpy as np\n", "import np 1, import_module numpy 1"},
      {"python", "import a.b as c, d\n",
       "import c 1, import d 1, import_module a.b 1, import_module d 1"},
      {"python", "from pkg.sub.mod import Handler\n",
       "import Handler 1, import_module pkg.sub.mod 1"},
      // The imported name, not its alias.
      {"python", "from pkg import a as b, c\n", "import a 1, import c 1, import_module pkg 1"},
      {"python", "from pkg import (\n  a,\n  b,\n)\n",
       "import a 1, import b 1, import_module pkg 1"},
      // No names: what the generic procedure finds is the module's.
      {"python", "from pkg.mod import *\n",
       "import pkg.mod 1, import mod 1, import_module pkg.mod 1"},
      {"python", "from . import x\n", "import x 1, import_module . 1"},
      {"python", "from ..pkg import x\n", "import x 1, import_module ..pkg 1"},
      {"python", "from . import *\n", "import_module . 1"},
      {"python", "from __future__ import annotations\n", ""},
      {"python", "from m import x.y\n", "import y 1, import_module m 1"},
      // A repeat on the line is left out.
      {"python", "import a, a\n", "import a 1, import_module a 1"},
      {"python", "import x; import x\n", "import x 1, import_module x 1"},
      {"python", "from a.b import b\n", "import b 1, import_module a.b 1"},
  });
}

TEST(ImportTest, OtherLanguages) {
  expect_references({
      {"csharp", "using System;", "import System 1"},
      {"csharp", "using System.Text;", "import System.Text 1, import Text 1"},
      // What ends in a full stop has an empty last piece.
      {"csharp", "using A.;", "import A. 1, import  1"},
      {"csharp", "using X = A.B;", "import X 1, import A.B 1, import B 1"},
      {"java", "import foo;", "import foo 1"},
      {"java", "import java.util.List;", ""},
      {"rust", "use foo;", "import foo 1"},
      {"rust", "use std::io;", ""},
      {"go", "package p\nimport \"fmt\"\n", ""},
      {"javascript", "import { a as b, c } from 'm';", ""},
      {"javascript", "import d from 'm';", ""},
      {"typescript", "import x = require('m');", ""},
      {"php", "<?php include 'a.php';", ""},
      {"php", "<?php include FOO;", "import FOO 1"},
      {"php", "<?php include_once FOO;", "import FOO 1"},
      {"php", "<?php require_once FOO;", "import FOO 1"},
      {"php", "<?php require A\\B;", "import A\\B 1"},
      {"php", "<?php class A { use B, C; }", "import B 1, import C 1"},
      {"ruby", "require 'set'\n", "call require 1"},
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
