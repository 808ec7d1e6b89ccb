// Reading a whole file, whatever its path names.
//
// Tested by tests/file_test.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include "engines/treesitter/core/sha256.h"

namespace engines::treesitter {

// A file that could not be read. The text reads "[Errno 2] No such file or directory: 'a.py'".
class FileReadError : public std::system_error {
 public:
  FileReadError(int error_number, const std::filesystem::path& path, const char* description);

  const char* what() const noexcept override { return _text.c_str(); }
  const std::string& description() const noexcept { return _description; }
  const std::filesystem::path& path() const noexcept { return _path; }

 private:
  std::string _description;
  std::filesystem::path _path;
  std::string _text;
};

// A file as it was read. `bytes` holds all of it when it has at most `MAX_PARSED_BYTES`; of a
// larger one, which nobody parses, only the digest and the size are known.
struct FileContent {
  std::string bytes;
  std::string content_hash;
  std::uint64_t size;
};

// Reads the file once, in order, into memory: never by a mapping, which a file that is cut short
// meanwhile would turn into a signal. Directories, FIFOs, sockets and devices are refused without
// waiting for them. Throws FileReadError; std::bad_alloc.
FileContent read_file(const std::filesystem::path& path, Sha256& digest);

}  // namespace engines::treesitter
