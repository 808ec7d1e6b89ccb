// See source.h.
#include "engines/treesitter/reading/source.h"

#include <algorithm>

#include "engines/treesitter/text/regex.h"
#include "engines/treesitter/text/text.h"

namespace engines::treesitter {
namespace {

// The beginnings of lines that body digests take for comments or docstrings. The line that opens a
// block comment is not among them: it is kept when it holds a keyword or a call.
constexpr std::string_view COMMENT_PREFIXES[] = {"#", "//", "*", R"(""")", "'''"};

}  // namespace

bool is_comment_line(std::string_view trimmed) {
  return std::any_of(std::begin(COMMENT_PREFIXES), std::end(COMMENT_PREFIXES),
                     [&](std::string_view prefix) { return trimmed.starts_with(prefix); });
}

Source::Source(std::string_view bytes, StopCheck& stop)
    : _bytes(bytes), _stop(stop), _lines(bytes, stop) {
  for (std::size_t offset = 0; offset < bytes.size(); stop.check()) {
    const IllFormed fault = find_ill_formed(bytes, offset, offset + BYTES_PER_CHECK);
    offset = fault.offset + fault.size;
    if (fault.size == 0) continue;
    if (!_ill_formed.empty() && _ill_formed.back().end == fault.offset) {
      _ill_formed.back().end = offset;
    } else {
      _ill_formed.push_back({fault.offset, offset});
    }
  }
}

bool Source::is_utf8(std::size_t begin, std::size_t end) const {
  if (begin == end) return true;
  const auto after =
      std::upper_bound(_ill_formed.begin(), _ill_formed.end(), begin,
                       [](std::size_t at, const Range& run) { return at < run.end; });
  if (after != _ill_formed.end() && after->begin < end) return false;
  // No ill-formed run overlaps the range, but its ends may cut a character.
  const auto cuts_character = [&](std::size_t at) {
    if (at >= _bytes.size() || (static_cast<unsigned char>(_bytes[at]) & 0xC0) != 0x80) {
      return false;
    }
    return after == _ill_formed.end() || after->begin != at;
  };
  return !cuts_character(begin) && !cuts_character(end);
}

std::string_view Source::decoded(std::size_t begin, std::size_t end, std::string& storage) const {
  const std::string_view bytes = _bytes.substr(begin, end - begin);
  if (is_utf8(begin, end)) return bytes;
  storage = decode_replacing(bytes);
  return storage;
}

bool Source::contains(std::size_t begin, std::size_t end, std::string_view word) const {
  const std::vector<std::uint32_t>& places = places_of(word);
  const auto place = std::lower_bound(places.begin(), places.end(), begin);
  return place != places.end() && *place + word.size() <= end;
}

const std::vector<std::uint32_t>& Source::places_of(std::string_view word) const {
  for (const WordPlaces& known : _word_places) {
    if (known.word == word) return known.places;
  }
  std::vector<std::uint32_t> places;
  for (std::size_t at = _bytes.find(word); at != std::string_view::npos;
       at = _bytes.find(word, at + 1)) {
    places.push_back(static_cast<std::uint32_t>(at));
  }
  _word_places.push_back({word, std::move(places)});
  return _word_places.back().places;
}

Source::Range Source::line_at(std::size_t offset) const {
  const std::size_t before = offset == 0 ? std::string_view::npos : _bytes.rfind('\n', offset - 1);
  const std::size_t after = _bytes.find('\n', offset);
  return {before == std::string_view::npos ? 0 : before + 1,
          after == std::string_view::npos ? _bytes.size() : after};
}

std::string_view Source::judged(Range line, std::string& storage) const {
  const std::string_view bytes = _bytes.substr(line.begin, line.end - line.begin);
  auto run = std::upper_bound(_ill_formed.begin(), _ill_formed.end(), line.begin,
                              [](std::size_t at, const Range& each) { return at < each.end; });
  if (run == _ill_formed.end() || run->begin >= line.end) return bytes;
  storage = bytes;
  for (; run != _ill_formed.end() && run->begin < line.end; ++run) {
    storage.replace(run->begin - line.begin, run->end - run->begin, run->end - run->begin, '?');
  }
  return storage;
}

Source::Range Source::trimmed(Range range) const {
  std::string storage;
  const std::string_view text = judged(range, storage);
  const std::string_view rest = trim(text);
  const std::size_t begin = range.begin + static_cast<std::size_t>(rest.data() - text.data());
  return {begin, begin + rest.size()};
}

const std::vector<LogicLine>& Source::logic_lines() const {
  if (_logic_lines) return *_logic_lines;
  std::vector<LogicLine> lines;
  std::string storage;
  std::uint32_t row = 0;
  std::size_t next_check = 0;
  for (std::size_t begin = 0; begin < _bytes.size(); ++row) {
    if (begin >= next_check) {
      check_cancelled();
      next_check = begin + BYTES_PER_CHECK;
    }
    const std::size_t end = std::min(_bytes.find('\n', begin), _bytes.size());
    const std::string_view line = judged({begin, end}, storage);
    const std::string_view trimmed = trim(line);
    if (const auto logic_end = is_comment_line(trimmed) ? std::nullopt : find_logic_end(trimmed)) {
      const std::size_t at = begin + static_cast<std::size_t>(trimmed.data() - line.data());
      lines.push_back({row, static_cast<std::uint32_t>(at),
                       static_cast<std::uint32_t>(at + trimmed.size()),
                       static_cast<std::uint32_t>(at + *logic_end)});
    }
    begin = end + 1;
  }
  return _logic_lines.emplace(std::move(lines));
}

}  // namespace engines::treesitter
