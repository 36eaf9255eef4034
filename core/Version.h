// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"

namespace qx {

/// The version of the library that runs, as `GATECAST_VERSION` counts it; the macro is the version
/// that the application was compiled with, and a shared library may be newer.
/// Threads: any thread.
GATECAST_EXPORT int versionNumber() noexcept;

/// The same as a text, such as "1.0.0". Never null; lives as long as the library is loaded.
/// Threads: any thread.
GATECAST_EXPORT const char* versionString() noexcept;

} // namespace qx
