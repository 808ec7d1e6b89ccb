// See schema.h.
#include "index/schema.h"

namespace repository {

// SQLite reads a row from its beginning and no further than needed. So what is read often stands in
// front, and the references of a file have a table of their own: a run without changes reads
// little.
const char* const SCHEMA = R"(
CREATE TABLE meta(key TEXT PRIMARY KEY, value) WITHOUT ROWID;
CREATE TABLE file(id INTEGER PRIMARY KEY, path BLOB NOT NULL UNIQUE, size INTEGER, mtime INTEGER,
  ctime INTEGER, inode INTEGER, language TEXT, symbols INTEGER NOT NULL, hash BLOB);
CREATE TABLE file_use(file INTEGER PRIMARY KEY, uses BLOB NOT NULL);
CREATE TABLE error(file INTEGER NOT NULL, number INTEGER NOT NULL, text TEXT NOT NULL,
  PRIMARY KEY(file, number)) WITHOUT ROWID;
CREATE TABLE name(id INTEGER PRIMARY KEY, text TEXT NOT NULL UNIQUE);
CREATE INDEX name_folded ON name(text COLLATE NOCASE);
CREATE TABLE scope(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, name INTEGER NOT NULL,
  UNIQUE(parent, name));
CREATE INDEX scope_name ON scope(name);
CREATE TABLE symbol(id INTEGER PRIMARY KEY, name INTEGER NOT NULL, scope INTEGER NOT NULL,
  kind INTEGER NOT NULL, first INTEGER NOT NULL, lines INTEGER NOT NULL, export INTEGER NOT NULL,
  signature TEXT, doc TEXT);
CREATE INDEX symbol_name ON symbol(name, id, kind, export);
CREATE INDEX symbol_scope ON symbol(scope) WHERE scope <> 0;
CREATE TABLE reference(name INTEGER NOT NULL, kind INTEGER NOT NULL, file INTEGER NOT NULL,
  lines BLOB NOT NULL, PRIMARY KEY(name, kind, file)) WITHOUT ROWID;
CREATE VIRTUAL TABLE name_trigram USING fts5(text, content='name', content_rowid='id',
  tokenize='trigram', detail=none, columnsize=0);
CREATE VIRTUAL TABLE name_words USING fts5(words, content='', detail=none, columnsize=0);
CREATE VIRTUAL TABLE symbol_words USING fts5(signature, doc, content='symbol', content_rowid='id',
  detail=none, columnsize=0);
)";

std::string maker_of_schema() { return "schema " + std::to_string(SCHEMA_VERSION) + ','; }

std::string maker(engines::treesitter::Rules rules) {
  std::string text = maker_of_schema();
  const auto build = engines::treesitter::build_info();
  text.append(" ").append(build.rules[static_cast<std::size_t>(rules)]).append(" rules");
  text.append(", engine ").append(build.engine.version);
  return text.append(", build ").append(build.digest);
}

}  // namespace repository
