// See watch.h.
#include "index/watch.h"

#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stop_token>
#include <utility>

#include "index/index_error.h"
#include "index/place.h"
#include "index/system_calls.h"
#include "index/watcher.h"

namespace repository {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Changes are gathered until none has come for QUIET, and for LONGEST at most.
constexpr milliseconds QUIET{15};
constexpr milliseconds LONGEST{100};
// Between two attempts to lock an index that another process writes.
constexpr milliseconds LOCKED{100};

class Watching {
 public:
  Watching(const UpdateOptions& options, UpdateListener listener,
           const WatchListener& watch_listener, int stop)
      : _listener(watch_listener),
        _stop(stop),
        _updater(options, with_stop(std::move(listener))),
        _watcher(_updater.place().root) {}

  void operator()();

 private:
  enum class Event : std::uint8_t { none, change, end };

  UpdateListener with_stop(UpdateListener listener);
  UpdateCounts run();
  void run_batch();
  bool gather();
  Event wait(milliseconds at_most) const;
  void require_index() const;

  const WatchListener& _listener;
  const int _stop;
  std::stop_source _stopping;
  Updater _updater;
  Watcher _watcher;
};

// Looks at the descriptor `stop` whenever a run reports its progress.
UpdateListener Watching::with_stop(UpdateListener listener) {
  listener.progress = [this, progress = std::move(listener.progress)](const auto& counts,
                                                                      const auto& longest) {
    pollfd asked{_stop, POLLIN, 0};
    if (::poll(&asked, 1, 0) > 0) _stopping.request_stop();
    progress(counts, longest);
  };
  return listener;
}

Watching::Event Watching::wait(milliseconds at_most) const {
  std::array<pollfd, 2> asked{{{_stop, POLLIN, 0}, {_watcher.descriptor(), POLLIN, 0}}};
  const int count = ::poll(asked.data(), asked.size(), static_cast<int>(at_most.count()));
  if (count < 0 && errno != EINTR) throw_system_error("watch", _updater.place().root);
  if (count <= 0) return Event::none;
  return asked[0].revents != 0 ? Event::end : Event::change;
}

// Waits for a change, then until no further ones come. False when watching is to end. Events that
// are no change, such as those of files without a language, do not prolong the waiting.
bool Watching::gather() {
  auto now = steady_clock::now();
  auto last = now;
  auto quiet = now;
  for (std::size_t known = 0; known == 0 || now < std::min(quiet, last);
       now = steady_clock::now()) {
    const auto left = std::chrono::ceil<milliseconds>(std::min(quiet, last) - now);
    const Event event = _watcher.changes() == 0 ? wait(milliseconds(-1)) : wait(left);
    if (event == Event::end) return false;
    if (event == Event::change) _watcher.read();
    if (_watcher.changes() == known) continue;
    quiet = steady_clock::now() + QUIET;
    if (known == 0) last = steady_clock::now() + LONGEST;
    known = _watcher.changes();
  }
  return true;
}

UpdateCounts Watching::run() {
  const UpdateScope scope{
      .select = [this](const FileRules& rules,
                       bool is_complete) { return _watcher.take(rules.walk, is_complete); },
      .entering = [this](const std::string& path, int folder) { _watcher.enter(path, folder); },
      .stop = _stopping.get_token()};
  const UpdateCounts counts = _updater(scope);
  if (!_stopping.stop_requested()) _watcher.end_walk();
  return counts;
}

// Throws when the root or the index is gone: a batch would make a new index where somebody has
// removed the old one.
void Watching::require_index() const {
  struct stat status {};
  const Place& place = _updater.place();
  if (::stat(place.root.c_str(), &status) != 0) throw_system_error("find", place.root);
  if (::stat(place.database.c_str(), &status) != 0) throw_system_error("find", place.database);
}

void Watching::run_batch() {
  const auto start = steady_clock::now();
  for (;;) {
    require_index();
    try {
      const UpdateCounts counts = run();
      if (_stopping.stop_requested()) return;
      _listener.batch(counts,
                      std::chrono::duration_cast<milliseconds>(steady_clock::now() - start));
      return;
    } catch (const LockedError&) {
      const Event event = wait(LOCKED);
      if (event == Event::end) _stopping.request_stop();
      if (_stopping.stop_requested()) return;
      if (event == Event::change) _watcher.read();
    }
  }
}

void Watching::operator()() {
  const UpdateCounts counts = run();
  if (_stopping.stop_requested()) return;
  _listener.ready(counts, _watcher.watches());
  while (!_stopping.stop_requested() && gather()) run_batch();
}

}  // namespace

void watch(const UpdateOptions& options, const UpdateListener& listener,
           const WatchListener& watch_listener, int stop) {
  Watching(options, listener, watch_listener, stop)();
}

}  // namespace repository
