// The defaults of the sanitizers, for every executable of a sanitized build
// (cmake/Sanitizers.cmake). The sanitizers look these functions up by name at run time.

// The SQL grammar's scanner forgets a dollar-quote tag when its state is restored: a few bytes for
// each, in code that is not ours. Everything else that leaks is a fault.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:tree_sitter_sql_external_scanner_deserialize\n";
}
