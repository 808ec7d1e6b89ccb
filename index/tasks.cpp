// See tasks.h. An item's file_id is the number of its task.
#include "index/tasks.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>
#include <variant>

#include "index/file_hash.h"
#include "index/place.h"
#include "index/system_calls.h"

namespace repository {
namespace {

using engines::treesitter::FileReadError;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseItem;
using engines::treesitter::ParseResult;

// Reads a file whose path is too long for the engine to open.
void read_content(int file, ParseItem& item) {
  item.max_size = std::min(item.max_size, engines::treesitter::file_room() / 4);
  std::string content;
  std::array<char, 65536> buffer;
  int error = file < 0 ? errno : 0;
  while (error == 0 && content.size() <= item.max_size) {
    const ssize_t size = retried([&] { return ::read(file, buffer.data(), buffer.size()); });
    if (size == 0) break;
    if (size > 0) {
      content.append(buffer.data(), static_cast<std::size_t>(size));
    } else {
      error = errno;
    }
  }
  if (file >= 0) ::close(file);
  if (error == 0) {
    item.content = std::move(content);
  } else {
    item.failure = std::string("Failed to read file: ") + FileReadError(error, item.path).what();
  }
}

}  // namespace

Tasks::Tasks(const std::string& root, Changes& changes, Journal& journal, std::uint64_t max_size)
    : _prefix(with_slash(root)), _changes(changes), _journal(journal), _max_size(max_size) {}

std::optional<ParseItem> Tasks::next() {
  auto change = _changes.next();
  if (!change) return std::nullopt;
  ParseItem item{.path = _prefix + change->row.path};
  item.max_size = _max_size;
  item.declines_binary = true;
  if (change->is_long) read_content(_changes.open_last(), item);
  const std::scoped_lock lock(_mutex);
  item.file_id = ++_last;
  _under_way.emplace(_last, std::make_shared<Task>(Task{.change = *std::move(change)}));
  return item;
}

std::shared_ptr<Task> Tasks::find(std::int64_t number) {
  const std::scoped_lock lock(_mutex);
  return _under_way.at(number);
}

std::shared_ptr<Task> Tasks::take(const ParsedItem& parsed) {
  const std::scoped_lock lock(_mutex);
  return std::move(_under_way.extract(parsed.item.file_id).mapped());
}

void Tasks::perform(ParsedItem& parsed, const std::function<void()>& parse) {
  const auto task = find(parsed.item.file_id);
  const Change& change = task->change;
  if (change.kind != Change::Kind::written) return;
  const bool may_be_same = !change.row.hash.empty() && !change.is_long &&
                           static_cast<std::uint64_t>(change.now.size) <= _max_size;
  if (may_be_same && file_hash(parsed.item.path) == change.row.hash) {
    task->is_same = true;
    return;
  }
  const Journal::Entry entry(_journal, change.row.path);
  parse();
  if (auto* const result = std::get_if<ParseResult>(&parsed.outcome)) {
    task->packed = pack(*result);
    parsed.extra_bytes = task->packed.size();
  }
}

}  // namespace repository
