// See shards.h.
#include "tool/shards.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "index/index_error.h"

namespace tool {
namespace {

using engines::treesitter::Rules;
using nlohmann::json;
using repository::IndexError;

// The lines of a file. A last one without a line feed is left out: it was not written completely.
std::vector<std::string> lines_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw IndexError("cannot read '" + path + "': " + std::strerror(errno));
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line) && !file.eof();) lines.push_back(line);
  if (file.bad() || lines.empty()) throw IndexError("'" + path + "' is not of a cluster's run");
  return lines;
}

// What `get` reads from a line of JSON. A field that is missing or of another type is an error that
// names the file.
template <typename Get>
auto taken(const std::string& path, const std::string& line, Get get) {
  try {
    return get(json::parse(line));
  } catch (const json::exception& error) {
    throw IndexError("'" + path + "' is not of a cluster's run: " + error.what());
  }
}

Rules rules_of(const json& options) {
  const auto rules = std::find(options.begin(), options.end(), "--rules");
  const bool is_navigation =
      rules != options.end() && rules + 1 != options.end() && *(rules + 1) == "navigation";
  return is_navigation ? Rules::navigation : Rules::standard;
}

}  // namespace

Shards::Shards(const std::string& folder) : _folder(folder) {
  read_plan();
  read_manifest();
  require_whole();
  _compressed.resize(ZSTD_DStreamInSize());
  _stream.reset(ZSTD_createDStream());
  if (!_stream) throw std::bad_alloc();
}

void Shards::read_plan() {
  const std::string path = _folder + "/plan.jsonl";
  taken(path, lines_of(path).front(), [this](const json& head) {
    _items = head.at("items").get<std::size_t>();
    _rules = rules_of(head.at("command").at("options"));
    return 0;
  });
}

void Shards::read_manifest() {
  const std::string path = _folder + "/manifest.jsonl";
  const std::vector<std::string> lines = lines_of(path);
  const auto digest = taken(path, lines.front(), [](const json& head) {
    return head.at("engine").at("digest").get<std::string>();
  });
  if (digest != engines::treesitter::build_info().digest) {
    throw IndexError("the shards in '" + _folder + "' are by another engine, whose digest is " +
                     digest + "; only that one makes an index of them");
  }
  for (std::size_t number = 1; number < lines.size(); ++number) {
    add(taken(path, lines[number], [](const json& line) {
      return Shard{line.at("first").get<std::size_t>(), line.at("count").get<std::size_t>(),
                   line.at("records").get<std::size_t>(), line.at("shard").get<std::string>()};
    }));
  }
  _shard = _shards.begin();
}

// Replaces earlier shards that hold some of the same items: one that was lost is made again, and
// perhaps of other batches.
void Shards::add(Shard shard) {
  const std::size_t first = shard.first;
  const std::size_t end = first + shard.count;
  auto at = _shards.lower_bound(first);
  if (at != _shards.begin()) {
    const auto before = std::prev(at);
    if (before->first + before->second.count > first) at = before;
  }
  while (at != _shards.end() && at->first < end) at = _shards.erase(at);
  _shards.emplace(first, std::move(shard));
}

void Shards::require_whole() const {
  std::size_t items = 0;
  for (const auto& [first, shard] : _shards) items += shard.count;
  if (items == _items) return;
  throw IndexError("the run in '" + _folder + "' is not at its end, with " + std::to_string(items) +
                   " of " + std::to_string(_items) +
                   " items; the command that began it goes on with it");
}

void Shards::fail(const std::string& what) const {
  throw IndexError("the shard '" + _folder + "/shards/" + _shard->second.name + "' " + what);
}

std::string Shards::place() const {
  return "'" + _folder + "/shards/" + _shard->second.name + "', line " + std::to_string(_line);
}

void Shards::open() {
  _file.open(_folder + "/shards/" + _shard->second.name, std::ios::binary);
  if (!_file) fail(std::string("cannot be read: ") + std::strerror(errno));
  ZSTD_initDStream(_stream.get());
  _input = {_compressed.data(), 0, 0};
  _is_frame_whole = true;  // a shard without any frame is empty
  _line = 0;
}

// Decompresses more of the shard into _text. False at the shard's end.
bool Shards::read_more() {
  if (_input.pos == _input.size) {
    _file.read(_compressed.data(), static_cast<std::streamsize>(_compressed.size()));
    _input = {_compressed.data(), static_cast<std::size_t>(_file.gcount()), 0};
    if (_file.bad()) fail("cannot be read");
  }
  if (_input.size == 0 && _is_frame_whole) return false;
  _text.erase(0, std::exchange(_begin, 0));
  _searched = _text.size();
  _text.resize(_searched + ZSTD_DStreamOutSize());
  ZSTD_outBuffer output{_text.data(), _text.size(), _searched};
  const std::size_t left = ZSTD_decompressStream(_stream.get(), &output, &_input);
  if (ZSTD_isError(left) != 0) fail(std::string("is damaged: ") + ZSTD_getErrorName(left));
  if (_input.size == 0 && output.pos == _searched) fail("is cut off");
  _text.resize(output.pos);
  _is_frame_whole = left == 0;
  return true;
}

// Closes a shard that was read to its end, and goes on to the next one.
void Shards::close() {
  if (_begin != _text.size() || _line != _shard->second.records) {
    fail("is damaged: it has not the records that the manifest tells");
  }
  _file.close();
  ++_shard;
}

std::optional<std::string> Shards::next() {
  while (_shard != _shards.end()) {
    if (!_file.is_open()) open();
    const std::size_t end = _text.find('\n', std::max(_begin, _searched));
    if (end != std::string::npos) {
      ++_line;
      std::string line = _text.substr(_begin, end - _begin);
      _begin = _searched = end + 1;
      return line;
    }
    _searched = _text.size();
    if (!read_more()) close();
  }
  return std::nullopt;
}

}  // namespace tool
