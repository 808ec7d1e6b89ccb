// Any bytes through the text helpers, against plain restatements of what they promise.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/text/regex.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"
#include "fuzz/properties.h"

namespace {

using namespace engines::treesitter;
using fuzz::require;

bool throws_utf8_error(std::string_view bytes) {
  try {
    require_utf8(bytes);
    return false;
  } catch (const Utf8Error& error) {
    require(error.start < error.end && error.end <= bytes.size(),
            "an error names bytes of its own");
    return true;
  }
}

std::vector<char32_t> code_points(std::string_view text) {
  std::vector<char32_t> values;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint point = code_point_at(text, at);
    require(point.size >= 1 && point.size <= 4, "a code point has 1 to 4 bytes");
    values.push_back(point.value);
    at += point.size;
  }
  return values;
}

bool lies_within(std::string_view part, std::string_view whole) {
  return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

void check_lengths(std::string_view text, const std::vector<char32_t>& points, std::size_t count) {
  require(length(text) == points.size(), "the length counts code points");
  require(length(text, count) == std::min(count, points.size()), "a length counted up to a bound");
  const std::string_view head = first(text, count);
  require(text.starts_with(head) && length(head) == std::min(count, points.size()),
          "the first characters are that many");
  const auto [cut, was_cut] = _truncate_docstring(text);
  require(length(cut) <= MAX_DOCSTRING_LENGTH, "a docstring is cut");
  require(was_cut == (points.size() > MAX_DOCSTRING_LENGTH), "what is cut says so");
  require(was_cut || cut == text, "what is short stays");
}

void check_trimming(std::string_view text, const std::vector<char32_t>& points) {
  const auto is_space = [](char32_t value) { return is_whitespace(value); };
  const std::vector<char32_t> trimmed = code_points(trim(text));
  const auto begin = std::find_if_not(points.begin(), points.end(), is_space);
  const auto end = std::find_if_not(points.rbegin(), std::reverse_iterator(begin), is_space).base();
  require(trimmed == std::vector<char32_t>(begin, end), "trimming takes whitespace off both ends");
  require(lies_within(trim(text), text), "a trimmed text is part of the text");
  require(trim_end(trim_start(text)) == trim(text), "both ends are trimmed one by one");
}

void check_splitting(std::string_view text, char separator) {
  const std::vector<std::string_view> pieces = split(text, separator);
  std::string joined;
  for (const std::string_view piece : pieces) joined.append(piece).append(1, separator);
  joined.pop_back();
  require(joined == text, "the pieces and their separators are the text");
  for (const std::string_view word : split_whitespace(text)) {
    require(!word.empty() && trim(word) == word, "a word has no whitespace around it");
  }
}

void check_text(std::string_view text, std::size_t count) {
  const std::vector<char32_t> points = code_points(text);
  check_lengths(text, points, count);
  check_trimming(text, points);
  check_splitting(text, text.empty() ? ' ' : text.front() & 0x7F);
  require(decode_replacing(text) == text, "nothing is replaced in a text");
  const std::string_view unquoted = _strip_matching_quotes(text);
  require(unquoted == text || unquoted.size() + 2 == text.size(), "one pair of quotes or none");
  require(points.empty() || last_code_point(text) == points.back(), "the last code point");
  is_upper(text);
  require(find_logic_end(text) == _BODY_DIGEST_RE.find_end(text),
          "the hand scan finds what the expression finds");
}

// The questions about parts of a file, each against the part itself.
void check_source(std::string_view bytes, std::size_t one, std::size_t other) {
  const Source source(bytes);
  const std::size_t begin = std::min(one, other) % (bytes.size() + 1);
  const std::size_t end = begin + std::max(one, other) % (bytes.size() - begin + 1);
  const std::string_view part = bytes.substr(begin, end - begin);
  std::string storage;
  require(source.is_utf8(begin, end) == (find_ill_formed(part).size == 0),
          "whether a part is UTF-8");
  require(source.decoded(begin, end, storage) == decode_replacing(part), "a decoded part");
  require(source.contains(begin, end, "public") == (part.find("public") != part.npos),
          "whether a part holds a word");

  const Source::Range line = source.line_at(begin);
  require(line.begin <= begin && begin <= line.end && line.end <= bytes.size(), "a line's place");
  require(line.begin == 0 || bytes[line.begin - 1] == '\n', "a line begins behind a line feed");
  require(line.end == bytes.size() || bytes[line.end] == '\n', "a line ends at a line feed");
  const Source::Range trimmed = source.trimmed(line);
  const std::string decoded = decode_replacing(bytes.substr(line.begin, line.end - line.begin));
  require(
      decode_replacing(bytes.substr(trimmed.begin, trimmed.end - trimmed.begin)) == trim(decoded),
      "a trimmed line");
  std::uint32_t row = 0;
  for (const LogicLine& each : source.logic_lines()) {
    require(each.row >= row, "lines in order");
    row = each.row + 1;
    require(each.trimmed_begin < each.logic_end && each.logic_end <= each.trimmed_end &&
                each.trimmed_end <= bytes.size(),
            "the logic of a line lies in it");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const std::size_t one = std::size_t{data[0]} << 8 | data[1];
  const std::size_t other = std::size_t{data[2]} << 8 | data[3];
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 4, size - 4);

  const IllFormed fault = find_ill_formed(bytes);
  require(fault.offset + fault.size <= bytes.size(), "ill-formed bytes lie inside");
  require(throws_utf8_error(bytes) == (fault.size > 0), "an error where bytes are ill-formed");
  const std::string text = decode_replacing(bytes);
  require(find_ill_formed(text).size == 0, "decoding gives a text");
  check_text(text, one);
  check_source(bytes, one, other);
  return 0;
}
