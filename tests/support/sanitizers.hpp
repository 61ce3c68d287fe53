// tests/support/sanitizers.hpp: whether this program runs under a sanitizer, at a fraction of its speed.
#pragma once

namespace zolv_test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool under_sanitizers = true;
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool under_sanitizers = true;
#    else
inline constexpr bool under_sanitizers = false;
#    endif
#else
inline constexpr bool under_sanitizers = false;
#endif

}  // namespace zolv_test
