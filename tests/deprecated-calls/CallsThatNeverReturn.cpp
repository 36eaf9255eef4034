// SPDX-License-Identifier: MIT
// Calls that the compiler must warn of, as an application would write them. Never linked.
#include "device/GatecastConversation.h"

#include <string>

void call_what_never_returns(qx::GatecastConversation& phone) { phone.setPreviewCacheCapacity(30); }

void call_what_never_returns(qx::MemoryCache<unsigned long long, std::string>& images) {
    images.setCapacity(30);
}

void call_what_never_returns(qx::MemoryCache<std::string, int>& numbers) {
    numbers.setCapacity(30);
}
