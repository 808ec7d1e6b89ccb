// The text form of `check`. See check.h.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "tool/check.h"
#include "tool/escape.h"
#include "tool/output_buffer.h"

namespace tool {
namespace {

using engines::treesitter::Encoding;
using engines::treesitter::ParseReport;
using engines::treesitter::Rules;

constexpr std::size_t LABEL_WIDTH = 12;

template <typename... Values>
std::string formatted(const char* format, Values... values) {
  std::array<char, 96> text{};
  const int size = std::snprintf(text.data(), text.size(), format, values...);
  return {text.data(), static_cast<std::size_t>(size)};
}

std::string in_milliseconds(ParseReport::Duration time) {
  return formatted("%.3f ms", std::chrono::duration<double, std::milli>(time).count());
}

std::string share(double part, double whole) { return formatted(" (%.2f %%)", 100 * part / whole); }

// Writes a fact on each line: a label, and what it says.
class Lines {
 public:
  explicit Lines(OutputBuffer& out) : _out(out) {}

  void add(std::string_view label, std::string_view text) {
    _out.write(label);
    for (std::size_t i = label.size(); i < LABEL_WIDTH; ++i) _out.write(' ');
    write_escaped(_out, text);
    _out.write('\n');
  }

  void add(std::string_view label, const std::optional<ParseReport::Spent<std::uint64_t>>& spent,
           const char* unit) {
    if (!spent) return;
    add(label, std::to_string(spent->used) + " of " + std::to_string(spent->allowed) + unit +
                   share(static_cast<double>(spent->used), static_cast<double>(spent->allowed)));
  }

  template <typename Numbers>
  void add_numbers(std::string_view label, const Numbers& numbers) {
    std::size_t sum = 0;
    std::string kinds;
    for (const auto& [kind, number] : numbers) {
      sum += number;
      kinds += (kinds.empty() ? ": " : ", ") + std::to_string(number) + ' ' + std::string(kind);
    }
    add(label, std::to_string(sum) + kinds);
  }

 private:
  OutputBuffer& _out;
};

std::string_view encoding_text(Encoding encoding) {
  switch (encoding) {
    case Encoding::utf8:
      return "UTF-8";
    case Encoding::utf8_with_mark:
      return "UTF-8 with a byte order mark";
    case Encoding::utf16_little:
      return "UTF-16, little-endian";
    case Encoding::utf16_big:
      return "UTF-16, big-endian";
    case Encoding::binary:
      return "binary, with a NUL among the first 8 KiB";
    case Encoding::ill_formed:
      return "no well-formed UTF-8";
  }
  return "";
}

std::string language_fact(const Checked& checked) {
  if (checked.language.empty()) return "unknown: neither name nor suffix tells it";
  if (!checked.detected) return checked.language + ", as told";
  return checked.language + ", by the " +
         (checked.detected->is_by_file_name ? "name " : "suffix ") +
         std::string(checked.detected->by);
}

std::string encoding_fact(const ParseReport& report) {
  std::string text(encoding_text(*report.encoding));
  if (report.ill_formed_at) {
    text += ", ill-formed as UTF-8 at byte " + std::to_string(*report.ill_formed_at);
  }
  return text;
}

std::string error_fact(const ParseReport& report) {
  if (report.error_nodes + report.missing_nodes == 0) return "no errors";
  const auto bytes = static_cast<double>(std::max<std::uint64_t>(report.bytes, 1));
  return std::to_string(report.error_nodes) + " error nodes" +
         share(report.error_nodes, report.nodes) + " around " + std::to_string(report.error_bytes) +
         " bytes" + share(report.error_bytes, bytes) + ", " + std::to_string(report.missing_nodes) +
         " missing nodes, first in line " + std::to_string(report.first_error_line);
}

void add_tree(Lines& lines, const ParseReport& report) {
  if (report.nodes == 0) return;
  lines.add("nodes", std::to_string(report.nodes) + ", depth " + std::to_string(report.depth));
  lines.add("syntax", error_fact(report));
}

void add_costs(Lines& lines, const ParseReport& report) {
  lines.add("operations", report.operations, "");
  lines.add("memory", report.memory, " bytes");
  if (const auto& time = report.processor_time) {
    lines.add("processor", in_milliseconds(time->used) + " of " + in_milliseconds(time->allowed));
  }
  std::string steps;
  for (const auto& [step, time] : steps_of(report)) {
    if (!time) continue;
    steps += (steps.empty() ? "" : ", ") + std::string(step) + ' ' + in_milliseconds(*time);
  }
  if (!steps.empty()) lines.add("time", steps);
}

}  // namespace

void write_check_text(ByteSink& sink, const Checked& checked) {
  OutputBuffer out(sink);
  Lines lines(out);
  const ParseReport& report = checked.report;
  lines.add("file", checked.path);
  lines.add("language", language_fact(checked));
  lines.add("rules", checked.rules == Rules::navigation ? "navigation" : "standard");
  if (report.read) lines.add("bytes", std::to_string(report.bytes));
  if (report.encoding) lines.add("encoding", encoding_fact(report));
  if (!checked.content_hash.empty()) lines.add("sha256", checked.content_hash);
  add_tree(lines, report);
  add_costs(lines, report);
  if (report.symbols) lines.add_numbers("symbols", checked.symbols);
  if (report.references) lines.add_numbers("references", checked.references);
  for (const auto& error : checked.errors) lines.add("error", error);
  out.flush();
}

}  // namespace tool
