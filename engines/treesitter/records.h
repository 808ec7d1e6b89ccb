// Values that callers store and match on: errors, the record of a file, an item to be parsed and
// its outcome. A part of treesitter.h, which includes it.
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

// Thrown for bytes that are read as UTF-8 and are not. The text names the byte, its offset and the
// fault.
class Utf8Error : public std::invalid_argument {
 public:
  // The ill-formed bytes of `object` are those from `start` up to, not including, `end`.
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
  // `description` is the reason in words; by default the system's text for `error_number`.
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

// Thrown when the symbols of one file would hold more text than 16 MiB and 192 bytes per byte of
// the file: a megabyte of nested keys has gigabytes of qualified names.
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

// The result of parsing a source file.
struct ParseResult {
  std::string path;          // as given; on POSIX any bytes
  std::string language;      // the name of the language as which the file was parsed
  std::string content_hash;  // SHA-256, 64 lower-case digits; empty when the file could not be read
  std::vector<models::Symbol> symbols;    // an enclosing symbol before those nested in it
  std::vector<ReferenceInfo> references;  // in document order
  std::vector<std::string> errors;        // in the order in which they were met

  bool operator==(const ParseResult&) const = default;
};

// ---- One file as a value ----

// A file to be parsed, or bytes that the caller has.
struct ParseItem {
  std::string path;          // any bytes; becomes the result's path, and the FQNs begin with it
  std::int64_t file_id = 0;  // copied into every symbol
  // The name of the language; by default the path's (languages::detect_language).
  std::optional<std::string> language = std::nullopt;
  // The bytes to parse; by default those of the file at `path`.
  std::optional<std::string> content = std::nullopt;
  // Whether `content` is text, as for parse_content. It must be UTF-8 then.
  bool is_text = false;
  // An item of more bytes is declined; a file before it is read.
  std::uint64_t max_size = UINT64_MAX;
  // Whether an item with a NUL among its first 8 KiB is declined. git takes such files for binary;
  // those in UTF-16 are among them.
  bool declines_binary = false;
  // Set by a source that could not read something, such as a folder. Nothing is parsed then: the
  // result has this one error text, and the language above if that is set.
  std::optional<std::string> failure = std::nullopt;
};

// The item names no language, and its path has none that is known.
struct NoLanguage {
  std::string error;  // "Failed to read file: ..." when nothing is at the path, else empty
};

// The item's own conditions (`max_size`, `declines_binary`) leave the file out.
struct Declined {
  enum class Reason : std::uint8_t { too_large, binary };
  Reason reason;
  std::uint64_t size;  // of the file or the content, in bytes
};

// The parse ended with an error that parse_file or parse_content would throw.
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
  std::string text;          // of the error
  std::string language;      // of the file; empty when the error came before it was known
  std::string content_hash;  // of the bytes; empty when they were not read to their end
  std::exception_ptr error;  // the error itself
};

using Outcome = std::variant<ParseResult, NoLanguage, Declined, Raised>;

// An item and its outcome.
struct ParsedItem {
  ParseItem item;  // as its source gave it, but without its content
  Outcome outcome;
  // ParseManyOptions::perform may set these for the thread that takes the item: a value, and its
  // size in bytes, which counts in memory_room().
  std::any extra = {};
  std::size_t extra_bytes = 0;
};

}  // namespace engines::treesitter
