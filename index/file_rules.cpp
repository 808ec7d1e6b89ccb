// See file_rules.h. `meta` has a row for each rule that is not the default; a list is kept as its
// texts with a NUL behind each.
#include "index/file_rules.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string_view>
#include <vector>

#include "index/statements.h"

namespace repository {
namespace {

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all.append(text).append(1, '\0');
  return all;
}

std::vector<std::string> split(std::string_view all) {
  std::vector<std::string> texts;
  while (!all.empty()) {
    const std::size_t end = std::min(all.find('\0'), all.size() - 1);
    texts.emplace_back(all.substr(0, end));
    all.remove_prefix(end + 1);
  }
  return texts;
}

std::string value(SQLite::Statement& statement, const char* key) {
  statement.bind(1, key);
  std::string text;
  if (statement.executeStep()) text = bytes_of(statement.getColumn(0));
  statement.reset();
  return text;
}

}  // namespace

std::string too_large_text(std::uint64_t size, std::uint64_t max_size) {
  return "Failed to read file: it has " + std::to_string(size) +
         " bytes, and --max-filesize allows " + std::to_string(max_size);
}

FileRules read_file_rules(const SQLite::Database& database) {
  FileRules rules;
  if (!database.tableExists("meta")) return rules;
  SQLite::Statement statement(database, "SELECT value FROM meta WHERE key = ?");
  rules.walk.hidden = !value(statement, "hidden").empty();
  rules.walk.no_ignore = !value(statement, "no_ignore").empty();
  rules.walk.exclude = split(value(statement, "exclude"));
  rules.walk.types = split(value(statement, "type"));
  const std::string size = value(statement, "max_filesize");
  std::from_chars(size.data(), size.data() + size.size(), rules.max_size);
  return rules;
}

void write_file_rules(SQLite::Database& database, const FileRules& rules) {
  const FileRules before = read_file_rules(database);
  SQLite::Statement remove(database, "DELETE FROM meta WHERE key = ?");
  SQLite::Statement insert(database, "INSERT INTO meta VALUES(?, ?)");
  const auto keep = [&](const char* key, const std::string& text) {
    remove.bind(1, key);
    remove.exec();
    remove.reset();
    if (text.empty()) return;
    insert.bind(1, key);
    bind_bytes(insert, 2, text);
    insert.exec();
    insert.reset();
  };
  keep("hidden", rules.walk.hidden ? "1" : "");
  keep("no_ignore", rules.walk.no_ignore ? "1" : "");
  keep("exclude", joined(rules.walk.exclude));
  keep("type", joined(rules.walk.types));
  keep("max_filesize",
       rules.max_size == FileRules().max_size ? "" : std::to_string(rules.max_size));
  if (rules.max_size == before.max_size) return;
  // What is too large now, and what has no hash: it was too large, or could not be read.
  SQLite::Statement look_again(
      database,
      "UPDATE file SET mtime = -1, hash = NULL WHERE size > ? OR (hash IS NULL AND language IS "
      "NOT NULL)");
  constexpr auto MOST = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  run(look_again, static_cast<std::int64_t>(std::min(rules.max_size, MOST)));
}

}  // namespace repository
