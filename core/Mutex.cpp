// SPDX-License-Identifier: MIT
#include "core/Mutex.h"

namespace qx {

Mutex::Mutex() = default;
Mutex::~Mutex() = default;

} // namespace qx
