// See pending.h.
#include "index/pending.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include "index/changes.h"
#include "index/file_hash.h"
#include "index/file_rules.h"
#include "index/index_error.h"
#include "index/place.h"
#include "index/system_calls.h"

namespace repository {
namespace {

// A file is binary when these first bytes have a NUL; ParseItem::declines_binary goes by the same.
constexpr std::size_t BINARY_HEAD = 8192;

bool is_binary(const std::string& path) {
  const int file = open_file(path);
  if (file < 0) return false;
  std::array<char, BINARY_HEAD> head;
  const ssize_t size = ::pread(file, head.data(), head.size(), 0);
  ::close(file);
  const char* const begin = head.data();
  const char* const end = begin + std::max<ssize_t>(0, size);
  return std::find(begin, end, '\0') != end;
}

// None for a file whose bytes are as they were, and for a binary one.
std::optional<PendingChange> pending(const std::string& prefix, const Change& change,
                                     const Poll& poll) {
  const FileRow& row = change.row;
  switch (change.kind) {
    case Change::Kind::fault:
      return PendingChange{Pending::unreadable, row.path, change.fault};
    case Change::Kind::removed:
      if (row.is_binary) return std::nullopt;
      return PendingChange{Pending::removed, row.path};
    case Change::Kind::written:
      break;
  }
  const std::string path = prefix + row.path;
  const bool is_known = row.id != 0 && !row.is_binary;
  if (!is_known && is_binary(path)) return std::nullopt;
  if (is_known && !row.hash.empty() && file_hash(path, poll) == row.hash) return std::nullopt;
  return PendingChange{is_known ? Pending::changed : Pending::added, row.path};
}

}  // namespace

void for_each_pending(const std::string& root, SQLite::Database connection, const Poll& poll,
                      const std::function<void(const PendingChange&)>& take) {
  const std::string prefix = with_slash(root);
  // Nothing is stored here. So no file is too young for its times to be trusted.
  const FileRules rules = read_file_rules(connection);
  Changes changes({.root = root, .options = rules.walk}, std::move(connection),
                  std::numeric_limits<std::int64_t>::max());
  while (const auto change = changes.next()) {
    const auto found = pending(prefix, *change, poll);
    if (poll && poll()) throw IndexError("the question was ended before its answer was there");
    if (found) take(*found);
  }
}

}  // namespace repository
