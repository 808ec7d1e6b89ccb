// See record_reader.h.
#include "tool/record_reader.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::ParseResult;
using engines::treesitter::ReferenceInfo;
using nlohmann::json;

std::string& text(json& record, const char* name) {
  return record.at(name).get_ref<std::string&>();
}

std::optional<std::string> optional_text(json& record, const char* name) {
  if (record.at(name).is_null()) return std::nullopt;
  return std::move(text(record, name));
}

Symbol symbol_of(json& record) {
  return Symbol({.id = {},
                 .file_id = record.at("file_id").get<std::int64_t>(),
                 .name = std::move(text(record, "name")),
                 .kind = text(record, "kind"),
                 .fqn = std::move(text(record, "fqn")),
                 .start_line = record.at("start_line").get<std::uint32_t>(),
                 .end_line = record.at("end_line").get<std::uint32_t>(),
                 .signature = optional_text(record, "signature"),
                 .is_export = record.at("is_export").get<bool>(),
                 .docstring = optional_text(record, "docstring"),
                 .body_digest = {}});  // no index keeps it
}

ReferenceInfo reference_of(json& record) {
  return {std::move(text(record, "name")), record.at("line").get<std::uint32_t>(),
          std::move(text(record, "kind"))};
}

// The bytes that hexadecimal digits stand for.
std::string bytes_of(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

ParseResult result_of(json& record) {
  ParseResult result;
  result.language = optional_text(record, "language").value_or("");
  result.content_hash = std::move(text(record, "content_hash"));
  for (json& symbol : record.at("symbols")) result.symbols.push_back(symbol_of(symbol));
  for (json& reference : record.at("references")) {
    result.references.push_back(reference_of(reference));
  }
  for (json& error : record.at("errors")) {
    result.errors.push_back(std::move(error.get_ref<std::string&>()));
  }
  return result;
}

}  // namespace

std::optional<repository::ImportedRecord> read_record(const std::string& line) {
  json record = json::parse(line);
  repository::ImportedRecord read;
  if (record.contains("raised")) {
    read.result.errors.push_back(std::move(text(record, "raised")));
  } else if (record.contains("errors")) {
    read.result = result_of(record);
  } else {
    return std::nullopt;
  }
  // The record's FQNs begin with this form of the path, which has U+FFFD for ill-formed bytes.
  read.result.path = std::move(text(record, "path"));
  const auto exact = record.find("path_bytes");
  read.path = exact == record.end() ? read.result.path : bytes_of(exact->get_ref<std::string&>());
  return read;
}

}  // namespace tool
