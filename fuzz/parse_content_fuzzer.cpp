// Any text in any language through parse_content. The first byte tells language and rules.
#include <cstddef>
#include <cstdint>

#include "engines/languages/languages.h"
#include "engines/treesitter/text/text.h"
#include "fuzz/properties.h"

namespace {

using namespace engines;
using namespace engines::treesitter;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static const TreeSitterEngine standard;
  static const TreeSitterEngine navigation(Rules::navigation);
  const auto names = languages::language_names();
  const std::string_view language = names[data[0] % names.size()];
  const TreeSitterEngine& engine = data[0] / names.size() % 2 == 0 ? standard : navigation;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);

  std::string content(bytes);
  if (find_ill_formed(bytes).size > 0) {
    const auto refused = [&] { return engine.parse_content(bytes, language, "a/input.x"); };
    fuzz::require(std::holds_alternative<std::string>(fuzz::answer_of(refused)),
                  "content that is no UTF-8 is refused");
    content = decode_replacing(bytes);
  }
  fuzz::checked_answer([&] { return engine.parse_content(content, language, "a/input.x"); },
                       content, "a.input.", engine.rules());
  return 0;
}
