#include "fuzz/parse_fuzzing.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace engines::treesitter::fuzz {
namespace {

// A thread that runs one piece of work after the other. To start a thread for each would cost more
// than the parse, and the storage that a thread keeps between parses is under test too.
class SecondThread {
 public:
  SecondThread() : _thread([this] { serve(); }) {}
  SecondThread(const SecondThread&) = delete;
  SecondThread& operator=(const SecondThread&) = delete;
  ~SecondThread() {
    run({});
    _thread.join();
  }

  // Runs the work there and waits for its end. Empty work ends the thread.
  void run(std::function<void()> work) {
    std::unique_lock lock(_mutex);
    _work = std::move(work);
    _has_work = true;
    _changed.notify_all();
    _changed.wait(lock, [&] { return !_has_work; });
  }

 private:
  void serve() {
    for (bool is_last = false; !is_last;) {
      std::unique_lock lock(_mutex);
      _changed.wait(lock, [&] { return _has_work; });
      is_last = !_work;
      if (!is_last) _work();
      _has_work = false;
      _changed.notify_all();
    }
  }

  std::mutex _mutex;
  std::condition_variable _changed;
  std::function<void()> _work;
  bool _has_work = false;
  std::thread _thread;  // last, so that it starts when all else is there
};

}  // namespace

Answer checked_answer(const std::function<ParseResult()>& call, std::string_view content,
                      std::string_view prefix, Rules rules) {
  static SecondThread second_thread;
  const Answer answer = answer_of(call);
  check(answer, content, prefix, rules);
  Answer other;
  second_thread.run([&] { other = answer_of(call); });
  if (!is_timing(answer) && !is_timing(other)) {
    require(answer == other, "the same answer again, on any thread");
  }
  return answer;
}

}  // namespace engines::treesitter::fuzz
