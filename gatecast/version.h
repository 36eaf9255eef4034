// SPDX-License-Identifier: MIT
// The version, once: CMake and the packages read the three numbers from here.
#pragma once

/// What an application was compiled with. A preprocessor can compare `GATECAST_VERSION`, which is
/// 10000 * major + 100 * minor + patch.
/// @{
#define GATECAST_VERSION_MAJOR 1
#define GATECAST_VERSION_MINOR 0
#define GATECAST_VERSION_PATCH 0
#define GATECAST_VERSION                                                                           \
    (GATECAST_VERSION_MAJOR * 10000 + GATECAST_VERSION_MINOR * 100 + GATECAST_VERSION_PATCH)
#define GATECAST_VERSION_STRING                                                                    \
    GATECAST_DETAIL_VERSION_TEXT(GATECAST_VERSION_MAJOR, GATECAST_VERSION_MINOR,                   \
                                 GATECAST_VERSION_PATCH)
/// @}

/// \cond
#define GATECAST_DETAIL_VERSION_TEXT(major, minor, patch)                                          \
    GATECAST_DETAIL_TEXT(major) "." GATECAST_DETAIL_TEXT(minor) "." GATECAST_DETAIL_TEXT(patch)
#define GATECAST_DETAIL_TEXT(number) #number
/// \endcond

// What it runs with: qx::versionNumber and qx::versionString.
#include "core/Version.h"
