// A parse runs in an arena, with the library's own parser in it. It is made anew for each parse, at
// the cost of a dozen allocations, so that nothing of a parse that a guard ended can live on.
//
// The guards throw through the library's C frames, which hold nothing that needs unwinding; core and
// grammars are compiled with -fexceptions.
#include "engines/treesitter/core/parser.h"

#include <tree_sitter/api.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <new>
#include <string>

namespace engines::treesitter {
namespace {

// ---- Calibration ----
//
// The library asks for permission once per 100 of its operations. Of 12,042 real files none needs
// more than 25 such steps per KiB, dense legitimate text 31 to 51; hostile text takes 2,500 and more.
constexpr std::uint64_t STEPS_FLOOR = 4096;
constexpr std::uint64_t STEPS_PER_KIB = 256;

// Nested brackets take 620 bytes per byte, the most of all legitimate text; code takes 15 to 40.
constexpr std::uint64_t MEMORY_FLOOR = 32 << 20;
constexpr std::uint64_t MEMORY_PER_BYTE = 704;

// For operations that are slow themselves, such as a token that is read to the end of the file and
// given up, again and again. The slowest legitimate text takes 0.3 seconds per MiB.
constexpr double SECONDS_FLOOR = 4;
constexpr double SECONDS_PER_MIB = 4;

enum class Guard { operations, time, assertion };

const char* text_of(Guard guard) {
  switch (guard) {
    case Guard::operations: return "operation budget exceeded";
    case Guard::time: return "time limit exceeded";
    case Guard::assertion: return "assertion of the grammar failed";
  }
  return "";
}

// What a guard throws out of the library.
struct GuardSpoke {
  Guard guard;
};

double thread_seconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// The steps and the time of one parse.
class Meter {
 public:
  explicit Meter(std::uint64_t size)
      : _steps_left(STEPS_FLOOR + STEPS_PER_KIB * size / 1024),
        _seconds(SECONDS_FLOOR + SECONDS_PER_MIB * static_cast<double>(size) / (1 << 20)),
        _start(Clock::now()),
        _thread_start(thread_seconds()) {}

  void step() {
    if (_steps_left-- == 0) throw GuardSpoke{Guard::operations};
    // The thread's own time decides, so that a busy machine ends no parse; it costs a system call,
    // so it is asked for only once that much time has passed at all.
    if (std::chrono::duration<double>(Clock::now() - _start).count() < _seconds) return;
    if (thread_seconds() - _thread_start > _seconds) throw GuardSpoke{Guard::time};
  }

 private:
  using Clock = std::chrono::steady_clock;

  std::uint64_t _steps_left;
  const double _seconds;
  const Clock::time_point _start;
  const double _thread_start;
};

bool step(TSParseState* state) {
  static_cast<Meter*>(state->payload)->step();
  return false;
}

const char* read_source(void* payload, std::uint32_t offset, TSPoint /*position*/,
                        std::uint32_t* size) {
  const auto& bytes = *static_cast<const std::string_view*>(payload);
  *size = static_cast<std::uint32_t>(bytes.size()) - offset;
  return bytes.data() + offset;
}

// ---- The library's memory ----

thread_local constinit ParseArena* current_arena = nullptr;

void* allocate(std::size_t size) {
  return current_arena != nullptr ? current_arena->allocate(size) : std::malloc(size);
}

void* allocate_zeroed(std::size_t count, std::size_t size) {
  if (current_arena == nullptr) return std::calloc(count, size);
  if (size != 0 && count > SIZE_MAX / size) throw std::bad_alloc();
  return std::memset(current_arena->allocate(count * size), 0, count * size);
}

void* reallocate(void* block, std::size_t size) {
  return current_arena != nullptr ? current_arena->reallocate(block, size)
                                  : std::realloc(block, size);
}

void deallocate(void* block) {
  if (current_arena != nullptr) {
    current_arena->deallocate(block);
  } else {
    std::free(block);
  }
}

// Directs the library's memory to the arena of the calling thread's parse while there is one.
class ArenaScope {
 public:
  explicit ArenaScope(ParseArena& arena) {
    static std::once_flag installed;
    std::call_once(installed, ts_set_allocator, allocate, allocate_zeroed, reallocate, deallocate);
    current_arena = &arena;
  }
  ~ArenaScope() { current_arena = nullptr; }
  ArenaScope(const ArenaScope&) = delete;
  ArenaScope& operator=(const ArenaScope&) = delete;
};

[[noreturn]] void refuse(const char* reason, std::uint64_t size) {
  throw ParseError(std::string(reason) + " (" + std::to_string(size) + " bytes)");
}

}  // namespace

// What `assert` calls in the core and the grammars, which are compiled to call it by this name.
extern "C" [[noreturn]] void treesitter_engine_assert_fail(const char* /*assertion*/,
                                                           const char* /*file*/,
                                                           unsigned /*line*/,
                                                           const char* /*function*/) {
  throw GuardSpoke{Guard::assertion};
}

void refuse_size(std::uint64_t size) { refuse("file is too large to parse", size); }

Parser::Parser(const languages::Language& language)
    : _language(&language), _grammar(*language.grammar()) {
  const std::uint32_t version = ts_language_abi_version(language.grammar());
  if (version < TREE_SITTER_MIN_COMPATIBLE_LANGUAGE_VERSION || version > TREE_SITTER_LANGUAGE_VERSION) {
    throw std::logic_error("grammar version " + std::to_string(version) + " is not supported");
  }
}

SyntaxTree Parser::parse(const Source& source, ParseArena& arena) {
  const std::uint64_t size = source.bytes().size();
  if (size > MAX_PARSED_BYTES) refuse_size(size);
  ArenaLease lease(&arena);
  arena.set_budget(MEMORY_FLOOR + MEMORY_PER_BYTE * size);
  try {
    TSTree* const tree = parse_guarded(source, arena);
    return SyntaxTree(std::move(lease), *tree, *_language, source);
  } catch (const GuardSpoke& spoke) {
    refuse(text_of(spoke.guard), size);
  } catch (const ParseArena::OverBudget&) {
    refuse("memory budget exceeded", size);
  } catch (const ScannerStateOverflow&) {
    refuse("scanner state exceeds its limit", size);
  }
}

TSTree* Parser::parse_guarded(const Source& source, ParseArena& arena) {
  const ArenaScope scope(arena);
  const ScannerStates states(_grammar, arena);
  std::string_view bytes = source.bytes();
  Meter meter(bytes.size());
  TSParser* const parser = ts_parser_new();
  ts_parser_set_language(parser, _grammar.grammar());
  return ts_parser_parse_with_options(
      parser, nullptr,
      {.payload = &bytes, .read = read_source, .encoding = TSInputEncodingUTF8, .decode = nullptr},
      {.payload = &meter, .progress_callback = step});
}

}  // namespace engines::treesitter
