// Signatures and body digests. A signature is the line on which a declaration starts; a body digest
// is the lines of its body that carry logic.
//
// A signature costs a search for the ends of its line and 200 code points; a digest costs the lines
// that it keeps. Source finds the lines that carry logic once per file, so that nested functions do
// not search the same lines again.
//
// Tested by tests/signatures_test.cpp.
#include <algorithm>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/text/regex.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

constexpr std::size_t MAX_SIGNATURE_LENGTH = 200;
constexpr std::string_view SIGNATURE_SUFFIX = "...";
constexpr std::size_t MAX_BYTES_PER_CODE_POINT = 4;

// The text from `begin` up to `end`, or its first `count` code points. Decodes no more than these
// need, since a minified line may have 50 MB.
std::string_view decoded_first(const Source& content, std::size_t begin, std::size_t end,
                               std::size_t count, std::string& storage) {
  end = std::min(end, begin + (count + 1) * MAX_BYTES_PER_CODE_POINT);
  return first(content.decoded(begin, end, storage), count);
}

bool is_lower_letter(char byte) { return byte >= 'a' && byte <= 'z'; }

// Whether the text before `cut` ends in a whole keyword. If a word character follows in the file,
// the whole line does not have this keyword, but the body that ends at `cut` does.
bool ends_in_keyword(std::string_view bytes, std::size_t cut) {
  std::size_t begin = cut;
  while (begin > 0 && cut - begin <= LONGEST_KEYWORD && is_lower_letter(bytes[begin - 1])) --begin;
  if (!is_logic_keyword(bytes.substr(begin, cut - begin))) return false;
  const std::size_t window = std::min(begin, MAX_BYTES_PER_CODE_POINT);
  const std::string before = decode_replacing(bytes.substr(begin - window, window));
  return before.empty() || !is_word(last_code_point(before));
}

// The beginning of the last line of a body, which ends at `cut`; none if the line carries no logic
// up to there. `line` is the entry of the whole line, or null if the whole line carries no logic.
std::optional<std::size_t> last_line_begin(const Source& content, const LogicLine* line,
                                           std::size_t cut) {
  if (line != nullptr && line->logic_end <= cut) return line->trimmed_begin;
  if (!ends_in_keyword(content.bytes(), cut)) return std::nullopt;
  const std::size_t begin = content.trimmed({content.line_at(cut).begin, cut}).begin;
  if (is_comment_line(content.bytes().substr(begin, cut - begin))) return std::nullopt;
  return begin;
}

// The lines kept so far. Each line counts one code point more than it has, for its line feed; so
// does the last one.
class Digest {
 public:
  explicit Digest(const Source& content) : _content(content) {}

  bool is_full() const { return _used >= MAX_BODY_DIGEST_LENGTH; }

  void keep(std::size_t begin, std::size_t end) {
    std::string storage;
    const std::string_view line =
        decoded_first(_content, begin, end, MAX_BODY_DIGEST_LENGTH, storage);
    if (!_text.empty()) _text.push_back('\n');
    _text.append(line);
    _used += length(line) + 1;
  }

  std::optional<std::string> text() const {
    const std::string_view text = trim_end(first(_text, MAX_BODY_DIGEST_LENGTH));
    if (text.empty()) return std::nullopt;
    return std::string(text);
  }

 private:
  const Source& _content;
  std::string _text;
  std::size_t _used = 0;
};

}  // namespace

std::optional<std::string> TreeSitterEngine::_get_signature(const Node& node, const Source& content,
                                                            std::string_view /*language*/) {
  const Source::Range line = content.trimmed(content.line_at(node.start_byte()));
  std::string storage;
  const std::string_view text =
      decoded_first(content, line.begin, line.end, MAX_SIGNATURE_LENGTH + 1, storage);
  if (length(text) <= MAX_SIGNATURE_LENGTH) return std::string(text);
  return std::string(first(text, MAX_SIGNATURE_LENGTH - SIGNATURE_SUFFIX.size()))
      .append(SIGNATURE_SUFFIX);
}

std::optional<std::string> TreeSitterEngine::_extract_body_digest(const Node& node,
                                                                  const Source& content) {
  const std::uint32_t last_row = node.end_row();
  if (last_row == node.start_row()) return std::nullopt;
  const std::vector<LogicLine>& lines = content.logic_lines();
  auto line =
      std::lower_bound(lines.begin(), lines.end(), node.start_row() + 1,
                       [](const LogicLine& each, std::uint32_t row) { return each.row < row; });
  Digest digest(content);
  for (; line != lines.end() && line->row < last_row && !digest.is_full(); ++line) {
    digest.keep(line->trimmed_begin, line->trimmed_end);
  }
  if (!digest.is_full()) {
    const bool is_whole = line != lines.end() && line->row == last_row;
    const auto begin = last_line_begin(content, is_whole ? &*line : nullptr, node.end_byte());
    if (begin) digest.keep(*begin, node.end_byte());
  }
  return digest.text();
}

}  // namespace engines::treesitter
