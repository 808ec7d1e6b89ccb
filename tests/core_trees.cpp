// The trees of all sources that the project holds, and of broken copies of them, a line for each.
//
// Built twice, with the core as it was published and with the functions that cmake/core_*.h put in
// the place of its own: tests/core_test.py compares what the two print. A line has the tree as the
// rules read it, with what the library knows of errors, and the library's operations, which differ
// as soon as one of the two takes another way through a file.
#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <string_view>

#include "engines/languages/languages.h"
#include "engines/treesitter/parsing/parser.h"
#include "tests/support/inputs.h"

namespace engines::treesitter {
namespace {

constexpr int BROKEN_COPIES = 24;

struct Digest {
  std::uint64_t value = 14695981039346656037u;
  void add(std::uint64_t number) { value = (value ^ number) * 1099511628211u; }
};

std::uint64_t digest_of(const SyntaxTree& tree) {
  Digest digest;
  for (std::uint32_t index = 0; index < tree.size(); ++index) {
    const NodeRecord& node = tree.record(index);
    for (const std::uint32_t number : {node.start_byte, node.end_byte, node.parent,
                                       node.subtree_end, std::uint32_t{node.symbol}}) {
      digest.add(number);
    }
    digest.add(node.field);
    digest.add(static_cast<std::uint64_t>(tree.recovery(index)));
  }
  return digest.value;
}

void print(std::string_view name, int copy, const std::string& bytes, std::string_view language) {
  std::cout << name << ' ' << copy << ' ';
  ParseReport report;
  ParseArena arena;
  const Source source(bytes);
  Parser parser(*languages::get_language(language));
  try {
    const SyntaxTree tree = parser.parse(source, arena, Fields::all, &report);
    std::cout << tree.size() << " nodes, digest " << digest_of(tree);
  } catch (const ParseError& error) {
    std::cout << error.what();
  }
  std::cout << ", " << report.operations->used << " operations\n";
}

}  // namespace
}  // namespace engines::treesitter

int main() {
  using namespace engines::treesitter;
  std::mt19937 random(14);
  for (const Input& input : inputs()) {
    std::string bytes = input.bytes;
    for (int copy = 0; copy <= BROKEN_COPIES; ++copy) {
      print(input.name, copy, bytes, input.language);
      // Every fourth time from the whole again, else the fault comes on top of the last one.
      bytes = broken(copy % 4 == 0 ? input.bytes : bytes, random);
    }
  }
}
