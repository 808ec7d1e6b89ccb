// The output folder of a run over a cluster, read back: its records in their order.
//
//   plan.jsonl      line 1: how many items there are, and the engine's options
//   manifest.jsonl  line 1: the engine; each further one a shard, and which items it holds
//   shards/         lines of JSON as `parse` prints them, compressed by zstd
//
// Only a run that has come to its end is read, and only whole shards, whose frames have checksums.
//
// Cost: memory of the longest record and of zstd's window. zstd's door.
//
// Tested by tests/cluster/test_index.py.
#pragma once

#include <zstd.h>

#include <cstddef>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace tool {

class Shards {
 public:
  // Throws IndexError when the folder holds no run, one that is not at its end, or one by another
  // engine.
  explicit Shards(const std::string& folder);

  engines::treesitter::Rules rules() const { return _rules; }

  // The next record without its line feed, whose bytes are the caller's; none at the end. Throws
  // IndexError for a shard that is missing or damaged.
  std::optional<std::string> next();

  // Where the record was that next() gave last: the shard's path and the line, 1-based.
  std::string place() const;

 private:
  struct Shard {
    std::size_t first;  // item
    std::size_t count;
    std::size_t records;
    std::string name;
  };

  void read_plan();
  void read_manifest();
  void require_whole() const;
  void open();
  bool read_more();
  void close();
  [[noreturn]] void fail(const std::string& what) const;

  const std::string _folder;
  engines::treesitter::Rules _rules = engines::treesitter::Rules::standard;
  std::size_t _items = 0;
  std::vector<Shard> _shards;

  std::size_t _shard = 0;  // the one that is read
  std::size_t _line = 0;   // of it
  std::ifstream _file;
  std::unique_ptr<ZSTD_DStream, decltype(&ZSTD_freeDStream)> _stream{nullptr, ZSTD_freeDStream};
  std::string _compressed;
  ZSTD_inBuffer _input{};
  bool _is_frame_whole = false;
  std::string _text;  // from _begin on not yet given
  std::size_t _begin = 0;
  std::size_t _searched = 0;  // up to where there is no line feed
};

}  // namespace tool
