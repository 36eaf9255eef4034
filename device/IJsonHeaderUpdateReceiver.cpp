// SPDX-License-Identifier: MIT
#include "device/IJsonHeaderUpdateReceiver.h"

namespace qx {

IJsonHeaderUpdateReceiver::~IJsonHeaderUpdateReceiver() = default;

const char* IJsonHeaderUpdateReceiver::ID() { return "qx::IJsonHeaderUpdateReceiver"; }

} // namespace qx
