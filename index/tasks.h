// The tasks of a run: each is an item for the engine, with the change that it stands for and with
// what the parsing threads make of it.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "engines/treesitter/treesitter.h"
#include "index/changes.h"
#include "index/journal.h"
#include "index/packed_file.h"

namespace repository {

struct Task {
  Change change;
  bool is_same = false;  // a written file has the same bytes as before
  PackedFile packed{};   // of a file that was parsed
};

class Tasks {
 public:
  // `root`: absolute. `max_size`: in bytes; larger files are refused unread. The references must
  // outlive this.
  Tasks(const std::string& root, Changes& changes, Journal& journal, std::uint64_t max_size);

  // For the threads of the run. The next item; none at the end.
  std::optional<engines::treesitter::ParseItem> next();
  // Hashes, parses and packs an item, as its change demands; `parse` does the parsing.
  void perform(engines::treesitter::ParsedItem& parsed, const std::function<void()>& parse);

  // Removes and gives the task of an outcome.
  std::shared_ptr<Task> take(const engines::treesitter::ParsedItem& parsed);

  // The root with a "/" behind it: with it the path of each item begins.
  const std::string& prefix() const { return _prefix; }

 private:
  std::shared_ptr<Task> find(std::int64_t number);

  const std::string _prefix;  // of paths that are opened: the root with a "/" behind it
  Changes& _changes;
  Journal& _journal;
  const std::uint64_t _max_size;
  std::mutex _mutex;
  std::int64_t _last = 0;
  std::unordered_map<std::int64_t, std::shared_ptr<Task>> _under_way;
};

}  // namespace repository
