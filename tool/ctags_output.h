// The ctags form of a record: one line per symbol of a tags file in the extended format, which
// editors read to go to a definition (vim: `:help tags-file-format`).
//
//   matches<TAB>src/catalogue.py<TAB>18;"<TAB>method<TAB>line:18<TAB>language:python<TAB>class:Book
//   <TAB>access:public<TAB>end:20
//
// The line number is the command that finds the symbol; a file that changes needs new tags anyway.
// `class:Book` is the scope: the kind of the declaration around the symbol, and its FQN without the
// file's part; `unknown:Book` where that is none of this file, such as a receiver of Go. `access:`
// is there for what is seen outside its file and for nothing else, since the record does not say
// how far the rest is seen. There is no `signature:`, which is a list of parameters to readers, and
// the record's is the whole line. References have no lines.
//
// Texts are escaped as TAG_OUTPUT_MODE u-ctags says: a backslash and control characters, and what
// would make a name look like one of the head's lines. Bytes of paths that are no UTF-8 stay. A
// symbol without a name has no line: nobody could ask for it.
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

// What a file's record has no room for in a tags file, as an error text.
std::string tags_left_out_text(std::size_t count);

// The lines in front of all tags, for tags in the order of their bytes.
void write_ctags_head(ByteSink& sink);

// The lines of the record's symbols, in its order. Beside the record it takes 64 KiB of stack, and
// 4 bytes for each symbol.
void write_ctags(ByteSink& sink, const engines::treesitter::ParsedItem& parsed);

// The same of symbols that an index has kept. `path`: as the tags are to say it. `prefix`: what
// their FQNs begin with.
void write_ctags(ByteSink& sink, std::string_view path, std::string_view prefix,
                 std::string_view language, const std::vector<engines::models::Symbol>& symbols);

}  // namespace tool
