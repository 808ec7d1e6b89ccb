#include "fuzz/properties.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <thread>
#include <tuple>

#include "engines/treesitter/text/text.h"

namespace engines::treesitter::fuzz {
namespace {

constexpr std::size_t MAX_SIGNATURE_LENGTH = 200;

bool is_text(std::string_view bytes) { return find_ill_formed(bytes).size == 0; }

void check_optional(const std::optional<std::string>& text, std::size_t cap,
                    std::string_view promise) {
  require(!text || (is_text(*text) && length(*text) <= cap), promise);
}

void check_symbol(const models::Symbol& symbol, std::uint32_t rows, std::string_view prefix) {
  require(symbol.start_line >= 1, "a symbol's first line is 1 or more");
  require(symbol.start_line <= symbol.end_line, "a symbol does not end before it starts");
  require(symbol.end_line <= rows, "a symbol ends inside of the file");
  require(is_text(symbol.name), "a name is UTF-8");
  require(symbol.fqn.starts_with(prefix), "an FQN begins with the file's prefix");
  check_optional(symbol.signature, MAX_SIGNATURE_LENGTH, "a signature has 200 characters at most");
  check_optional(symbol.docstring, MAX_DOCSTRING_LENGTH, "a docstring has 500 characters at most");
  check_optional(symbol.body_digest, MAX_BODY_DIGEST_LENGTH, "a digest has 800 characters at most");
  require(symbol.signature && symbol.signature->find('\n') == std::string::npos,
          "a signature is one line");
  require(!symbol.docstring || !symbol.docstring->empty(), "a docstring is not empty");
  require(!symbol.body_digest || !symbol.body_digest->empty(), "a digest is not empty");
}

void check_symbols(const ParseResult& result, std::uint32_t rows, std::string_view prefix,
                   Rules rules) {
  std::set<std::string_view> fqns;
  std::uint32_t line = 1;
  for (const models::Symbol& symbol : result.symbols) {
    check_symbol(symbol, rows, prefix);
    if (rules == Rules::standard) {
      require(symbol.fqn.ends_with('.' + symbol.name), "an FQN ends with the name");
      require(fqns.insert(symbol.fqn).second, "FQNs are unique");
    }
    require(symbol.start_line >= line, "symbols stand in document order");
    line = symbol.start_line;
  }
}

void check_references(const ParseResult& result, std::uint32_t rows) {
  std::set<std::tuple<std::string_view, std::uint32_t, std::string_view>> known;
  std::uint32_t line = 1;
  for (const ReferenceInfo& reference : result.references) {
    require(reference.line >= line && reference.line <= rows,
            "references stand in document order, inside of the file");
    line = reference.line;
    require(is_text(reference.name), "a reference's name is UTF-8");
    require(reference.kind == "call" || reference.kind == "import" || reference.kind == "type" ||
                reference.kind == IMPORT_MODULE_KIND,
            "a reference is of one of four kinds");
    require(known.emplace(reference.name, reference.line, reference.kind).second,
            "references are unique");
  }
}

// Requires what a result promises.
void check(const Answer& answer, std::string_view content, std::string_view prefix, Rules rules) {
  const auto* const result = std::get_if<ParseResult>(&answer);
  if (result == nullptr) return;
  const auto lines =
      static_cast<std::uint32_t>(std::count(content.begin(), content.end(), '\n') + 1);
  check_symbols(*result, lines, prefix, rules);
  check_references(*result, lines);
  require(result->content_hash.size() == 64, "a digest has 64 digits");
  for (const std::string& error : result->errors) {
    const bool is_failure = error.starts_with("Parse error: ");
    require(is_failure || error.starts_with("Invalid symbol "), "no other error than these two");
    require(!is_failure || (result->symbols.empty() && result->references.empty()),
            "a failed parse gives nothing else");
  }
}

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

void require(bool holds, std::string_view promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %.*s\n", static_cast<int>(promise.size()), promise.data());
  std::abort();
}

bool is_timing(const Answer& answer) {
  const auto* const result = std::get_if<ParseResult>(&answer);
  return result != nullptr && !result->errors.empty() &&
         result->errors.front().starts_with("Parse error: time limit");
}

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
