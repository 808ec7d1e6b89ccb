// What travels through a run: items for the engine, each with the change that it stands for, and
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
  bool is_same = false;  // a written file holds what it held
  PackedFile packed{};   // of a parsed one
};

class Tasks {
 public:
  // `max_size`: of a file, in bytes; larger ones are refused unread.
  Tasks(std::string root, Changes& changes, Journal& journal, std::uint64_t max_size);

  // Called by the threads of the run: the source of its items, and what is done to each.
  std::optional<engines::treesitter::ParseItem> next();
  void perform(engines::treesitter::ParsedItem& parsed, const std::function<void()>& parse);

  // Of an outcome, which the run has given.
  std::shared_ptr<Task> take(const engines::treesitter::ParsedItem& parsed);

  const std::string& prefix() const { return _prefix; }

 private:
  std::shared_ptr<Task> find(std::int64_t number);

  const std::string _prefix;  // of paths that are opened: the root, "/"
  Changes& _changes;
  Journal& _journal;
  const std::uint64_t _max_size;
  std::mutex _mutex;
  std::int64_t _last = 0;
  std::unordered_map<std::int64_t, std::shared_ptr<Task>> _under_way;
};

}  // namespace repository
