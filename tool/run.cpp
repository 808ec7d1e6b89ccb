// See run.h. The threads take jobs one at a time, so a folder is walked while its first files are
// being parsed.
#include "tool/run.h"

#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "tool/job_source.h"
#include "tool/json_output.h"
#include "tool/make_record.h"
#include "tool/ordered_output.h"
#include "tool/record.h"
#include "tool/text_output.h"

namespace tool {
namespace {

using engines::treesitter::ParsedItem;
using engines::treesitter::Raised;

Output formatted(const ParsedItem& record, Format format) {
  Output output{record.item.path, {}, error_texts(record)};
  StringSink sink(output.text);
  if (format == Format::json) {
    write_json(sink, record);
  } else {
    write_text(sink, record);
  }
  return output;
}

class Run {
 public:
  explicit Run(const Arguments& arguments) : _arguments(arguments), _source(arguments) {}

  int operator()();

 private:
  struct Claim {
    std::size_t number;
    Job job;
  };

  void work() noexcept;
  std::optional<Claim> claim();
  Output output_of(Job job) const;

  const Arguments& _arguments;
  const engines::treesitter::TreeSitterEngine _engine;
  OrderedOutput _output;

  std::mutex _claiming;  // guards the three below
  JobSource _source;
  std::size_t _claimed = 0;
  std::exception_ptr _failure;  // the first one; ends the run
};

// The next job; none when there is no more to do.
std::optional<Run::Claim> Run::claim() {
  const std::scoped_lock lock(_claiming);
  if (_failure || !_output.wait_for_room(_claimed)) return std::nullopt;
  auto job = _source.next();
  if (!job) return std::nullopt;
  return Claim{_claimed++, *std::move(job)};
}

// The record of a file may be too large for the memory that is left, in either form; then that is
// the file's outcome, and the run goes on.
Output Run::output_of(Job job) const {
  const std::string path = job.path;
  try {
    return formatted(make_record(_engine, std::move(job), _arguments.language), _arguments.format);
  } catch (const std::bad_alloc& error) {
    const Raised raised{Raised::Kind::out_of_memory, error.what(), "", "", nullptr};
    return formatted({{.path = path}, raised}, _arguments.format);
  }
}

void Run::work() noexcept {
  try {
    while (auto claimed = claim()) {
      _output.put(claimed->number, output_of(std::move(claimed->job)));
    }
  } catch (...) {
    {
      const std::scoped_lock lock(_claiming);
      if (!_failure) _failure = std::current_exception();
    }
    _output.stop();
  }
}

int Run::operator()() {
  std::vector<std::thread> threads;
  try {
    for (unsigned i = 1; i < _arguments.jobs; ++i) threads.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    // The system gives no more threads; the ones that there are do the work.
  }
  work();
  for (auto& thread : threads) thread.join();
  if (_failure) std::rethrow_exception(_failure);
  return _output.status();
}

}  // namespace

int run(const Arguments& arguments) { return Run(arguments)(); }

}  // namespace tool
