// SPDX-License-Identifier: MIT
#pragma once

/// Marks what applications may link against; everything else in the library is hidden.
#if defined(__GNUC__)
#define GATECAST_EXPORT __attribute__((visibility("default")))
#else
#define GATECAST_EXPORT
#endif
