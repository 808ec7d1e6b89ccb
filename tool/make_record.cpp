// See make_record.h.
#include "tool/make_record.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "tool/descriptors.h"

namespace tool {
namespace {

using engines::treesitter::FileReadError;
using engines::treesitter::ParseResult;
using engines::treesitter::TreeSitterEngine;
using Outcome = decltype(Record::outcome);

// Standard input and a file of a forced language, as the engine would say it of a file.
Unreadable unreadable(const std::string& language, const FileReadError& error) {
  return {language, std::string("Failed to read file: ") + error.what()};
}

Outcome parse_standard_input(const TreeSitterEngine& engine, const std::string& path,
                             const std::string& language) {
  std::string content;
  if (const int error = read_standard_input(content); error != 0) {
    return unreadable(language, FileReadError(error, path));
  }
  return engine.parse_content(content, language, path);
}

Outcome parse_detected(const TreeSitterEngine& engine, const std::string& path) {
  if (auto result = engine.parse_file(path)) return *std::move(result);
  // A misspelt folder has no known suffix either: what does not exist is an error and no unknown
  // language.
  std::error_code error;
  (void)std::filesystem::status(path, error);
  if (!error) return UnknownLanguage{};
  const FileReadError fault(error.value(), path);
  return Unreadable{std::nullopt, std::string("Failed to read file: ") + fault.what()};
}

Outcome outcome_of(const TreeSitterEngine& engine, const Job& job,
                   const std::optional<std::string>& language) {
  if (job.error) return Unreadable{std::nullopt, *job.error};
  if (job.origin == Origin::standard_input) {
    return parse_standard_input(engine, job.path, language.value());
  }
  if (job.origin == Origin::named && language) return engine.parse_file(job.path, *language);
  return parse_detected(engine, job.path);
}

}  // namespace

Record make_record(const TreeSitterEngine& engine, Job job,
                   const std::optional<std::string>& language) {
  Outcome outcome = UnknownLanguage{};
  try {
    outcome = outcome_of(engine, job, language);
  } catch (const std::exception& error) {
    outcome = Raised{error.what()};
  }
  return {std::move(job.path), std::move(outcome)};
}

}  // namespace tool
