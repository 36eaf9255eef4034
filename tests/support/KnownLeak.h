// SPDX-License-Identifier: MIT
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define GATECAST_TEST_CHECKS_LEAKS 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define GATECAST_TEST_CHECKS_LEAKS 1
#endif

#if defined(GATECAST_TEST_CHECKS_LEAKS)
#include <sanitizer/lsan_interface.h>
#endif

/// What is allocated while it lives is leaked by contract: a leak checker doesn't report it.
class KnownLeak {
public:
#if defined(GATECAST_TEST_CHECKS_LEAKS)
    KnownLeak() { __lsan_disable(); }
    ~KnownLeak() { __lsan_enable(); }
#else
    KnownLeak() {}
    ~KnownLeak() {}
#endif
    KnownLeak(const KnownLeak&) = delete;
    KnownLeak& operator=(const KnownLeak&) = delete;
};
