// Reads the records of a run over a cluster from its output folder, in their order.
//
//   plan.jsonl      line 1: how many items there are, and the engine's options
//   manifest.jsonl  line 1: the engine; each further one a shard, and which items it holds. A shard
//                   replaces those of earlier lines with the same items
//   shards/         lines of JSON as `parse` prints them, compressed by zstd
//
// Refuses a run that is not complete, and shards that are damaged: zstd's frames have checksums.
//
// Cost: memory of the longest record and of zstd's window.
//
// Tested by tests/cluster/test_index.py.
#pragma once

#include <zstd.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "engines/treesitter/treesitter.h"

namespace tool {

class Shards {
 public:
  // Throws repository::IndexError when the folder holds no run, an incomplete one, or one by
  // another version of the engine.
  explicit Shards(const std::string& folder);

  // The rules by which the records were made.
  engines::treesitter::Rules rules() const { return _rules; }

  // The next record, without its line feed; none at the end. Throws repository::IndexError when a
  // shard is missing or damaged.
  std::optional<std::string> next();

  // For messages, where the record that next() returned last stands: the shard's path in quotes,
  // and the 1-based line.
  std::string place() const;

 private:
  struct Shard {
    std::size_t first;    // item
    std::size_t count;    // items
    std::size_t records;  // lines
    std::string name;     // of its file
  };

  void read_plan();
  void read_manifest();
  void add(Shard shard);
  void require_whole() const;
  void open();
  bool read_more();
  void close();
  [[noreturn]] void fail(const std::string& what) const;

  const std::string _folder;
  engines::treesitter::Rules _rules = engines::treesitter::Rules::standard;
  std::size_t _items = 0;                // in the plan
  std::map<std::size_t, Shard> _shards;  // by their first items

  std::map<std::size_t, Shard>::const_iterator _shard;  // the one that is read
  std::size_t _line = 0;                                // the last line returned, 1-based
  std::ifstream _file;
  std::unique_ptr<ZSTD_DStream, decltype(&ZSTD_freeDStream)> _stream{nullptr, ZSTD_freeDStream};
  std::string _compressed;
  ZSTD_inBuffer _input{};
  bool _is_frame_whole = false;  // no frame of zstd is open
  std::string _text;             // decompressed
  std::size_t _begin = 0;        // of what is not yet returned, in _text
  std::size_t _searched = 0;     // no line feed stands from _begin up to here
};

}  // namespace tool
