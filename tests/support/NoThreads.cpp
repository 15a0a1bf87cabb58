// In a test program that is declared to start no thread: takes the system's place and ends the
// program at the first one.

#include <pthread.h>

#include <cstdio>
#include <cstdlib>

extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t*, const pthread_attr_t*,
                                                             void* (*)(void*), void*) noexcept {
  std::fputs("A thread starts in tests that are declared SINGLE_THREADED.\n", stderr);
  std::abort();
}
