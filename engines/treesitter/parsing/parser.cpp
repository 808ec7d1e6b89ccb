// See parser.h. The library's own parser lies in the arena too. It is made anew for each parse,
// which costs a dozen allocations, so that nothing is left of a parse that a guard ended.
#include "engines/treesitter/parsing/parser.h"

#include <tree_sitter/api.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace engines::treesitter {
namespace {

const char* text_of(Guard guard) {
  switch (guard) {
    case Guard::operations:
      return "operation budget exceeded";
    case Guard::time:
      return "time limit exceeded";
    case Guard::scanner_state:
      return "scanner state exceeds its limit";
    case Guard::assertion:
      return "assertion of the grammar failed";
  }
  return "";
}

bool step(TSParseState* state) {
  static_cast<ParseMeter*>(state->payload)->step();
  return false;
}

const char* read_source(void* payload, std::uint32_t offset, TSPoint /*position*/,
                        std::uint32_t* size) {
  const auto& bytes = *static_cast<const std::string_view*>(payload);
  const std::string_view rest = bytes.substr(std::min<std::size_t>(offset, bytes.size()));
  *size = static_cast<std::uint32_t>(rest.size());
  return rest.data();
}

// ---- The library's memory ----

// At the end of a parse the library may free a stack of a million nodes without calling `step`, so
// the time is also checked when it frees memory.
constexpr std::uint32_t RELEASES_PER_CHECK = 1024;

// The memory of one parse, as the library sees it.
struct LibraryMemory {
  ParseArena& arena;
  const ParseMeter& meter;
  std::uint32_t releases = 0;

  void release(void* block) {
    // Before the release, so that the library's state is whole if this throws.
    if (++releases % RELEASES_PER_CHECK == 0) meter.check_time();
    arena.deallocate(block);
  }
};

thread_local constinit LibraryMemory* current_memory = nullptr;

// Makes the library use this memory on the calling thread while it exists. Scopes may be nested: a
// host's Cancellation::poll may parse with another engine.
class MemoryScope {
 public:
  explicit MemoryScope(LibraryMemory& memory) : _before(std::exchange(current_memory, &memory)) {}
  ~MemoryScope() { current_memory = _before; }
  MemoryScope(const MemoryScope&) = delete;
  MemoryScope& operator=(const MemoryScope&) = delete;

 private:
  LibraryMemory* const _before;
};

// Stores what the guards counted in the report, however the parse ends.
struct CountsAtEnd {
  ParseReport* report;
  const ParseMeter& meter;
  const ParseArena& arena;

  ~CountsAtEnd() {
    if (report == nullptr) return;
    report->operations = meter.operations();
    report->processor_time = meter.time();
    report->memory = {arena.most_charged_bytes(), arena.budget()};
  }
};

[[noreturn]] void refuse(const char* reason, std::uint64_t size) {
  throw ParseError(std::string(reason) + " (" + std::to_string(size) + " bytes)");
}

}  // namespace

extern "C" void* treesitter_engine_allocate(std::size_t size) {
  return current_memory != nullptr ? current_memory->arena.allocate(size) : std::malloc(size);
}

extern "C" void* treesitter_engine_allocate_zeroed(std::size_t count, std::size_t size) {
  if (current_memory == nullptr) return std::calloc(count, size);
  if (size != 0 && count > SIZE_MAX / size) throw std::bad_alloc();
  return std::memset(current_memory->arena.allocate(count * size), 0, count * size);
}

extern "C" void* treesitter_engine_reallocate(void* block, std::size_t size) {
  return current_memory != nullptr ? current_memory->arena.reallocate(block, size)
                                   : std::realloc(block, size);
}

extern "C" void treesitter_engine_deallocate(void* block) {
  if (current_memory != nullptr) {
    current_memory->release(block);
  } else {
    std::free(block);
  }
}

// Called by long loops of the core (cmake/core_stack.h).
extern "C" void treesitter_engine_check_time() {
  if (current_memory != nullptr) current_memory->meter.check_time();
}

// Called by a failed `assert` in the core and the grammars (cmake/Grammars.cmake).
extern "C" [[noreturn]] void treesitter_engine_assert_fail(const char* /*assertion*/,
                                                           const char* /*file*/, unsigned /*line*/,
                                                           const char* /*function*/) {
  throw GuardSpoke{Guard::assertion};
}

void refuse_size(std::uint64_t size) { refuse("file is too large to parse", size); }

Parser::Parser(const languages::Language& language)
    : _language(&language), _grammar(*language.grammar()) {
  const std::uint32_t version = ts_language_abi_version(language.grammar());
  if (version < TREE_SITTER_MIN_COMPATIBLE_LANGUAGE_VERSION ||
      version > TREE_SITTER_LANGUAGE_VERSION) {
    throw std::logic_error("grammar version " + std::to_string(version) + " is not supported");
  }
}

SyntaxTree Parser::parse(const Source& source, ParseArena& arena, Fields fields,
                         ParseReport* report) {
  const std::uint64_t size = source.bytes().size();
  if (size > MAX_PARSED_BYTES) refuse_size(size);
  ArenaLease lease(&arena);
  arena.set_budget(MEMORY_FLOOR + MEMORY_PER_BYTE * size);
  ParseMeter meter(size, source.stop());
  const CountsAtEnd counts{report, meter, arena};
  try {
    TSTree* const tree = parse_guarded(source, arena, meter);
    return SyntaxTree(std::move(lease), *tree, *_language, source, fields);
  } catch (const GuardSpoke& spoke) {
    refuse(text_of(spoke.guard), size);
  } catch (const ParseArena::OverBudget&) {
    refuse("memory budget exceeded", size);
  }
}

TSTree* Parser::parse_guarded(const Source& source, ParseArena& arena, ParseMeter& meter) {
  std::string_view bytes = source.bytes();
  const ScannerStates states(_grammar, arena, meter);
  LibraryMemory memory{arena, meter};
  const MemoryScope scope(memory);
  TSParser* const parser = ts_parser_new();
  ts_parser_set_language(parser, _grammar.grammar());
  return ts_parser_parse_with_options(
      parser, nullptr,
      {.payload = &bytes, .read = read_source, .encoding = TSInputEncodingUTF8, .decode = nullptr},
      {.payload = &meter, .progress_callback = step});
}

}  // namespace engines::treesitter
