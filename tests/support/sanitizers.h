// Whether the build is one of the sanitizers', in which everything is slower, larger and needs more
// stack: bounds that a user may rely on are not asked of such a build.
#pragma once

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

}  // namespace engines::treesitter
