// SPDX-License-Identifier: MIT
#pragma once

#include "station/CameraView.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

namespace station {

/// A message that a visitor has left.
struct Message {
    std::int64_t sequence = 0;        ///< its number; no two messages of a station have the same
    std::int64_t mailBox = 0;         ///< number of the mail box that holds it
    std::string sender;               ///< who speaks
    std::int64_t tenthsOfSeconds = 0; ///< how long it is
    bool seen = false;                ///< whether it was marked as seen
    CameraView view;                  ///< what the camera saw, and when

    /// By which previews name it.
    std::int64_t recordId() const;
    /// As the mail box lists it.
    json::Variant row() const;
};

/// The mail boxes of a station: 1 of the front door, 2 of the yard, and 3, into which nobody
/// speaks. A few messages are there from the beginning. Threads: one at a time.
class MailBoxes {
public:
    /// @param capacity  messages that a mail box keeps.
    explicit MailBoxes(std::size_t capacity);

    /// The messages of a mail box, oldest first; null when there is no such mail box.
    const std::deque<Message>* messagesOf(std::int64_t mailBox) const;
    /// Null when there is none. The message lives until one is added or removed.
    /// @{
    const Message* find(std::int64_t sequence) const;
    Message* find(std::int64_t sequence);
    const Message* findRecord(std::int64_t recordId) const;
    /// @}
    /// Adds a message to its mail box under the next number, which becomes its visitor, too. A full
    /// mail box loses its oldest message.
    /// Bad input: a mail box that isn't there keeps nothing.
    void record(Message message);
    /// Bad input: a message that isn't there can't be removed.
    void remove(std::int64_t sequence);

private:
    void add(Message message);

    const std::size_t capacity_;
    std::map<std::int64_t, std::deque<Message>> boxes_;
    std::int64_t lastSequence_ = 0;
};

} // namespace station
