// SPDX-License-Identifier: MIT
#include "core/Version.h"

#include "gatecast/version.h"

namespace qx {

int versionNumber() noexcept { return GATECAST_VERSION; }

const char* versionString() noexcept { return GATECAST_VERSION_STRING; }

} // namespace qx
