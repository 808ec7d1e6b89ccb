// Where output goes that is written in pieces, such as a string or a descriptor.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <string>
#include <string_view>

namespace tool {

class ByteSink {
 public:
  ByteSink() = default;
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;
  virtual ~ByteSink() = default;

  // `bytes`: a piece of any size, valid during the call.
  virtual void write(std::string_view bytes) = 0;
};

// Appends to a string, which must outlive it.
class StringSink final : public ByteSink {
 public:
  explicit StringSink(std::string& text) : _text(text) {}
  void write(std::string_view bytes) override { _text += bytes; }

 private:
  std::string& _text;
};

}  // namespace tool
