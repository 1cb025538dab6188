// What the address sanitizer keeps of each allocation costs most of a short run: enough of it stays
// to tell a fault, and the rest is told by running the input again with other ASAN_OPTIONS.
extern "C" __attribute__((used, visibility("default"))) const char* __asan_default_options() {
  return "quarantine_size_mb=4:malloc_context_size=3:max_malloc_fill_size=64";
}
