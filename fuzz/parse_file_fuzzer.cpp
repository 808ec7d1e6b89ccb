// Any bytes in any language through parse_file. If they are UTF-8, parse_content must give the
// same. The first byte tells the language.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "engines/languages/languages.h"
#include "engines/treesitter/text/text.h"
#include "fuzz/properties.h"

namespace {

using namespace engines;
using namespace engines::treesitter;

// A file that is written anew for each input. Removed with its folder at the end.
class InputFile {
 public:
  InputFile() {
    std::string name = (std::filesystem::temp_directory_path() / "fuzz_XXXXXX").native();
    fuzz::require(mkdtemp(name.data()) != nullptr, "a folder can be made");
    _folder = name;
  }
  ~InputFile() {
    std::error_code ignored;
    std::filesystem::remove_all(_folder, ignored);
  }

  std::filesystem::path write(std::string_view bytes, std::string_view suffix) {
    const std::filesystem::path path = _folder / ("input" + std::string(suffix));
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }

 private:
  std::filesystem::path _folder;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static const TreeSitterEngine engine;
  static InputFile file;
  const auto infos = languages::language_infos();
  const languages::LanguageInfo& language = infos[data[0] % infos.size()];
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::filesystem::path path = file.write(bytes, language.suffixes.front());

  const fuzz::Answer answer =
      fuzz::checked_answer([&] { return engine.parse_file(path).value(); }, bytes, "");
  if (find_ill_formed(bytes).size > 0) return 0;
  const fuzz::Answer content =
      fuzz::answer_of([&] { return engine.parse_content(bytes, language.name, path.native()); });
  if (!fuzz::is_timing(answer) && !fuzz::is_timing(content)) {
    fuzz::require(answer == content, "a file of UTF-8 gives what its content gives");
  }
  return 0;
}
