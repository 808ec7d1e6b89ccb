// A run over many items: threads that take them from the source and parse them, and outcomes in
// their order.
//
// The threads take items one at a time, so a source that reads a folder reads it while its first
// files are being parsed. Each starts the next thread when it has an item, so that two files start
// two threads and not sixty-four.
//
// What is ahead of the outcome taken last is bounded by number and by memory, so that a slow first
// file does not let the rest of the run pile up. Nobody waits for himself: outcomes wait only while
// an earlier one is still being made, and its maker has its item already.
//
// Tested by tests/parse_many_test.cpp.
#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "engines/treesitter/core/outcome.h"
#include "engines/treesitter/memory/process_limits.h"
#include "engines/treesitter/memory/room.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// Enough that a file which takes as long as ten others leaves no thread without work.
constexpr std::size_t AHEAD_PER_THREAD = 16;

// Of memory_room(), what outcomes that nobody has taken may hold before no more items are begun;
// file_room() leaves it to them.
constexpr std::uint64_t WAITING_SHARE = 4;

// Signals are for the host's threads; a new thread inherits what is blocked.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &_before);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t _before;
};

// 0 where the thread that takes the outcomes makes them.
std::size_t most_threads(const ParseManyOptions& options) {
  if (options.in_caller) return 0;
  return std::min(options.threads > 0 ? options.threads : usable_processors(),
                  affordable_threads());
}

}  // namespace

class ParseMany::Run {
 public:
  Run(const TreeSitterEngine& engine, Source source, ParseManyOptions options)
      : _engine(engine),
        _options(std::move(options)),
        _most_threads(most_threads(_options)),
        _source(std::move(source)) {
    _cancellation.stop = _stop.get_token();
  }
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  std::optional<ParsedItem> next();
  bool wait_for(std::chrono::milliseconds at_most);
  std::optional<UnderWay> longest_under_way() const;

 private:
  // An item that was taken from the source; its outcome waits here until it is taken.
  struct Place {
    ParsedItem parsed;
    std::size_t bytes = 0;  // of the outcome
    std::chrono::steady_clock::time_point since = std::chrono::steady_clock::now();
    bool is_done = false;
  };

  void begin();
  void start_thread();
  bool work_once() noexcept;
  Place* claim();
  void perform(ParsedItem& parsed) const;
  void finish(Place& place);
  void end_source(std::exception_ptr failure) noexcept;
  bool has_room() const;
  bool is_next_ready() const;

  const TreeSitterEngine& _engine;
  const ParseManyOptions _options;
  const std::size_t _most_threads;
  std::stop_source _stop;
  Cancellation _cancellation;

  std::mutex _claiming;  // held while the source is called
  Source _source;

  mutable std::mutex _mutex;  // of all below
  // Each is told only of what it waits for: a needless waking costs a small file's parse a tenth.
  std::condition_variable _next_is_ready;  // for the thread that takes the outcomes
  std::condition_variable _may_claim;      // for the one thread that waits to call the source
  bool _awaits_claim = false;
  std::deque<Place> _places;  // the next to be taken in front; a thread works on its place without
                              // the lock, so places stay where they are
  std::size_t _waiting_bytes = 0;
  bool _has_begun = false;
  bool _has_ended = false;      // the source gives no more
  std::exception_ptr _failure;  // the source's, until next() throws it
  std::vector<std::thread> _threads;

  // Last, so that nobody is called back once the rest is going.
  std::optional<std::stop_callback<std::function<void()>>> _stopping;
};

// ---- The threads ----

void ParseMany::Run::begin() {
  {
    const std::scoped_lock lock(_mutex);
    if (std::exchange(_has_begun, true)) return;
  }
  _stopping.emplace(_options.stop, [this] {
    _stop.request_stop();
    end_source(nullptr);
  });
  start_thread();
}

// A system that gives no more threads slows the run down; if it gives none, next() does the work.
void ParseMany::Run::start_thread() {
  const std::scoped_lock lock(_mutex);
  if (_has_ended || _threads.size() >= _most_threads) return;
  const BlockedSignals blocked;
  try {
    _threads.reserve(_threads.size() + 1);
    _threads.emplace_back([this] {
      while (work_once()) {
      }
    });
  } catch (const std::exception&) {
  }
}

// False at the end of the source.
bool ParseMany::Run::work_once() noexcept {
  try {
    Place* const place = claim();
    if (place == nullptr) return false;
    perform(place->parsed);
    finish(*place);
    return true;
  } catch (...) {
    end_source(std::current_exception());
    return false;
  }
}

bool ParseMany::Run::has_room() const {
  return _places.size() < std::max<std::size_t>(_most_threads, 1) * AHEAD_PER_THREAD &&
         _waiting_bytes <= memory_room() / WAITING_SHARE;
}

ParseMany::Run::Place* ParseMany::Run::claim() {
  const std::scoped_lock claiming(_claiming);
  {
    std::unique_lock lock(_mutex);
    _awaits_claim = true;
    _may_claim.wait(lock, [this] { return _has_ended || has_room(); });
    _awaits_claim = false;
    if (_has_ended) return nullptr;
  }
  std::optional<ParseItem> item;
  std::exception_ptr failure;
  try {
    item = _source();
  } catch (...) {
    failure = std::current_exception();
  }
  if (!item) {
    // Before another thread may claim: a source that failed has nothing that can be trusted.
    end_source(std::move(failure));
    return nullptr;
  }
  Place* place = nullptr;
  bool wants_help = false;
  {
    const std::scoped_lock lock(_mutex);
    if (_has_ended) return nullptr;
    place = &_places.emplace_back(Place{{*std::move(item), NoLanguage{}}});
    wants_help = !_threads.empty();
  }
  if (wants_help) start_thread();
  return place;
}

void ParseMany::Run::perform(ParsedItem& parsed) const {
  const auto parse = [&] { parsed.outcome = _engine.parse(parsed.item, _cancellation); };
  try {
    if (_options.perform) {
      _options.perform(parsed, parse);
    } else {
      parse();
    }
  } catch (...) {
    parsed.outcome = raised_by(std::current_exception(), {});
  }
  parsed.item.content.reset();
}

void ParseMany::Run::finish(Place& place) {
  const std::size_t bytes = size_of(place.parsed.outcome) + place.parsed.extra_bytes;
  count_room(bytes);
  bool is_next = false;
  {
    const std::scoped_lock lock(_mutex);
    place.bytes = bytes;
    place.is_done = true;
    _waiting_bytes += bytes;
    is_next = &place == &_places.front();
  }
  if (is_next) _next_is_ready.notify_one();
}

void ParseMany::Run::end_source(std::exception_ptr failure) noexcept {
  {
    const std::scoped_lock lock(_mutex);
    _has_ended = true;
    if (!_failure) _failure = std::move(failure);
  }
  _next_is_ready.notify_one();
  _may_claim.notify_one();
}

// ---- The thread that takes the outcomes ----

bool ParseMany::Run::is_next_ready() const {
  return _places.empty() ? _has_ended : _places.front().is_done;
}

std::optional<ParsedItem> ParseMany::Run::next() {
  begin();
  std::unique_lock lock(_mutex);
  while (!is_next_ready() && _threads.empty()) {
    lock.unlock();
    work_once();
    lock.lock();
  }
  _next_is_ready.wait(lock, [this] { return is_next_ready(); });
  if (_places.empty()) {
    if (_failure) std::rethrow_exception(std::exchange(_failure, nullptr));
    return std::nullopt;
  }
  std::optional<ParsedItem> parsed(std::move(_places.front().parsed));
  const std::size_t bytes = _places.front().bytes;
  _places.pop_front();
  _waiting_bytes -= bytes;
  uncount_room(bytes);
  const bool may_claim = _awaits_claim && has_room();
  lock.unlock();
  if (may_claim) _may_claim.notify_one();
  return parsed;
}

bool ParseMany::Run::wait_for(std::chrono::milliseconds at_most) {
  begin();
  std::unique_lock lock(_mutex);
  return _next_is_ready.wait_for(lock, at_most,
                                 [this] { return is_next_ready() || _threads.empty(); });
}

std::optional<ParseMany::UnderWay> ParseMany::Run::longest_under_way() const {
  const std::scoped_lock lock(_mutex);
  // Items are begun in their order.
  const auto found = std::find_if(_places.begin(), _places.end(),
                                  [](const Place& place) { return !place.is_done; });
  if (found == _places.end()) return std::nullopt;
  return UnderWay{found->parsed.item.path, found->since};
}

ParseMany::Run::~Run() {
  _stopping.reset();
  _stop.request_stop();
  end_source(nullptr);
  // Nobody starts a thread any more.
  for (std::thread& thread : _threads) thread.join();
  uncount_room(_waiting_bytes);
}

// ---- The face of it ----

ParseMany::ParseMany(const TreeSitterEngine& engine, Source source, ParseManyOptions options)
    : _run(std::make_unique<Run>(engine, std::move(source), std::move(options))) {}

ParseMany::~ParseMany() = default;

std::optional<ParsedItem> ParseMany::next() { return _run->next(); }

bool ParseMany::wait_for(std::chrono::milliseconds at_most) { return _run->wait_for(at_most); }

std::optional<ParseMany::UnderWay> ParseMany::longest_under_way() const {
  return _run->longest_under_way();
}

ParseMany::Source files_at(std::vector<std::string> paths) {
  return [paths = std::move(paths), next = std::size_t{0}]() mutable -> std::optional<ParseItem> {
    if (next == paths.size()) return std::nullopt;
    return ParseItem{.path = paths[next++]};
  };
}

}  // namespace engines::treesitter
