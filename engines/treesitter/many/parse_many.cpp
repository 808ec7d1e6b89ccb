// A run over many items: threads take items from the source and parse them; the outcomes are given
// in the order of the items.
//
// The threads take items one at a time, so a source may read a folder while its first files are
// being parsed. A thread that has taken an item starts the next thread, so that two files start two
// threads and not sixty-four.
//
// The items ahead of the outcome taken last are limited by number and by memory, so that outcomes
// do not pile up behind a slow file. This cannot deadlock: outcomes wait only for an earlier one,
// and the thread that makes that one has its item already.
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

// Enough that the threads have work while one file takes as long as ten others.
constexpr std::size_t AHEAD_PER_THREAD = 16;

// Blocks all signals while it exists. A thread started meanwhile inherits that, so that the host's
// own threads get the signals.
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

// 0 if the thread that takes the outcomes parses.
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
  // An item taken from the source, and its outcome until that is taken.
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

  mutable std::mutex _mutex;  // protects all below
  // Two variables, so that no thread is woken needlessly: that costs a tenth of a small file's
  // parse.
  std::condition_variable _next_is_ready;  // for the thread that takes the outcomes
  std::condition_variable _may_claim;      // for the thread that waits to call the source
  bool _awaits_claim = false;              // whether a thread waits for that
  std::deque<Place> _places;  // in the order of the items. A thread works on its place without the
                              // lock, so places must not move
  std::size_t _waiting_bytes = 0;
  bool _has_begun = false;
  bool _has_ended = false;      // no more items are taken from the source
  std::exception_ptr _failure;  // of the source, until next() throws it
  std::vector<std::thread> _threads;

  // Last, so that it is destroyed first: it must not be called when the rest is gone.
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

// If the system starts no more threads, the run goes on with fewer; with none, next() does the
// work.
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

// Takes an item and parses it. False at the end of the source.
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
         _waiting_bytes <= memory_room() / 8 * WAITING_EIGHTHS;
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
    // Before another thread can claim: a source that threw must not be called again.
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
  // Items are begun in their order, so the first that is not done was begun first.
  const auto found = std::find_if(_places.begin(), _places.end(),
                                  [](const Place& place) { return !place.is_done; });
  if (found == _places.end()) return std::nullopt;
  return UnderWay{found->parsed.item.path, found->since};
}

ParseMany::Run::~Run() {
  _stopping.reset();
  _stop.request_stop();
  end_source(nullptr);
  // No thread is started any more.
  for (std::thread& thread : _threads) thread.join();
  uncount_room(_waiting_bytes);
}

// ---- ParseMany ----

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
