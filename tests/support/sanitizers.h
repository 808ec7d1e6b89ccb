// Whether bounds that users rely on may be asked of this build and of this machine. In a sanitized
// build everything is slower, larger and needs more stack.
#pragma once

#include <time.h>

#include <cstdint>

namespace engines::treesitter {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool IS_SANITIZED = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool IS_SANITIZED = true;
#else
inline constexpr bool IS_SANITIZED = false;
#endif
#else
inline constexpr bool IS_SANITIZED = false;
#endif

// What such a clock of processor time says.
inline double processor_seconds(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// What the loop below takes on a processor of 3 GHz.
inline constexpr double USUAL_SECONDS = 0.035;

// Whether the processor is about as fast as those that the limits of time were set for. On a much
// slower one a parse meets its limit of time before the limit that ends it elsewhere.
inline bool has_usual_speed() {
  static const bool is_fast = [] {
    const double begin = processor_seconds(CLOCK_THREAD_CPUTIME_ID);
    volatile std::uint64_t number = 1;  // a chain of loads, products and stores
    for (int i = 0; i < 30'000'000; ++i) number = number * 0x100000001B3 + 1;
    return processor_seconds(CLOCK_THREAD_CPUTIME_ID) - begin < 3 * USUAL_SECONDS;
  }();
  return is_fast && !IS_SANITIZED;
}

}  // namespace engines::treesitter
