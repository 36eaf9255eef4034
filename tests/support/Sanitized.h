// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdlib>

namespace test {

/// Whether a sanitizer watches, which makes everything slower by ten and frames larger.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

/// How much of a large number of levels or rounds this run does: all, or a tenth where the same
/// tests have done all of it elsewhere (GATECAST_TEST_QUICK is set).
inline std::size_t share_of(std::size_t number) {
    return std::getenv("GATECAST_TEST_QUICK") != nullptr ? number / 10 : number;
}

} // namespace test
