// The three standard descriptors: made safe at the start, read and written whole.
//
// Tested by tests/tool_runs_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// Whoever starts the tool may have closed some of them, and the next file opened would take their
// place: a source file would become standard output. A closed one is filled so that its use fails.
void reserve_standard_descriptors();

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

// Reads what there is, waiting for at least a byte; none at the end. Gives an errno, 0 when it was
// read.
int read_some(int descriptor, char* buffer, std::size_t room, std::size_t& size);

// Appends what the descriptor gives, to its end or until that are `at_most` bytes. Gives an errno,
// 0 when all was read.
int read_to_end(int descriptor, std::string& content, std::uint64_t at_most);

// Writes all of it, however often the system takes less. Gives an errno, 0 when all was written.
int write_all(int descriptor, std::string_view text);

// Writes to standard output. When that fails nothing more can be of use to anybody, so the process
// ends at once: quietly and with `status` when the reader has closed the pipe, else with a message
// and status 2.
void write_output(std::string_view text, int status);

// Closes standard output, which is when some file systems tell that there was no room. Ends the
// process as write_output does.
void close_output();

}  // namespace tool
