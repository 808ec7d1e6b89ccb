// Measures the engine; the counterpart of stock/stock_parse.c, driven by the same lines.
//
//   engine_parse --detect      prints the language of each path on standard input, or an empty line
//   engine_parse MANIFEST      measures; the manifest has a line "GROUP<tab>LANGUAGE<tab>PATH" for
//                              each file, and the files of a group stand together
//
// Each line of standard input asks for one measurement:
//
//   GROUP MODE THREADS REPEATS DIGEST
//   memory                             the most memory that this process ever held, in KiB
//
// MODE says how much of the work is done:
//
//   file          all of it, from the path
//   content       the same from contents in memory, with the manifest's language
//   navigation    the same as `file`, by the navigation rules
//   parse         the guarded parse, and the reading of its tree into the array
//   read          that reading alone, on one thread
//
// The answer is "CPU WALL FILES BYTES NODES SYMBOLS REFERENCES ERRORS DIGEST REFUSED": nanoseconds
// of all repeats together, and the counts of one. DIGEST 1 asks for a digest of everything in the
// results, and for the numbers of the files that a guard refused, separated by commas; else both
// are `-`. The time includes freeing the records.
#include <tree_sitter/api.h>

#include <atomic>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "engines/languages/language.h"
#include "engines/treesitter/parsing/parser.h"
#include "engines/treesitter/treesitter.h"

namespace {

using engines::languages::Language;
using engines::treesitter::ParseArena;
using engines::treesitter::ParseResult;
using engines::treesitter::Source;
using engines::treesitter::SyntaxTree;

constexpr std::string_view REFUSED = "Parse error: ";

struct File {
  std::string group;
  std::string language;
  std::string path;
  std::string bytes;
  bool is_loaded = false;
};

enum class Mode { file, content, navigation, parse, read };

struct Request {
  std::string group;
  Mode mode;
  unsigned threads;
  std::size_t repeats;
  bool wants_digest;
};

struct Counts {
  std::size_t bytes = 0;
  std::size_t nodes = 0;
  std::size_t symbols = 0;
  std::size_t references = 0;
  std::size_t errors = 0;
  std::uint64_t digest = 0;  // a sum over files, so that their order does not matter
  std::vector<std::size_t> refused;
  std::int64_t inner_nanoseconds = 0;  // of `read`, which times only a part of its loop

  void add(const Counts& other) {
    bytes += other.bytes;
    nodes += other.nodes;
    symbols += other.symbols;
    references += other.references;
    errors += other.errors;
    digest += other.digest;
    refused.insert(refused.end(), other.refused.begin(), other.refused.end());
    inner_nanoseconds += other.inner_nanoseconds;
  }
};

std::int64_t nanoseconds(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// ---- Digests of results ----

// FNV-1a over texts and numbers, each closed by its length so that no two sequences read alike.
class Digest {
 public:
  explicit Digest(std::uint64_t seed) { add(seed); }

  void add(std::uint64_t number) {
    for (int i = 0; i < 8; ++i, number >>= 8) add_byte(static_cast<unsigned char>(number));
  }
  void add(std::string_view text) {
    for (const char byte : text) add_byte(static_cast<unsigned char>(byte));
    add(std::uint64_t{text.size()});
  }
  void add(const std::optional<std::string>& text) {
    add(std::uint64_t{text.has_value()});
    if (text) add(std::string_view(*text));
  }
  std::uint64_t value() const { return _value; }

 private:
  void add_byte(unsigned char byte) { _value = (_value ^ byte) * 0x100000001B3; }

  std::uint64_t _value = 0xCBF29CE484222325;
};

std::uint64_t digest_of(const ParseResult& result, std::size_t file) {
  Digest digest(file);
  for (const std::string* text : {&result.path, &result.language, &result.content_hash}) {
    digest.add(std::string_view(*text));
  }
  for (const auto& symbol : result.symbols) {
    digest.add(std::string_view(symbol.name));
    digest.add(kind_text(symbol.kind));
    digest.add(std::string_view(symbol.fqn));
    digest.add(std::uint64_t{symbol.start_line} << 32 | symbol.end_line);
    digest.add(symbol.signature);
    digest.add(std::uint64_t{symbol.is_export});
    digest.add(symbol.docstring);
    digest.add(symbol.body_digest);
  }
  for (const auto& reference : result.references) {
    digest.add(std::string_view(reference.name));
    digest.add(std::string_view(reference.kind));
    digest.add(std::uint64_t{reference.line});
  }
  for (const std::string& error : result.errors) digest.add(std::string_view(error));
  return digest.value();
}

// ---- One file ----

// An exception becomes a result with its text as the error.
template <typename Parse>
ParseResult result_or_error(const File& file, Parse parse) {
  try {
    return parse();
  } catch (const std::exception& error) {
    ParseResult result{};
    result.path = file.path;
    result.errors.emplace_back(error.what());
    return result;
  }
}

ParseResult whole_result(const engines::treesitter::TreeSitterEngine& engine, const File& file,
                         Mode mode) {
  return result_or_error(file, [&] {
    if (mode == Mode::content) return engine.parse_content(file.bytes, file.language, file.path);
    return engine.parse_file(file.path).value_or(ParseResult{});
  });
}

// The parse without the walks, with what a thread keeps for it.
class BareParse {
 public:
  void parse(const File& file, Counts& counts) {
    const Source source(file.bytes);
    try {
      counts.nodes += parser_of(file)->parse(source, _arena).size();
    } catch (const engines::treesitter::ParseError&) {
      ++counts.errors;
    }
  }

 private:
  engines::treesitter::Parser* parser_of(const File& file) {
    if (_parser == nullptr || file.language != _language) {
      _parser = std::make_unique<engines::treesitter::Parser>(
          *engines::languages::get_language(file.language));
      _language = file.language;
    }
    return _parser.get();
  }

  ParseArena _arena;
  std::unique_ptr<engines::treesitter::Parser> _parser;
  std::string _language;
};

void read_tree(const File& file, Counts& counts) {
  const Language& language = *engines::languages::get_language(file.language);
  const std::unique_ptr<TSParser, decltype(&ts_parser_delete)> parser(ts_parser_new(),
                                                                      ts_parser_delete);
  ts_parser_set_language(parser.get(), language.grammar());
  const std::unique_ptr<TSTree, decltype(&ts_tree_delete)> tree(
      ts_parser_parse_string(parser.get(), nullptr, file.bytes.data(),
                             static_cast<std::uint32_t>(file.bytes.size())),
      ts_tree_delete);
  const Source source(file.bytes);
  ParseArena arena;  // where the tree would lie; the reader counts its own memory there
  const std::int64_t start = nanoseconds(CLOCK_THREAD_CPUTIME_ID);
  counts.nodes +=
      SyntaxTree(engines::treesitter::ArenaLease(&arena), *tree, language, source).size();
  counts.inner_nanoseconds += nanoseconds(CLOCK_THREAD_CPUTIME_ID) - start;
}

// ---- One measurement ----

class Bench {
 public:
  explicit Bench(const char* manifest) {
    std::ifstream lines(manifest);
    File file;
    while (std::getline(lines, file.group, '\t') && std::getline(lines, file.language, '\t') &&
           std::getline(lines, file.path)) {
      _files.push_back(file);
    }
  }

  void answer(const Request& request) {
    select(request);
    std::vector<Counts> counts(request.threads);
    std::atomic<std::size_t> next = 0;
    const std::int64_t cpu = nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
    const std::int64_t wall = nanoseconds(CLOCK_MONOTONIC);
    std::vector<std::thread> others;
    for (unsigned i = 1; i < request.threads; ++i) {
      others.emplace_back([&, i] { work(request, next, counts[i]); });
    }
    work(request, next, counts[0]);
    for (std::thread& other : others) other.join();
    print(request, nanoseconds(CLOCK_PROCESS_CPUTIME_ID) - cpu, nanoseconds(CLOCK_MONOTONIC) - wall,
          counts);
  }

 private:
  // The files of the request's group, with their contents where the mode wants them.
  void select(const Request& request) {
    _first = 0;
    while (_first < _files.size() && _files[_first].group != request.group) ++_first;
    _end = _first;
    for (; _end < _files.size() && _files[_end].group == request.group; ++_end) {
      File& file = _files[_end];
      if (file.is_loaded || request.mode == Mode::file || request.mode == Mode::navigation)
        continue;
      std::ifstream stream(file.path, std::ios::binary);
      file.bytes.assign(std::istreambuf_iterator<char>(stream), {});
      file.is_loaded = true;
    }
  }

  void work(const Request& request, std::atomic<std::size_t>& next, Counts& counts) {
    BareParse bare;
    const std::size_t count = _end - _first;
    for (std::size_t i = next++; i < count * request.repeats; i = next++) {
      const File& file = _files[_first + i % count];
      counts.bytes += file.bytes.size();
      switch (request.mode) {
        case Mode::parse:
          bare.parse(file, counts);
          break;
        case Mode::read:
          read_tree(file, counts);
          break;
        case Mode::file:
        case Mode::content:
        case Mode::navigation:
          whole(request, i % count, file, counts);
          break;
      }
    }
  }

  void whole(const Request& request, std::size_t number, const File& file, Counts& counts) {
    const ParseResult result =
        whole_result(request.mode == Mode::navigation ? _navigating : _engine, file, request.mode);
    counts.symbols += result.symbols.size();
    counts.references += result.references.size();
    counts.errors += result.errors.size();
    if (!request.wants_digest) return;
    counts.digest += digest_of(result, number);
    if (!result.errors.empty() && result.errors[0].starts_with(REFUSED)) {
      counts.refused.push_back(number);
    }
  }

  void print(const Request& request, std::int64_t cpu, std::int64_t wall,
             const std::vector<Counts>& parts) const {
    Counts all;
    for (const Counts& part : parts) all.add(part);
    if (request.mode == Mode::read) cpu = wall = all.inner_nanoseconds;
    std::cout << cpu << ' ' << wall << ' ' << _end - _first;
    for (const std::size_t count :
         {all.bytes, all.nodes, all.symbols, all.references, all.errors}) {
      std::cout << ' ' << count / request.repeats;
    }
    if (request.wants_digest) {
      std::cout << ' ' << std::hex << all.digest << std::dec << " -";
      for (const std::size_t number : all.refused) std::cout << ',' << number;
    } else {
      std::cout << " - -";
    }
    std::cout << std::endl;
  }

  engines::treesitter::TreeSitterEngine _engine;
  engines::treesitter::TreeSitterEngine _navigating{engines::treesitter::Rules::navigation};
  std::vector<File> _files;
  std::size_t _first = 0;  // of the group that is being measured
  std::size_t _end = 0;
};

std::optional<Request> request_from(const std::string& line) {
  constexpr std::pair<std::string_view, Mode> MODES[] = {{"file", Mode::file},
                                                         {"content", Mode::content},
                                                         {"navigation", Mode::navigation},
                                                         {"parse", Mode::parse},
                                                         {"read", Mode::read}};
  Request request{};
  std::string mode;
  std::istringstream fields(line);
  if (!(fields >> request.group >> mode >> request.threads >> request.repeats >>
        request.wants_digest)) {
    return std::nullopt;
  }
  for (const auto& [name, value] : MODES) {
    if (name != mode) continue;
    request.mode = value;
    return request;
  }
  return std::nullopt;
}

std::string most_memory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::to_string(std::stol(line.substr(6)));
  }
  return "0";
}

int detect() {
  for (std::string path; std::getline(std::cin, path);) {
    std::cout << engines::languages::detect_language(path).value_or("") << '\n';
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  std::ios::sync_with_stdio(false);
  if (count != 2) {
    std::cerr << "usage: engine_parse --detect | MANIFEST\n";
    return 2;
  }
  if (std::string_view(arguments[1]) == "--detect") return detect();
  Bench bench(arguments[1]);
  for (std::string line; std::getline(std::cin, line);) {
    if (line == "memory") {
      std::cout << most_memory() << std::endl;
    } else if (const auto request = request_from(line)) {
      bench.answer(*request);
    } else {
      std::cerr << "engine_parse: not understood: " << line << '\n';
      return 2;
    }
  }
  return 0;
}
