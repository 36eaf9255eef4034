// SPDX-License-Identifier: MIT
// Everything: the version, and all public headers of all layers.
#pragma once

#include "gatecast/core.h"
#include "gatecast/device.h"
#include "gatecast/json.h"
#include "gatecast/rpc.h"
#include "gatecast/schema.h"
#include "gatecast/version.h"
