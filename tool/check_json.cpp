// What `check` prints for programs. Every field is always there, null where the parse did not get.
#include <array>
#include <chrono>
#include <cstdio>

#include "tool/check.h"
#include "tool/json_string.h"
#include "tool/output_buffer.h"

namespace tool {
namespace {

using engines::treesitter::ParseReport;
using engines::treesitter::Rules;

// An object whose fields are written one after the other.
class Object {
 public:
  explicit Object(OutputBuffer& out) : _out(out) { _out.write('{'); }
  ~Object() { _out.write('}'); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  void name(std::string_view name) {
    if (!_is_first) _out.write(',');
    _is_first = false;
    write_json_string(_out, name);
    _out.write(':');
  }
  void add(std::string_view key, std::string_view text) {
    name(key);
    write_json_string(_out, text);
  }
  void add(std::string_view key, std::uint64_t number) {
    name(key);
    _out.write_number(number);
  }
  void add(std::string_view key, ParseReport::Duration time) {
    name(key);
    std::array<char, 32> text{};
    const double seconds = std::chrono::duration<double>(time).count();
    const int size = std::snprintf(text.data(), text.size(), "%.9f", seconds);
    _out.write({text.data(), static_cast<std::size_t>(size)});
  }
  template <typename Number>
  void add(std::string_view key, const ParseReport::Spent<Number>& spent) {
    name(key);
    Object object(_out);
    object.add("used", spent.used);
    object.add("allowed", spent.allowed);
  }
  template <typename Value>
  void add(std::string_view key, const std::optional<Value>& value) {
    if (value) {
      add(key, *value);
    } else {
      name(key);
      _out.write("null");
    }
  }
  template <typename Fields>
  void add_object(std::string_view key, const Fields& fields) {
    name(key);
    Object object(_out);
    for (const auto& [field, value] : fields) object.add(field, value);
  }

 private:
  OutputBuffer& _out;
  bool _is_first = true;
};

std::optional<std::string_view> none_if_empty(std::string_view text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

std::string_view detected_by(const Checked& checked) {
  if (!checked.detected) return checked.language.empty() ? "" : "told";
  return checked.detected->is_by_file_name ? "file_name" : "suffix";
}

void add_report(Object& object, const ParseReport& report) {
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
    Object object(out);
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
    object.name("errors");
    out.write('[');
    for (const auto& error : checked.errors) {
      if (&error != checked.errors.data()) out.write(',');
      write_json_string(out, error);
    }
    out.write(']');
  }
  out.write('\n');
  out.flush();
}

}  // namespace tool
