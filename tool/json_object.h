// An object of JSON that is written field by field.
//
// Tested by tests/check_test.py, tests/questions_test.py and tests/tool_test.py.
#pragma once

#include <array>
#include <chrono>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

#include "engines/treesitter/treesitter.h"
#include "tool/json_output.h"
#include "tool/json_string.h"
#include "tool/output_buffer.h"

namespace tool {

// Begins the object when it is made and ends it when it is destroyed. An inner object must be
// destroyed before the outer one goes on. Keys must need no escapes: all are names in our sources.
class JsonObject {
 public:
  explicit JsonObject(OutputBuffer& out) : _out(out) { _out.write('{'); }
  ~JsonObject() { _out.write('}'); }
  JsonObject(const JsonObject&) = delete;
  JsonObject& operator=(const JsonObject&) = delete;

  void add(std::string_view key, std::string_view text) {
    begin(key);
    write_json_string(_out, text);
  }
  void add(std::string_view key, std::integral auto number) {
    begin(key);
    if constexpr (std::same_as<decltype(number), bool>) {
      _out.write(number ? "true" : "false");
    } else {
      _out.write_number(number);
    }
  }
  // In seconds.
  void add(std::string_view key, engines::treesitter::ParseReport::Duration time) {
    begin(key);
    std::array<char, 32> text{};
    const double seconds = std::chrono::duration<double>(time).count();
    const int size = std::snprintf(text.data(), text.size(), "%.9f", seconds);
    _out.write({text.data(), static_cast<std::size_t>(size)});
  }
  template <typename Number>
  void add(std::string_view key, const engines::treesitter::ParseReport::Spent<Number>& spent) {
    begin(key);
    JsonObject object(_out);
    object.add("used", spent.used);
    object.add("allowed", spent.allowed);
  }
  template <typename Value>
  void add(std::string_view key, const std::optional<Value>& value) {
    if (value) {
      add(key, *value);
    } else {
      begin(key);
      _out.write("null");
    }
  }
  // The field "path", and "path_bytes" where it is needed.
  void add_path(std::string_view path) {
    separate();
    write_json_path(_out, path);
  }
  // Calls `write` with the inner object.
  template <std::invocable<JsonObject&> Write>
  void add_object(std::string_view key, const Write& write) {
    begin(key);
    JsonObject object(_out);
    write(object);
  }
  // `fields`: pairs of a key and a value.
  template <typename Fields>
  void add_object(std::string_view key, const Fields& fields) {
    add_object(key, [&fields](JsonObject& object) {
      for (const auto& [field, value] : fields) object.add(field, value);
    });
  }
  // Calls `write` with each item; it must write one value.
  template <typename Items, typename Write>
  void add_list(std::string_view key, const Items& items, const Write& write) {
    begin(key);
    _out.write('[');
    bool is_first = true;
    for (const auto& item : items) {
      if (!is_first) _out.write(',');
      is_first = false;
      write(item);
    }
    _out.write(']');
  }
  // A list of texts.
  template <typename Texts>
  void add_list(std::string_view key, const Texts& texts) {
    add_list(key, texts, [this](std::string_view text) { write_json_string(_out, text); });
  }
  // A list of objects: calls `write` with each inner object and its item.
  template <typename Items, typename Write>
  void add_objects(std::string_view key, const Items& items, const Write& write) {
    add_list(key, items, [&](const auto& item) {
      JsonObject object(_out);
      write(object, item);
    });
  }

 private:
  void separate() {
    if (!_is_first) _out.write(',');
    _is_first = false;
  }
  void begin(std::string_view key) {
    separate();
    _out.write('"');
    _out.write(key);
    _out.write("\":");
  }

  OutputBuffer& _out;
  bool _is_first = true;
};

}  // namespace tool
