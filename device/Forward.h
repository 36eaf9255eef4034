// SPDX-License-Identifier: MIT
// Names of device/ for headers that only mention them.
#pragma once

#include "rpc/Forward.h"

namespace qx {

class GatecastConversation;
class IJsonHeaderUpdateReceiver;
class MailBoxEntry;

template <typename K, typename V>
class Cache;
template <typename K, typename V>
class MemoryCache;
template <typename K, typename V>
class MultiCache;

} // namespace qx
