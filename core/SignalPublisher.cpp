// SPDX-License-Identifier: MIT
#include "core/SignalPublisher.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace qx {

ConnectionImpl::ConnectionImpl(std::string signal, const void* subscriber)
    : signal_(std::move(signal)), subscriber_(subscriber) {}

SignalPublisher::SignalPublisher() = default;
SignalPublisher::~SignalPublisher() = default;
void SignalPublisher::declareSignals() {}

void SignalPublisher::printDebugInfo(std::ostream& out, const std::string& prefix,
                                     const std::vector<std::string>& signals,
                                     const ConnectionImpl* connection) {
    const MutexLocker locker(mutex_, true);
    const auto wanted = [&](const std::string& name, const std::set<const void*>& subscribers) {
        const bool named =
            signals.empty() || std::find(signals.begin(), signals.end(), name) != signals.end();
        return named &&
               (connection == nullptr ||
                (connection->signal() == name && subscribers.count(connection->subscriber()) != 0));
    };
    for (const auto& [name, subscribers] : subscribers_) {
        if (!wanted(name, subscribers)) continue;
        // As text: a stream may group the digits.
        out << prefix << name << ": " << std::to_string(subscribers.size()) << " subscriber"
            << (subscribers.size() == 1 ? "" : "s") << '\n';
    }
}

void SignalPublisher::printDebugInfo(std::ostream& out, const std::vector<std::string>& signals) {
    printDebugInfo(out, std::string(), signals, nullptr);
}

void SignalPublisher::printDebugInfo(std::ostream& out) {
    printDebugInfo(out, std::vector<std::string>());
}

bool SignalPublisher::connect(const std::string& name, const void* subscriber) {
    if (subscriber == nullptr) return false;
    const MutexLocker locker(mutex_, true);
    return subscribers_[name].insert(subscriber).second;
}

bool SignalPublisher::disconnect(const std::string& name, const void* subscriber) {
    const MutexLocker locker(mutex_, true);
    const auto entry = subscribers_.find(name);
    if (entry == subscribers_.end() || entry->second.erase(subscriber) == 0) return false;
    if (entry->second.empty()) subscribers_.erase(entry);
    return true;
}

bool SignalPublisher::isConnected(const std::string& name) const {
    const MutexLocker locker(mutex_, true);
    return subscribers_.count(name) != 0;
}

} // namespace qx
