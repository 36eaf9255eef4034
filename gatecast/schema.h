// SPDX-License-Identifier: MIT
// All public headers of schema/.
#pragma once

#include "schema/Forward.h"
#include "schema/Schema.h"
