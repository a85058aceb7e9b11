// Qt 6.8 keeps one object of the desktop's services at the end of a process.

extern "C" {

// The names are the sanitizers'.
const char* __lsan_default_suppressions();  // NOLINT(*-reserved-identifier)
const char* __asan_default_options();       // NOLINT(*-reserved-identifier)

const char* __lsan_default_suppressions() { return "leak:QGenericUnixServices\n"; }
// Qt has no frame pointers: only the slow way finds the function that a suppression names.
const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
}
