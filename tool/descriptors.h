// Reads and writes file descriptors as a whole, and makes the three standard ones safe.
//
// Tested by tests/tool_runs_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tool/byte_sink.h"

namespace tool {

// Opens those of the standard descriptors that are closed, in such a way that using them fails. The
// next file that is opened would otherwise become standard output, for example. Call it first.
void reserve_standard_descriptors();

// Closes the descriptor when it is destroyed.
class OwnedDescriptor {
 public:
  explicit OwnedDescriptor(int number) : _number(number) {}
  ~OwnedDescriptor();
  OwnedDescriptor(const OwnedDescriptor&) = delete;
  OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
  int number() const { return _number; }  // negative for none

 private:
  const int _number;
};

// The functions below wait for descriptors that are non-blocking, and go on after signals. Those
// that return a number return 0 or an errno.

// Reads what is there, at least a byte, and at most `room` bytes. `size` becomes 0 at the end.
int read_some(int descriptor, char* buffer, std::size_t room, std::size_t& size);

// Appends all bytes up to the end, or the first `at_most`.
int read_to_end(int descriptor, std::string& content, std::uint64_t at_most);

// Writes all bytes, also where the system takes fewer at a time.
int write_all(int descriptor, std::string_view text);

// Writes to standard output. When that fails, the rest of the run is of no use, so the process ends
// at once: quietly and with `status` when the reader has closed the pipe, else with a message and
// status 2.
void write_output(std::string_view text, int status);

// Standard output as a sink, by write_output.
class OutputSink : public ByteSink {
 public:
  explicit OutputSink(int status) : _status(status) {}
  void write(std::string_view bytes) override { write_output(bytes, _status); }

 private:
  const int _status;
};

// Closes standard output: some file systems report only now that there was no room. On failure the
// process ends as in write_output.
void close_output();

}  // namespace tool
