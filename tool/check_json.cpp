// The JSON form of `check`. See check.h.
#include "tool/check.h"
#include "tool/json_object.h"
#include "tool/output_buffer.h"

namespace tool {
namespace {

using engines::treesitter::Encoding;
using engines::treesitter::ParseReport;
using engines::treesitter::Rules;

std::string_view encoding_word(Encoding encoding) {
  switch (encoding) {
    case Encoding::utf8:
      return "utf8";
    case Encoding::utf8_with_mark:
      return "utf8_with_mark";
    case Encoding::utf16_little:
      return "utf16_little";
    case Encoding::utf16_big:
      return "utf16_big";
    case Encoding::binary:
      return "binary";
    case Encoding::ill_formed:
      return "ill_formed";
  }
  return "";
}

std::optional<std::string_view> none_if_empty(std::string_view text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

std::string_view detected_by(const Checked& checked) {
  if (!checked.detected) return checked.language.empty() ? "" : "told";
  return checked.detected->is_by_file_name ? "file_name" : "suffix";
}

void add_report(JsonObject& object, const ParseReport& report) {
  object.add("bytes", report.read ? std::optional(report.bytes) : std::nullopt);
  object.add("encoding",
             report.encoding ? std::optional(encoding_word(*report.encoding)) : std::nullopt);
  object.add("ill_formed_at", report.ill_formed_at);
  object.add("nodes", report.nodes);
  object.add("depth", report.depth);
  object.add("error_nodes", report.error_nodes);
  object.add("error_bytes", report.error_bytes);
  object.add("missing_nodes", report.missing_nodes);
  object.add("first_error_line", report.first_error_line);
  object.add("operations", report.operations);
  object.add("memory_bytes", report.memory);
  object.add("processor_seconds", report.processor_time);
  object.add_object("seconds", steps_of(report));
}

}  // namespace

void write_check_json(ByteSink& sink, const Checked& checked) {
  OutputBuffer out(sink);
  {
    JsonObject object(out);
    object.add("path", checked.path);
    object.add("language", none_if_empty(checked.language));
    object.add("detected_by", none_if_empty(detected_by(checked)));
    object.add("detected_text",
               checked.detected ? std::optional(checked.detected->by) : std::nullopt);
    object.add("rules", checked.rules == Rules::navigation ? "navigation" : "standard");
    add_report(object, checked.report);
    object.add("content_hash", none_if_empty(checked.content_hash));
    object.add_object("symbols", checked.symbols);
    object.add_object("references", checked.references);
    object.add_list("errors", checked.errors);
  }
  out.write('\n');
  out.flush();
}

}  // namespace tool
