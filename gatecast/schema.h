// SPDX-License-Identifier: MIT
// All public headers of schema/.
#pragma once

#include "schema/FaultCollector.h"
#include "schema/Forward.h"
#include "schema/Schema.h"
#include "schema/ValidationReport.h"
