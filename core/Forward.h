// SPDX-License-Identifier: MIT
// Names of core/ for headers that only mention them.
#pragma once

namespace qx {

class ConnectionImpl;
class IInterface;
class IPAddress;
class InterfaceStub;
class IntrusiveObject;
class IntrusiveString;
class Mutex;
class MutexLocker;
class SignalPublisher;
class Url;

template <typename S>
struct PooledStringEquals;
template <typename T>
class PooledStringMap;
template <typename K>
struct StringHash;
template <typename S, typename Pointer>
class StringPool;

} // namespace qx
