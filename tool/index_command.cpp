// See commands.h.
#include <chrono>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>

#include "index/import.h"
#include "index/index_error.h"
#include "index/update.h"
#include "index/watch.h"
#include "tool/commands.h"
#include "tool/descriptors.h"
#include "tool/interrupts.h"
#include "tool/messages.h"
#include "tool/record_reader.h"
#include "tool/shards.h"
#include "tool/tags_file.h"

namespace tool {
namespace {

using repository::UpdateCounts;

// The counts as messages.h has them. summary() has the others.
Counts looked_at(const UpdateCounts& counts) {
  Counts shown;
  shown.files = counts.files();
  shown.binary = counts.binary;
  return shown;
}

std::string summary(const UpdateCounts& counts) {
  std::string line = std::to_string(counts.changed) + " changed, " +
                     std::to_string(counts.unchanged) + " unchanged, " +
                     std::to_string(counts.removed) + " removed";
  if (counts.failed > 0) line += ", " + std::to_string(counts.failed) + " failed";
  if (counts.large > 0) line += " (" + std::to_string(counts.large) + " too large)";
  return line;
}

repository::UpdateOptions options_of(const Arguments& arguments) {
  repository::UpdateOptions options;
  options.path = arguments.index_path;
  options.database = arguments.database;
  options.rules = arguments.index_rules;
  if (arguments.has_files) options.files = arguments.files;
  options.threads = arguments.jobs;
  return options;
}

repository::UpdateListener listener_of(Messages& messages) {
  return {.note = [&](const std::string& text) { messages.note(text); },
          .error = [&](const std::string& path,
                       const std::string& text) { messages.report(path, text); },
          .progress =
              [&](const UpdateCounts& counts, const auto& longest) {
                messages.show_progress(looked_at(counts), std::nullopt, longest);
              }};
}

std::size_t write_tags(const Arguments& arguments, Messages& messages) {
  if (!arguments.tags) return 0;
  return write_tags_file(*arguments.tags, arguments.index_path, arguments.database, messages);
}

UpdateCounts import_shards(const Arguments& arguments, const repository::UpdateListener& listener) {
  Shards shards(*arguments.from_shards);
  repository::UpdateOptions options = options_of(arguments);
  options.rules = shards.rules();
  const auto next = [&shards] {
    std::optional<repository::ImportedRecord> record;
    while (!record) {
      const auto line = shards.next();
      if (!line) break;
      try {
        record = read_record(*line);
      } catch (const std::exception& error) {
        throw repository::IndexError(shards.place() + " is no record: " + error.what());
      }
    }
    return record;
  };
  return arguments.catalogue
             ? repository::import_catalogue(options, *arguments.catalogue, listener, next)
             : repository::import_records(options, listener, next);
}

}  // namespace

int run_index(const Arguments& arguments) {
  Messages messages(arguments.is_verbose, Messages::Records::none);
  const auto listener = listener_of(messages);
  UpdateCounts counts = arguments.from_shards ? import_shards(arguments, listener)
                                              : repository::update(options_of(arguments), listener);
  counts.failed += write_tags(arguments, messages);
  messages.summarise(looked_at(counts), counts.left_out, summary(counts));
  return counts.failed > 0 ? EXIT_SOME_FAILED : EXIT_ALL_PARSED;
}

int run_watch(const Arguments& arguments) {
  const OwnedDescriptor stop(interrupts_as_descriptor());
  Messages messages(arguments.is_verbose, Messages::Records::none);
  const repository::WatchListener listener{
      .ready =
          [&](UpdateCounts counts, std::size_t watches) {
            counts.failed += write_tags(arguments, messages);
            messages.summarise(looked_at(counts), counts.left_out, summary(counts));
            messages.tell("watching " + std::to_string(watches) + " folders");
          },
      .batch =
          [&](const UpdateCounts& counts, std::chrono::milliseconds took) {
            if (counts.changed + counts.removed + counts.failed == 0) return;
            messages.tell(summary(counts) + ", " + std::to_string(took.count()) + " ms");
            write_tags(arguments, messages);
          }};
  repository::watch(options_of(arguments), listener_of(messages), listener, stop.number());
  return EXIT_ALL_PARSED;
}

}  // namespace tool
