#include "engines/treesitter/core/parser.h"

#include <tree_sitter/api.h>

#include <new>
#include <string>
#include <utility>

namespace engines::treesitter {

void refuse_size(std::uint64_t size) {
  throw ParseError("the file has " + std::to_string(size) + " bytes, and at most " +
                   std::to_string(MAX_PARSED_BYTES) + " can be parsed");
}

void Parser::Delete::operator()(TSParser* parser) const { ts_parser_delete(parser); }

Parser::Parser(const languages::Language& language)
    : _language(&language), _parser(ts_parser_new()) {
  if (!_parser) throw std::bad_alloc();
  if (!ts_parser_set_language(_parser.get(), language.grammar())) {
    throw std::logic_error("incompatible grammar version");
  }
}

SyntaxTree Parser::parse(const Source& source) {
  const std::string_view bytes = source.bytes();
  if (bytes.size() > MAX_PARSED_BYTES) refuse_size(bytes.size());
  TreePointer tree(ts_parser_parse_string(_parser.get(), nullptr, bytes.data(),
                                          static_cast<std::uint32_t>(bytes.size())));
  if (!tree) {
    ts_parser_reset(_parser.get());
    throw ParseError("the parser gave up");
  }
  return SyntaxTree(std::move(tree), *_language, source);
}

}  // namespace engines::treesitter
