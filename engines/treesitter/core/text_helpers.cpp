// How the rules read a node's text, and the error for bytes that are no UTF-8.
//
// Tested by tests/text_test.cpp.
#include <array>
#include <cstdio>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

std::string utf8_error_text(std::string_view object, std::size_t start, std::size_t end,
                            const std::string& reason) {
  const std::string fault = ": " + reason;
  if (end - start != 1) {
    return "'utf-8' codec can't decode bytes in position " + std::to_string(start) + "-" +
           std::to_string(end - 1) + fault;
  }
  std::array<char, 8> byte{};
  std::snprintf(byte.data(), byte.size(), "0x%02x", static_cast<unsigned char>(object[start]));
  return std::string("'utf-8' codec can't decode byte ") + byte.data() + " in position " +
         std::to_string(start) + fault;
}

}  // namespace

Utf8Error::Utf8Error(std::string object_bytes, std::size_t fault_start, std::size_t fault_end,
                     const std::string& fault)
    : std::invalid_argument(utf8_error_text(object_bytes, fault_start, fault_end, fault)),
      object(std::move(object_bytes)),
      start(fault_start),
      end(fault_end),
      reason(fault) {}

std::optional<std::string_view> _node_text(const Node& node) {
  const std::string_view bytes = node.bytes();
  if (bytes.empty()) return std::nullopt;
  if (!node.tree().source().is_utf8(node.start_byte(), node.end_byte())) require_utf8(bytes);
  return bytes;
}

std::string_view _strip_matching_quotes(std::string_view text) {
  if (text.size() < 2 || text.front() != text.back()) return text;
  if (text.front() != '"' && text.front() != '\'') return text;
  return text.substr(1, text.size() - 2);
}

}  // namespace engines::treesitter
