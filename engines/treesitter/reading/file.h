// Reads a whole file, and refuses everything at a path that is no regular file.
//
// Tested by tests/file_test.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "engines/treesitter/cancellation/stop_check.h"
#include "engines/treesitter/memory/room.h"
#include "engines/treesitter/reading/sha256.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

// The content of a file. A file of more than MAX_PARSED_BYTES is not parsed: it has no `bytes`,
// only its digest and size.
struct FileContent {
  std::string bytes;
  std::string content_hash;  // empty when `bytes` holds the file
  std::uint64_t size;
};

class SourceFile {
 public:
  // Opens the file. Directories, FIFOs, sockets and devices are refused, without waiting. Throws
  // FileReadError. The path must outlive this.
  explicit SourceFile(const std::filesystem::path& path);
  SourceFile(const SourceFile&) = delete;
  SourceFile& operator=(const SourceFile&) = delete;
  ~SourceFile();

  // The size in bytes according to the file system, which may be wrong (file.cpp).
  std::uint64_t claimed_size() const { return _claimed; }

  // Reads the file from its beginning. It is not mapped into memory: if a mapped file is cut short,
  // the process gets a signal. The memory of the bytes is counted in `room`. Throws FileReadError,
  // OverRoom, Crowded, CancelledError, std::bad_alloc.
  FileContent read(Sha256& digest, RoomShare& room, StopCheck& stop) const;

 private:
  bool read_all(std::string& bytes, RoomShare& room, StopCheck& stop) const;
  std::size_t read_some(char* buffer, std::size_t capacity) const;
  [[noreturn]] void fail(int error_number) const;

  const std::filesystem::path& _path;
  int _descriptor;
  std::uint64_t _claimed = 0;
};

// How many bytes from the start of a file decide whether it is binary.
inline constexpr std::size_t JUDGED_BYTES = 8 * 1024;

// Whether there is a NUL among the first 8 KiB: git's test for binary files.
bool is_binary(std::string_view bytes);

}  // namespace engines::treesitter
