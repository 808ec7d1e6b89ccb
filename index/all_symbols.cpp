// See all_symbols.h.
#include "index/all_symbols.h"

#include <cstdint>
#include <string>
#include <utility>

#include "engines/treesitter/treesitter.h"
#include "index/statements.h"

namespace repository {
namespace {

using engines::models::kind_text;
using engines::models::SymbolKind;

engines::models::Symbol symbol_of(SQLite::Statement& row, const FileSymbols& file, Reader& reader) {
  const auto number = [&](int column) { return row.getColumn(column).getInt64(); };
  const auto first = static_cast<std::uint32_t>(number(4));
  std::string name = bytes_of(row.getColumn(1));
  std::string fqn = reader.fqn(file.prefix, number(2), name);
  return engines::models::Symbol(
      {.id = number(0),
       .file_id = file_of(number(0)),
       .name = std::move(name),
       .kind = kind_text(static_cast<SymbolKind>(Reader::checked_kind(number(3)))),
       .fqn = std::move(fqn),
       .start_line = first,
       .end_line = first + static_cast<std::uint32_t>(number(5)),
       .signature = std::nullopt,
       .is_export = number(6) != 0,
       .docstring = std::nullopt,
       .body_digest = std::nullopt});
}

}  // namespace

void for_each_file(Reader& reader, const std::function<void(const FileSymbols&)>& take) {
  SQLite::Statement rows(reader.connection(),
                         "SELECT symbol.id, text, scope, kind, first, lines, export FROM symbol "
                         "CROSS JOIN name ON name.id = symbol.name ORDER BY symbol.id");
  FileSymbols file;
  std::int64_t last = 0;
  const auto give = [&] {
    if (!file.symbols.empty()) take(file);
    reader.forget();
  };
  while (rows.executeStep()) {
    const std::int64_t id = file_of(rows.getColumn(0).getInt64());
    if (std::exchange(last, id) != id) {
      give();
      const Reader::File& of = reader.file(id);
      file = {.path = of.path,
              .language = of.language,
              .prefix = engines::treesitter::TreeSitterEngine::fqn_prefix(of.path),
              .symbols = {}};
    }
    file.symbols.push_back(symbol_of(rows, file, reader));
  }
  give();
}

}  // namespace repository
