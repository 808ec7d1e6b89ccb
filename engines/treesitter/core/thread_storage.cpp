// See thread_storage.h. Threads and engines may end in either order, and at once.
//
// A thread's list of slots is freed by the destructor of a POSIX key. A thread_local object would
// be simpler, but when memory is short, the registration of its destructor ends the process and
// gives no error that could be handled.
#include "engines/treesitter/core/thread_storage.h"

#include <pthread.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace engines::treesitter {
namespace {

enum class SlotState : std::uint8_t {
  vacant,    // its thread has ended; a new thread may claim it
  occupied,  // a thread's storage is in it
  leaving,   // its thread is ending and frees the storage, or a new thread is making one
  orphaned,  // its engine has ended; it freed the storage unless the thread was leaving
};

std::uint64_t next_identity() {
  static std::atomic<std::uint64_t> last = 0;
  return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

// The storage that the thread found last. No engine has the identity 0.
struct LastFound {
  std::uint64_t identity;
  ThreadStorage* storage;
};
thread_local constinit LastFound last_found = {0, nullptr};

}  // namespace

struct ThreadLocal::Slot {
  std::atomic<SlotState> state = SlotState::occupied;
  std::atomic<int> holders = 2;  // the engine, and a thread
  Slot* next = nullptr;          // written before the slot is published
  std::optional<ThreadStorage> storage;

  // The last holder frees the slot.
  void release() {
    if (holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
};

// The slots of one thread, by engine. Destroyed at the end of the thread.
class ThreadSlots {
 public:
  ThreadSlots() = default;
  ThreadSlots(const ThreadSlots&) = delete;
  ThreadSlots& operator=(const ThreadSlots&) = delete;
  ~ThreadSlots() {
    last_found = {0, nullptr};
    for (const Entry& entry : _entries) leave(entry.slot);
  }

  ThreadStorage* find(std::uint64_t identity) const {
    const auto found = std::find_if(_entries.begin(), _entries.end(),
                                    [&](const Entry& entry) { return entry.identity == identity; });
    return found == _entries.end() ? nullptr : &*found->slot->storage;
  }

  // Makes room for one more slot, so that `add` cannot fail after a claim. Drops the slots of
  // engines that have ended, or a thread that outlives a million engines would keep a million
  // slots.
  void make_room() {
    std::erase_if(_entries, [](const Entry& entry) {
      if (entry.slot->state.load(std::memory_order_acquire) != SlotState::orphaned) return false;
      entry.slot->release();
      return true;
    });
    _entries.reserve(_entries.size() + 1);
  }

  void add(std::uint64_t identity, ThreadLocal::Slot* slot) {
    _entries.push_back({identity, slot});
  }

 private:
  struct Entry {
    std::uint64_t identity;
    ThreadLocal::Slot* slot;
  };

  static void leave(ThreadLocal::Slot* slot) {
    const SlotState before = slot->state.exchange(SlotState::leaving, std::memory_order_acq_rel);
    if (before == SlotState::occupied) slot->storage.reset();
    slot->state.store(SlotState::vacant, std::memory_order_release);
    slot->release();
  }

  std::vector<Entry> _entries;
};

namespace {

thread_local constinit ThreadSlots* thread_slots = nullptr;

// The POSIX key, made when the library is loaded. A process has 1,024 keys at most; without one,
// storages are freed when their engine ends.
class EndOfThread {
 public:
  EndOfThread() : _exists(::pthread_key_create(&_key, end) == 0) {}
  ~EndOfThread() {
    if (_exists) ::pthread_key_delete(_key);
  }
  EndOfThread(const EndOfThread&) = delete;
  EndOfThread& operator=(const EndOfThread&) = delete;

  // Makes the thread free `slots` at its end. False when there is no memory for that.
  bool arrange_for(ThreadSlots* slots) const {
    return !_exists || ::pthread_setspecific(_key, slots) == 0;
  }

 private:
  static void end(void* slots) {
    thread_slots = nullptr;
    delete static_cast<ThreadSlots*>(slots);
  }

  pthread_key_t _key{};
  const bool _exists;
};

const EndOfThread end_of_thread;

ThreadSlots& slots_of_thread() {
  if (thread_slots == nullptr) {
    auto slots = std::make_unique<ThreadSlots>();
    if (!end_of_thread.arrange_for(slots.get())) throw std::bad_alloc();
    thread_slots = slots.release();
  }
  return *thread_slots;
}

}  // namespace

ThreadLocal::ThreadLocal() : _identity(next_identity()) {}

ThreadLocal::~ThreadLocal() {
  for (Slot* slot = _slots.load(std::memory_order_acquire); slot != nullptr;) {
    Slot* const next = slot->next;
    const SlotState before = slot->state.exchange(SlotState::orphaned, std::memory_order_acq_rel);
    if (before == SlotState::occupied) slot->storage.reset();
    slot->release();
    slot = next;
  }
}

ThreadStorage& ThreadLocal::get() {
  if (last_found.identity == _identity) return *last_found.storage;
  return find_or_make();
}

ThreadStorage& ThreadLocal::find_or_make() {
  ThreadSlots& slots = slots_of_thread();
  ThreadStorage* storage = slots.find(_identity);
  if (storage == nullptr) {
    slots.make_room();
    Slot* const slot = claim();
    slots.add(_identity, slot);
    storage = &*slot->storage;
  }
  last_found = {_identity, storage};
  return *storage;
}

ThreadLocal::Slot* ThreadLocal::claim() {
  for (Slot* slot = _slots.load(std::memory_order_acquire); slot != nullptr; slot = slot->next) {
    SlotState vacant = SlotState::vacant;
    if (!slot->state.compare_exchange_strong(vacant, SlotState::leaving,
                                             std::memory_order_acquire)) {
      continue;
    }
    try {
      slot->storage.emplace();
    } catch (...) {
      slot->state.store(SlotState::vacant, std::memory_order_release);
      throw;
    }
    slot->holders.fetch_add(1, std::memory_order_relaxed);
    slot->state.store(SlotState::occupied, std::memory_order_release);
    return slot;
  }
  auto made = std::make_unique<Slot>();
  made->storage.emplace();
  Slot* const slot = made.release();
  slot->next = _slots.load(std::memory_order_relaxed);
  while (!_slots.compare_exchange_weak(slot->next, slot, std::memory_order_release,
                                       std::memory_order_relaxed)) {
  }
  return slot;
}

}  // namespace engines::treesitter
