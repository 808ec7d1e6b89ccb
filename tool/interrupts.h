// What becomes of Ctrl-C and its like: the process ends by the signal, so that shells see it, but
// never in the middle of a record.
//
// While the main thread is within a record, the first signal waits for its end, also where that
// waits for a reader of a full pipe; a second one does not. At all other times there is nothing
// to be finished: parses that nobody will see are not waited for.
//
// Tested by tests/tool_runs_test.py.
#pragma once

namespace tool {

// For SIGINT, SIGTERM and SIGHUP, where whoever started the tool has not told it to ignore them.
void catch_interrupts();

// For what goes on until it is ended: from now on these signals do nothing but make the descriptor
// readable, which is given. To be called before there are other threads. Throws std::system_error.
int interrupts_as_descriptor();

// Lives while a record is being written.
class WholeRecord {
 public:
  WholeRecord();
  ~WholeRecord();
  WholeRecord(const WholeRecord&) = delete;
  WholeRecord& operator=(const WholeRecord&) = delete;
};

// What standard error gets when a signal ends the process, such as what wipes a line of progress;
// nullptr for nothing. The text must last.
void set_last_words(const char* text);

}  // namespace tool
