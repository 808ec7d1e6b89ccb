// See index_command.h.
#include "tool/index_command.h"

#include "index/update.h"
#include "tool/escape.h"
#include "tool/messages.h"

namespace tool {
namespace {

using repository::UpdateCounts;

// As the line of progress counts.
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
  return line;
}

}  // namespace

int run_index(const Arguments& arguments) {
  Messages messages(arguments.is_verbose, Messages::Records::none);
  repository::UpdateOptions options;
  options.path = arguments.index_path;
  options.database = arguments.database;
  options.rules = arguments.index_rules;
  options.threads = arguments.jobs;
  repository::UpdateListener listener;
  listener.note = [&](const std::string& text) { messages.note(text); };
  listener.error = [&](const std::string& path, const std::string& text) {
    messages.report(path, text);
  };
  listener.progress = [&](const UpdateCounts& counts, const auto& longest) {
    messages.show_progress(looked_at(counts), std::nullopt, longest);
  };
  const UpdateCounts counts = repository::update(options, listener);
  messages.summarise(looked_at(counts), counts.left_out, summary(counts));
  return counts.failed > 0 ? EXIT_SOME_FAILED : EXIT_ALL_PARSED;
}

}  // namespace tool
