// A program that uses the installed package: parses files, counts languages, prints the log.
#include <iostream>

#include "engines/treesitter/treesitter.h"

namespace {

class PrintingSink final : public engines::treesitter::LogSink {
 public:
  bool is_enabled(engines::treesitter::LogLevel /*level*/) noexcept override { return true; }
  void emit(const engines::treesitter::LogRecord& record) noexcept override {
    std::cout << "log " << format_record(record) << '\n';
  }
};

}  // namespace

int main(int argc, char** argv) {
  PrintingSink sink;
  engines::treesitter::set_log_sink(&sink);
  std::cout << engines::languages::language_infos().front().name << '\n';
  const engines::treesitter::TreeSitterEngine engine;
  for (int i = 1; i < argc; ++i) {
    const auto result = engine.parse_file(argv[i]);
    if (!result) continue;
    for (const auto& symbol : result->symbols) {
      std::cout << kind_text(symbol.kind) << ' ' << symbol.name << '\n';
    }
    for (const auto& error : result->errors) std::cout << error << '\n';
  }
  for (const auto& parsed : engine.parse_many(std::vector<std::string>(2, argv[1]))) {
    std::cout << std::get<engines::treesitter::ParseResult>(parsed.outcome).symbols.size() << '\n';
  }
  try {
    engine.parse_content("\xff", "python", "a.py");
  } catch (const engines::treesitter::Utf8Error& error) {
    std::cout << error.reason << '\n';
  }
}
