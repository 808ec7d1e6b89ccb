// A program with another tree-sitter besides the engine's, which has its own memory functions.
// Neither may disturb the other. The names here are those of the other one.
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <thread>

#include "engines/treesitter/treesitter.h"

extern "C" {
struct TSParser;
struct TSTree;
struct TSLanguage;
TSParser* ts_parser_new();
void ts_parser_delete(TSParser* parser);
bool ts_parser_set_language(TSParser* parser, const TSLanguage* language);
TSTree* ts_parser_parse_string(TSParser* parser, const TSTree* old, const char* text,
                               unsigned size);
void ts_tree_delete(TSTree* tree);
void ts_set_allocator(void* (*)(std::size_t), void* (*)(std::size_t, std::size_t),
                      void* (*)(void*, std::size_t), void (*)(void*));
const TSLanguage* tree_sitter_json();
}

namespace {

std::atomic<long> requests = 0;

void* counted_malloc(std::size_t size) { return ++requests, std::malloc(size); }
void* counted_calloc(std::size_t count, std::size_t size) {
  return ++requests, std::calloc(count, size);
}
void* counted_realloc(void* block, std::size_t size) {
  return ++requests, std::realloc(block, size);
}

bool parse_with_the_other() {
  TSParser* const parser = ts_parser_new();
  const bool accepted = ts_parser_set_language(parser, tree_sitter_json());
  TSTree* const tree = ts_parser_parse_string(parser, nullptr, "{\"a\": [1]}", 10);
  const bool parsed = tree != nullptr;
  ts_tree_delete(tree);
  ts_parser_delete(parser);
  return accepted && parsed;
}

bool parse_with_ours() {
  const engines::treesitter::TreeSitterEngine engine;
  return engine.parse_content("{\"a\": [1]}", "json", "a.json").symbols.size() == 1;
}

}  // namespace

int main() {
  ts_set_allocator(counted_malloc, counted_calloc, counted_realloc, std::free);
  bool all_parsed = parse_with_the_other();
  const long before = requests;
  all_parsed = all_parsed && parse_with_ours() && parse_with_ours();
  const bool left_alone = before > 0 && requests == before;
  std::thread other([&] {
    for (int i = 0; i < 1000; ++i) all_parsed = parse_with_the_other() && all_parsed;
  });
  bool ours_parsed = true;
  for (int i = 0; i < 1000; ++i) ours_parsed = parse_with_ours() && ours_parsed;
  other.join();
  const bool is_well = all_parsed && ours_parsed && left_alone;
  std::cout << (is_well ? "both\n" : "disturbed\n");
  return is_well ? 0 : 1;
}
