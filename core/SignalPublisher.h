// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/Mutex.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace qx {

/// One connection of a subscriber, as the diagnostics name it.
/// Threads: one at a time.
class GATECAST_EXPORT ConnectionImpl {
public:
    /// A record; it connects nothing.
    ConnectionImpl(std::string signal, const void* subscriber);
    /// Name of the signal; lives as long as the record.
    const std::string& signal() const { return signal_; }
    /// Address of the subscriber, which may be gone.
    const void* subscriber() const { return subscriber_; }

private:
    std::string signal_;
    const void* subscriber_;
};

/// A base class that knows who is connected to which of its named signals.
///
/// It records connections and holds the lock of the classes that derive from it; it sends nothing.
/// Subscribers are told apart by address, aren't owned and are never called.
/// Threads: locked inside.
class GATECAST_EXPORT SignalPublisher {
public:
    SignalPublisher();
    SignalPublisher(const SignalPublisher&) = delete;
    SignalPublisher& operator=(const SignalPublisher&) = delete;

    // The order of the virtual operations is ABI.
    virtual ~SignalPublisher();
    /// A hook for subclasses; nothing calls it.
    virtual void declareSignals();
    /// Diagnostics: the connected signals by name, a line for each with the count of its
    /// subscribers. Only of the signals named (all for an empty list), and of the signal of the
    /// given connection while that one stands (any for null). `prefix` begins each line.
    /// @{
    virtual void printDebugInfo(std::ostream& out, const std::string& prefix,
                                const std::vector<std::string>& signals,
                                const ConnectionImpl* connection);
    virtual void printDebugInfo(std::ostream& out, const std::vector<std::string>& signals);
    virtual void printDebugInfo(std::ostream& out);
    /// @}

    /// Connects the subscriber to the signal of that name; false when it is connected already.
    /// Bad input: null is no subscriber, nothing happens.
    bool connect(const std::string& name, const void* subscriber);
    /// Undoes `connect`; false when the subscriber isn't connected.
    bool disconnect(const std::string& name, const void* subscriber);
    /// Whether some subscriber is connected to the signal of that name.
    bool isConnected(const std::string& name) const;

protected:
    /// The recursive lock, for subclasses to hold around their own work.
    Mutex& mutex() const { return mutex_; }

private:
    mutable Mutex mutex_;
    std::map<std::string, std::set<const void*>> subscribers_;
};

} // namespace qx
