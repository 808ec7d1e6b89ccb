// See measure.h.
#include "engines/treesitter/core/measure.h"

#include <algorithm>
#include <array>
#include <vector>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/reading/file.h"

namespace engines::treesitter {
namespace {

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";

// Of UTF-16 that is mostly ASCII: NULs in one half of the pairs of bytes only, and in most pairs.
std::optional<Encoding> utf16_by_nuls(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  bytes = bytes.substr(0, JUDGED_BYTES);
  std::array<std::size_t, 2> nuls{};  // at even and at odd places
  for (std::size_t i = 0; i < bytes.size(); ++i) nuls[i % 2] += bytes[i] == '\0' ? 1 : 0;
  const std::size_t pairs = bytes.size() / 2;
  if (nuls[0] == 0 && nuls[1] > pairs / 2) return Encoding::utf16_little;
  if (nuls[1] == 0 && nuls[0] > pairs / 2) return Encoding::utf16_big;
  return std::nullopt;
}

Encoding encoding_of(std::string_view bytes, bool is_utf8) {
  if (bytes.starts_with("\xFF\xFE")) return Encoding::utf16_little;
  if (bytes.starts_with("\xFE\xFF")) return Encoding::utf16_big;
  if (is_binary(bytes)) return utf16_by_nuls(bytes).value_or(Encoding::binary);
  if (!is_utf8) return Encoding::ill_formed;
  return bytes.starts_with(UTF8_MARK) ? Encoding::utf8_with_mark : Encoding::utf8;
}

}  // namespace

void measure_bytes(const Source& source, ParseReport* report) {
  if (report == nullptr) return;
  report->ill_formed_at = source.first_ill_formed();
  report->encoding = encoding_of(source.bytes(), !report->ill_formed_at);
}

void measure_tree(const SyntaxTree& tree, ParseReport* report) {
  if (report == nullptr) return;
  std::vector<std::uint32_t> open;  // ends of the subtrees around the node
  report->nodes = tree.size();
  report->depth = report->error_nodes = report->missing_nodes = report->first_error_line = 0;
  report->error_bytes = 0;
  std::uint32_t counted_to = 0;  // the byte up to which error_bytes counts: error nodes are nested
  for (std::uint32_t index = 0; index < tree.size(); ++index) {
    if (index % NODES_PER_CHECK == 0) tree.source().check_cancelled();
    const NodeRecord& node = tree.record(index);
    while (!open.empty() && open.back() <= index) open.pop_back();
    open.push_back(node.subtree_end);
    report->depth = std::max(report->depth, static_cast<std::uint32_t>(open.size()));
    const Recovery recovery = tree.recovery(index);
    if (recovery == Recovery::none) continue;
    ++(recovery == Recovery::error ? report->error_nodes : report->missing_nodes);
    if (recovery == Recovery::error && node.end_byte > counted_to) {
      report->error_bytes += node.end_byte - std::max(node.start_byte, counted_to);
      counted_to = node.end_byte;
    }
    if (report->first_error_line == 0) report->first_error_line = Node(tree, index).start_row() + 1;
  }
}

}  // namespace engines::treesitter
