// What a caller stores and matches on: errors, the record of a file, what is to be parsed and what
// became of it. Values, without operations of the engine; treesitter.h, the only header that a
// caller includes, includes this one.
//
// Tested by tests/engine_test.cpp and tests/parse_item_test.cpp.
#pragma once

#include <any>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

#include "models/symbol.h"

namespace engines::treesitter {

// ---- Errors ----

// Bytes that were to be read as UTF-8 and are not. The text names the byte, its place and the
// fault.
class Utf8Error : public std::invalid_argument {
 public:
  // `start` and `end`: the ill-formed range, in bytes of `object`.
  Utf8Error(std::string object, std::size_t start, std::size_t end, const std::string& reason);

  std::string object;  // the bytes that were read
  std::size_t start;
  std::size_t end;
  // "invalid start byte", "invalid continuation byte", "unexpected end of data"
  std::string reason;
};

// A file that could not be read. The text reads "[Errno 2] No such file or directory: 'a.py'".
class FileReadError : public std::system_error {
 public:
  // `description`: what went wrong, in words; by default the system's for `error_number`.
  FileReadError(int error_number, const std::filesystem::path& path);
  FileReadError(int error_number, const std::filesystem::path& path, std::string description);

  const char* what() const noexcept override { return _text.c_str(); }
  const std::string& description() const noexcept { return _description; }
  const std::filesystem::path& path() const noexcept { return _path; }

 private:
  std::string _description;
  std::filesystem::path _path;
  std::string _text;
};

// The record of one file would hold more text than 16 MiB and 192 bytes per byte of the file: a
// megabyte of nested keys implies gigabytes of qualified names.
class ResultLimitError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// ---- Records ----

// A reference to another symbol found during parsing.
struct ReferenceInfo {
  std::string name;
  std::uint32_t line;  // 1-based, of the referencing node's start
  std::string kind;    // "call", "import", "import_module" or "type"

  bool operator==(const ReferenceInfo&) const = default;
};

// Result of parsing a source file.
struct ParseResult {
  std::string path;          // as given; on POSIX any bytes
  std::string language;      // the name under which the file was parsed
  std::string content_hash;  // SHA-256, 64 lower-case digits; empty when the file could not be read
  std::vector<models::Symbol> symbols;    // an enclosing symbol before those nested in it
  std::vector<ReferenceInfo> references;  // in document order
  std::vector<std::string> errors;        // in the order in which they arose

  bool operator==(const ParseResult&) const = default;
};

// ---- One file as a value ----

// What is to be parsed: a file, or bytes that the caller has.
struct ParseItem {
  std::string path;          // any bytes; becomes the result's path, and names the symbols
  std::int64_t file_id = 0;  // copied into every symbol
  // The name of the language; by default the one that the path tells.
  std::optional<std::string> language = std::nullopt;
  // The bytes to parse; by default those of the file at `path`.
  std::optional<std::string> content = std::nullopt;
  // Whether `content` is text, as parse_content takes it: then it must be UTF-8.
  bool is_text = false;
  // More bytes are declined; those of a file before any of them is read.
  std::uint64_t max_size = UINT64_MAX;
  // Whether bytes with a NUL among the first 8 KiB are declined, by which git tells what is binary;
  // UTF-16 has NULs too.
  bool declines_binary = false;
  // What its source failed to read, such as a folder: the one error text of the result, whose
  // language is the one named here, if any. Nothing is parsed then.
  std::optional<std::string> failure = std::nullopt;
};

// The path tells no language, and the item named none.
struct NoLanguage {
  std::string error;  // "Failed to read file: ..." when nothing is at the path, else empty
};

// The item's own conditions left the file out.
struct Declined {
  enum class Reason : std::uint8_t { too_large, binary };
  Reason reason;
  std::uint64_t size;  // of the file or the content, in bytes
};

// The parse ended with an error that parse_file or parse_content would have thrown.
struct Raised {
  enum class Kind : std::uint8_t {
    not_utf8,       // Utf8Error
    invalid_path,   // std::invalid_argument: no last component
    result_limit,   // ResultLimitError
    out_of_memory,  // std::bad_alloc
    cancelled,      // CancelledError
    other,
  };
  Kind kind;
  std::string text;          // the error's own
  std::string language;      // of the file; empty when the error came before it was known
  std::string content_hash;  // of the bytes; empty when they were not read to their end
  std::exception_ptr error;  // the error itself
};

using Outcome = std::variant<ParseResult, NoLanguage, Declined, Raised>;

// One item with what became of it.
struct ParsedItem {
  ParseItem item;  // as its source gave it, without its content
  Outcome outcome;
  // What ParseManyOptions::perform left for whoever takes the item, and its size in bytes.
  std::any extra = {};
  std::size_t extra_bytes = 0;
};

}  // namespace engines::treesitter
