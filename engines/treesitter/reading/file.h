// Reading a whole file, whatever its path names.
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

// A file as it was read. `bytes` holds all of it when it has at most `MAX_PARSED_BYTES`; of a
// larger one, which nobody parses, only the digest and the size are known.
struct FileContent {
  std::string bytes;
  std::string content_hash;  // only of a file whose bytes were not kept
  std::uint64_t size;
};

class SourceFile {
 public:
  // Opens the file. Directories, FIFOs, sockets and devices are refused without waiting for them.
  // Throws FileReadError. The path must outlive this.
  explicit SourceFile(const std::filesystem::path& path);
  SourceFile(const SourceFile&) = delete;
  SourceFile& operator=(const SourceFile&) = delete;
  ~SourceFile();

  // The bytes that it claims to have; where reading ends tells how many they are.
  std::uint64_t claimed_size() const { return _claimed; }

  // Reads it from its beginning, in order, into memory: never by a mapping, which a file that is
  // cut short meanwhile would turn into a signal. What it keeps is counted in `room`. Throws
  // FileReadError, OverRoom, Crowded, CancelledError; std::bad_alloc.
  FileContent read(Sha256& digest, RoomShare& room, StopCheck& stop) const;

 private:
  bool read_all(std::string& bytes, RoomShare& room, StopCheck& stop) const;
  std::size_t read_some(char* buffer, std::size_t capacity) const;
  [[noreturn]] void fail(int error_number) const;

  const std::filesystem::path& _path;
  int _descriptor;
  std::uint64_t _claimed = 0;
};

// Whether there is a NUL among the first 8 KiB, by which git tells what is binary.
bool is_binary(std::string_view bytes);

}  // namespace engines::treesitter
