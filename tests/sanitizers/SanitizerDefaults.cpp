// Defaults that the sanitizer runtimes read from every test program before their environment
// options. Qt paints large images on its own pooled threads and joins them with primitives that
// ThreadSanitizer cannot see, since Qt is not built with it; ThreadSanitizer therefore ignores the
// memory accesses made inside libraries that are not instrumented, and still checks every access
// of this project's code. In builds without ThreadSanitizer nothing reads the function.

extern "C" const char* __tsan_default_options();

extern "C" const char* __tsan_default_options() {
  return "ignore_noninstrumented_modules=1";
}
