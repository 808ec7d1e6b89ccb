// Measures tree-sitter as published, to compare the engine with it: only parsing and freeing.
//
//   stock_parse MANIFEST
//
// The manifest has a line "GROUP<tab>LANGUAGE<tab>PATH" for each file; the files of a group stand
// together. Each line of standard input asks for one measurement, in the form of engine_parse:
//
//   GROUP MODE THREADS REPEATS DIGEST     MODE, THREADS and DIGEST are ignored
//   memory                                the most memory that this process ever held
//
// The answer to the first is "CPU WALL FILES BYTES NODES": nanoseconds of all repeats together, and
// the counts of one repeat. The contents lie in memory before the clock starts. The answer to
// `memory` is in KiB.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <tree_sitter/api.h>

#define GRAMMARS(row)                                                              \
  row(python, python) row(javascript, javascript) row(typescript, typescript)      \
  row(tsx, tsx) row(java, java) row(go, go) row(rust, rust) row(csharp, c_sharp)   \
  row(ruby, ruby) row(php, php) row(sql, sql) row(markdown, markdown) row(xml, xml) \
  row(json, json) row(yaml, yaml) row(toml, toml)

#define DECLARE(name, grammar) const TSLanguage* tree_sitter_##grammar(void);
GRAMMARS(DECLARE)

typedef struct {
  char* group;
  const TSLanguage* language;
  char* path;
  char* bytes;  // null until the file's group is first asked for
  size_t size;
} File;

static File* files;
static size_t file_count;

static _Noreturn void fail(const char* what, const char* which) {
  fprintf(stderr, "stock_parse: %s: %s\n", what, which);
  exit(2);
}

static const TSLanguage* language_of(const char* name) {
#define FIND(own_name, grammar) \
  if (strcmp(name, #own_name) == 0) return tree_sitter_##grammar();
  GRAMMARS(FIND)
  fail("no such language", name);
}

static void read_manifest(const char* path) {
  FILE* const manifest = fopen(path, "r");
  if (!manifest) fail("cannot read", path);
  char* line = NULL;
  size_t capacity = 0;
  while (getline(&line, &capacity, manifest) > 0) {
    const char* const group = strtok(line, "\t\n");
    const char* const language = strtok(NULL, "\t\n");
    const char* const file = strtok(NULL, "\t\n");
    if (!file) fail("a line without three fields in", path);
    files = realloc(files, (file_count + 1) * sizeof *files);
    files[file_count++] = (File){strdup(group), language_of(language), strdup(file), NULL, 0};
  }
  free(line);
  fclose(manifest);
}

static void load(File* file) {
  FILE* const stream = fopen(file->path, "rb");
  if (!stream || fseek(stream, 0, SEEK_END) != 0) fail("cannot read", file->path);
  file->size = (size_t)ftell(stream);
  rewind(stream);
  file->bytes = malloc(file->size + 1);
  if (fread(file->bytes, 1, file->size, stream) != file->size) fail("cannot read", file->path);
  fclose(stream);
}

static long long nanoseconds(clockid_t clock) {
  struct timespec time;
  clock_gettime(clock, &time);
  return time.tv_sec * 1000000000LL + time.tv_nsec;
}

static void measure(TSParser* parser, const char* group, int repeats) {
  size_t first = 0;
  while (first < file_count && strcmp(files[first].group, group) != 0) ++first;
  size_t end = first;
  for (; end < file_count && strcmp(files[end].group, group) == 0; ++end) {
    if (!files[end].bytes) load(&files[end]);
  }
  size_t bytes = 0, nodes = 0;
  const long long cpu = nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
  const long long wall = nanoseconds(CLOCK_MONOTONIC);
  for (int repeat = 0; repeat < repeats; ++repeat) {
    bytes = nodes = 0;
    for (const File* file = files + first; file != files + end; ++file) {
      ts_parser_set_language(parser, file->language);
      TSTree* const tree = ts_parser_parse_string(parser, NULL, file->bytes, (uint32_t)file->size);
      nodes += ts_node_descendant_count(ts_tree_root_node(tree));
      ts_tree_delete(tree);
      bytes += file->size;
    }
  }
  printf("%lld %lld %zu %zu %zu\n", nanoseconds(CLOCK_PROCESS_CPUTIME_ID) - cpu,
         nanoseconds(CLOCK_MONOTONIC) - wall, end - first, bytes, nodes);
}

static void print_memory(void) {
  FILE* const status = fopen("/proc/self/status", "r");
  char line[256];
  long kib = 0;
  while (status && fgets(line, sizeof line, status)) {
    if (sscanf(line, "VmHWM: %ld", &kib) == 1) break;
  }
  if (status) fclose(status);
  printf("%ld\n", kib);
}

int main(int argument_count, char** arguments) {
  if (argument_count != 2) fail("usage", "stock_parse MANIFEST");
  read_manifest(arguments[1]);
  TSParser* const parser = ts_parser_new();
  char line[512], group[256];
  int threads = 0, repeats = 0;
  while (fgets(line, sizeof line, stdin)) {
    if (strcmp(line, "memory\n") == 0) {
      print_memory();
    } else if (sscanf(line, "%255s %*s %d %d", group, &threads, &repeats) == 3) {
      measure(parser, group, repeats);
    } else {
      fail("not understood", line);
    }
    fflush(stdout);
  }
  ts_parser_delete(parser);
  return 0;
}
