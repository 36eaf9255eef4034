// SPDX-License-Identifier: MIT
// The names of all public classes, for headers that only mention them.
#pragma once

#include "device/Forward.h"
