// Handles Ctrl-C and its like: the process ends by the signal, so that shells see that, but not in
// the middle of a record.
//
// While the main thread writes a record, the first signal takes effect at its end, also when
// writing has to wait for the reader of a pipe; a second one takes effect at once. At other times
// the first one does: running parses are not waited for.
//
// Tested by tests/tool_runs_test.py.
#pragma once

namespace tool {

// Handles SIGINT, SIGTERM and SIGHUP from now on, except those that the parent process has set to
// be ignored.
void catch_interrupts();

// For commands that run until they are ended: from now on these signals only make the returned
// descriptor readable, which the caller owns. Call it before other threads start. Throws
// std::system_error.
int interrupts_as_descriptor();

// Exists while the main thread writes a record.
class WholeRecord {
 public:
  WholeRecord();
  ~WholeRecord();
  WholeRecord(const WholeRecord&) = delete;
  WholeRecord& operator=(const WholeRecord&) = delete;
};

// Sets what is written to standard error when a signal ends the process, such as what wipes a line
// of progress; nullptr for nothing. The text must stay valid until the next call.
void set_last_words(const char* text);

}  // namespace tool
