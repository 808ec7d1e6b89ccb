// The mutator of the fuzzers that parse. It repeats and nests tokens of the grammar, which finds
// faults that changes of single bytes do not find.
//
// The first byte of an input tells its language, from whose grammar the tokens come. libFuzzer
// finds the function by its name, so this file is linked only into the fuzzers that parse.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "engines/languages/languages.h"
#include "fuzz/grammar_tokens.h"

// Changes of bytes: libFuzzer's, or those of replay.cpp.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace {

using namespace engines;
using namespace engines::treesitter;

const std::vector<std::string>& tokens_of(std::size_t language) {
  static const auto tokens = [] {
    std::vector<std::vector<std::string>> all;
    for (const std::string_view name : languages::language_names()) {
      all.push_back(fuzz::grammar_tokens(name));
    }
    return all;
  }();
  return tokens[language % tokens.size()];
}

class Mutation {
 public:
  Mutation(std::string& text, std::size_t language, unsigned seed)
      : _text(text), _tokens(tokens_of(language)), _random(seed) {}

  void apply() {
    switch (below(7)) {
      case 0:
        return insert(token());
      case 1:
        return insert(repeated(token(), below(200) + 1));
      case 2:
        return nest();
      case 3:
        return repeat_slice();
      case 4:
        return truncate();
      case 5:
        return splice();
      default:
        return flip_encoding();
    }
  }

 private:
  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(_random);
  }

  const std::string& token() {
    const std::vector<std::string>& common = fuzz::common_openers();
    return below(3) == 0 ? common[below(common.size())] : _tokens[below(_tokens.size())];
  }

  static std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
  }

  std::size_t place() { return below(_text.size() + 1); }
  void insert(std::string_view text) { _text.insert(place(), text); }

  // Puts a token many times before a part of the text, and often another one as many times behind
  // it.
  void nest() {
    const std::string open = below(2) == 0 ? token() : token() + token();
    const std::size_t count = below(100) + 1;
    const std::size_t begin = place();
    const std::size_t end = begin + below(_text.size() - begin + 1);
    if (below(3) > 0) _text.insert(end, repeated(token(), count));
    _text.insert(begin, repeated(open, count));
  }

  std::string slice() {
    if (_text.empty()) return {};
    const std::size_t begin = below(_text.size());
    return _text.substr(begin, below(std::min<std::size_t>(_text.size() - begin, 64)) + 1);
  }

  void repeat_slice() {
    const std::string part = slice();
    insert(repeated(part, below(50) + 1));
  }

  void truncate() { _text.resize(place()); }

  void splice() {
    const std::string part = slice();
    if (part.empty()) return;
    _text.replace(below(_text.size()), part.size(), part);
  }

  // Inserts a piece that is ill-formed or rare, or breaks a character.
  void flip_encoding() {
    static constexpr std::array<std::string_view, 12> PIECES = {
        "\xFF",
        "\xC3",
        "\xC0\x80",
        "\xED\xA0\x80",
        "\xF4\x90\x80\x80",
        "\xF0\x9F\x92",
        "\xEF\xBB\xBF",
        std::string_view("\0", 1),
        "\r",
        "\xC2\x85",
        "\xE2\x80\xA8",
        "\xF4\x8F\xBF\xBF",
    };
    if (below(4) > 0) return insert(PIECES[below(PIECES.size())]);
    if (!_text.empty()) _text[below(_text.size())] ^= static_cast<char>(0x80);
  }

  std::string& _text;
  const std::vector<std::string>& _tokens;
  std::minstd_rand _random;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed) {
  if (size == 0 || seed % 8 == 0) return LLVMFuzzerMutate(data, size, max_size);
  std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  for (unsigned i = 0; i <= seed / 8 % 3; ++i) Mutation(text, data[0], seed + i).apply();
  if (seed % 32 == 1) data[0] = static_cast<std::uint8_t>(data[0] + 1);  // another language
  const std::size_t kept = std::min(text.size(), max_size - 1);
  std::memcpy(data + 1, text.data(), kept);
  return kept + 1;
}
