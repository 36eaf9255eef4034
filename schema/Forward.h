// SPDX-License-Identifier: MIT
// Names of schema/ for headers that only mention them.
#pragma once

#include "json/Forward.h"

namespace json {

class Schema;
struct CollectionLimits;

} // namespace json
