// JsonObject: an object of JSON, written field by field on its way out.
//
// Tested by tests/check_test.py and tests/tool_test.py.
#pragma once

#include <array>
#include <chrono>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

#include "engines/treesitter/treesitter.h"
#include "tool/json_string.h"
#include "tool/output_buffer.h"

namespace tool {

// An object whose fields are written one after the other.
class JsonObject {
 public:
  explicit JsonObject(OutputBuffer& out) : _out(out) { _out.write('{'); }
  ~JsonObject() { _out.write('}'); }
  JsonObject(const JsonObject&) = delete;
  JsonObject& operator=(const JsonObject&) = delete;

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
  void add(std::string_view key, engines::treesitter::ParseReport::Duration time) {
    name(key);
    std::array<char, 32> text{};
    const double seconds = std::chrono::duration<double>(time).count();
    const int size = std::snprintf(text.data(), text.size(), "%.9f", seconds);
    _out.write({text.data(), static_cast<std::size_t>(size)});
  }
  template <typename Number>
  void add(std::string_view key, const engines::treesitter::ParseReport::Spent<Number>& spent) {
    name(key);
    JsonObject object(_out);
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
  // `write` is called with the inner object.
  template <std::invocable<JsonObject&> Write>
  void add_object(std::string_view key, const Write& write) {
    name(key);
    JsonObject object(_out);
    write(object);
  }
  // Of pairs.
  template <typename Fields>
  void add_object(std::string_view key, const Fields& fields) {
    add_object(key, [&fields](JsonObject& object) {
      for (const auto& [field, value] : fields) object.add(field, value);
    });
  }
  // Of texts.
  template <typename Texts>
  void add_list(std::string_view key, const Texts& texts) {
    name(key);
    _out.write('[');
    bool is_first = true;
    for (const std::string_view text : texts) {
      if (!is_first) _out.write(',');
      is_first = false;
      write_json_string(_out, text);
    }
    _out.write(']');
  }

 private:
  OutputBuffer& _out;
  bool _is_first = true;
};

}  // namespace tool
