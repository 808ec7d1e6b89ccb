// The ctags form of a record: one line for each symbol, in the extended format of tags files, which
// editors read to find definitions (vim: `:help tags-file-format`).
//
//   matches<TAB>src/catalogue.py<TAB>18;"<TAB>method<TAB>line:18<TAB>language:python<TAB>class:Book
//   <TAB>access:public<TAB>end:20
//
// The command that finds the symbol is its line number, since a changed file needs new tags anyway.
// `class:Book` is the scope: the kind of the declaration around the symbol, and its FQN without the
// file's prefix. The kind is `unknown` when this file does not declare the scope, such as a
// receiver of Go. Exported symbols have `access:public`; others have no `access:`, since the record
// does not say where they are visible. There is no `signature:`: readers expect a list of
// parameters there, and the record has a whole line. References have no lines, nor have symbols
// without a name.
//
// Escaped are backslashes and control characters, as TAG_OUTPUT_MODE u-ctags says, and the first
// character of a name that would look like a line of the head. Bytes of paths that are no UTF-8
// remain.
//
// Tested by tests/ctags_test.py.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/treesitter.h"
#include "models/symbol.h"
#include "tool/byte_sink.h"

namespace tool {

// The error text of a file of which `count` tags are left out, being too long.
std::string tags_left_out_text(std::size_t count);

// Writes the lines before all tags. They say that the tags are sorted by bytes.
void write_ctags_head(ByteSink& sink);

// Writes the lines of the record's symbols, in the record's order. Takes 64 KiB of stack and 4
// bytes for each symbol, and sorts these.
void write_ctags(ByteSink& sink, const engines::treesitter::ParsedItem& parsed);

// The same for symbols from an index. `path`: the file's path to write. `prefix`: that of the FQNs.
void write_ctags(ByteSink& sink, std::string_view path, std::string_view prefix,
                 std::string_view language, const std::vector<engines::models::Symbol>& symbols);

}  // namespace tool
