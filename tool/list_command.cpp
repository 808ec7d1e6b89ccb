// See commands.h.
#include <sys/stat.h>

#include <string>
#include <utility>

#include "engines/treesitter/treesitter.h"
#include "tool/commands.h"
#include "tool/descriptors.h"
#include "tool/interrupts.h"
#include "tool/item_source.h"
#include "tool/json_output.h"
#include "tool/messages.h"
#include "tool/output_buffer.h"
#include "tool/path_list.h"
#include "tool/record.h"
#include "walk/path_filter.h"

namespace tool {
namespace {

using engines::treesitter::ParsedItem;
using engines::treesitter::ParseItem;

// In bytes. The lines are short, so that many go into one system call.
constexpr std::size_t MUCH = 65536;

// In bytes; 0 when the system does not tell, since the parse will say why.
std::uint64_t size_of(const ParseItem& item) {
  if (item.content) return item.content->size();
  struct stat status {};
  return ::stat(item.path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

void put(ByteSink& sink, const ParseItem& item, bool is_found) {
  OutputBuffer out(sink);
  out.write('{');
  write_json_path(out, item.path);
  out.write(",\"size\":");
  out.write_number(size_of(item));
  out.write(is_found ? ",\"found\":true}\n" : "}\n");
  out.flush();
}

// The record of what cannot be read, as `parse` would write it.
void put_failure(ByteSink& sink, ParseItem item) {
  ParsedItem parsed{.item = std::move(item), .outcome = {}};
  parsed.outcome = engines::treesitter::TreeSitterEngine().parse(parsed.item);
  write_json(sink, parsed);
}

// With --batch: the paths of standard input that a walk would take.
int list_named(const Arguments& arguments) {
  const char separator = arguments.null_separated ? '\0' : '\n';
  PathList paths(STANDARD_INPUT, separator);
  walk::PathFilter filter(arguments.files.walk);
  int status = EXIT_ALL_PARSED;
  std::string text;
  const auto write = [&] {
    write_output(text, status);
    text.clear();
  };
  while (const auto path = paths.next()) {
    if (!filter.takes(*path)) continue;
    text += *path;
    text += separator;
    if (text.size() >= MUCH) write();
  }
  write();
  return status;
}

}  // namespace

int run_list(const Arguments& arguments) {
  if (arguments.is_batch) return list_named(arguments);
  ItemSource source(arguments);
  int status = EXIT_ALL_PARSED;
  std::string text;
  StringSink sink(text);
  const auto write = [&] {
    const WholeRecord whole;
    write_output(text, status);
    text.clear();
  };
  while (auto item = source.next()) {
    if (item->failure) {
      status = EXIT_SOME_FAILED;
      put_failure(sink, *std::move(item));
    } else {
      put(sink, *item, item->declines_binary);
    }
    if (text.size() >= MUCH) write();
  }
  write();
  return status;
}

}  // namespace tool
