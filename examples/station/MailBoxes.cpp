// SPDX-License-Identifier: MIT
#include "station/MailBoxes.h"

#include <algorithm>
#include <utility>

namespace station {

namespace {

constexpr std::int64_t kRecordIdOfNumber0 = 9000;

Message recorded(std::int64_t sequence, std::int64_t mailBox, const char* sender,
                 std::int64_t tenthsOfSeconds, double time, bool doorOpen, bool lightOn) {
    Message message;
    message.sequence = sequence;
    message.mailBox = mailBox;
    message.sender = sender;
    message.tenthsOfSeconds = tenthsOfSeconds;
    message.view.camera = mailBox == 1 ? "front" : "yard";
    message.view.time = time;
    message.view.doorOpen = doorOpen;
    message.view.lightOn = lightOn;
    return message;
}

} // namespace

std::int64_t Message::recordId() const { return kRecordIdOfNumber0 + sequence; }

json::Variant Message::row() const {
    json::Variant row;
    row["mailbox_id"] = mailBox;
    row["name_mailbox"] = mailBox == 1 ? "Front door" : "Yard";
    row["sender_user_id"] = 100 + sequence;
    row["name_sender"] = sender;
    row["timestamp"] = view.time;
    row["length_ds"] = tenthsOfSeconds;
    row["appl_camera_id"] = view.camera;
    row["appl_sequence_no"] = sequence;
    row["appl_event_index"] = 0;
    row["rid"] = recordId();
    row["alarmimage"] = std::to_string(sequence) + ".jpg";
    row["events"] = json::Variant::newList() << json::Variant("bell");
    row["message_seen"] = seen;
    row["endfilter"] = "message " + std::to_string(sequence);
    return row;
}

MailBoxes::MailBoxes(std::size_t capacity)
    : capacity_(capacity), boxes_{{1, {}}, {2, {}}, {3, {}}} {
    // The second and the third of March 2026.
    add(recorded(101, 1, "Parcel service", 85, 1772446504, false, false));
    add(recorded(102, 1, "Bert Rowan", 42, 1772473350, true, true));
    add(recorded(103, 1, "unknown", 12, 1772525111, false, false));
    add(recorded(104, 1, "Anna Quill", 230, 1772565645, false, true));
    add(recorded(201, 2, "unknown", 31, 1772539200, false, false));
}

const std::deque<Message>* MailBoxes::messagesOf(std::int64_t mailBox) const {
    const auto box = boxes_.find(mailBox);
    return box == boxes_.end() ? nullptr : &box->second;
}

const Message* MailBoxes::find(std::int64_t sequence) const {
    for (const auto& [id, messages] : boxes_) {
        for (const Message& message : messages) {
            if (message.sequence == sequence) return &message;
        }
    }
    return nullptr;
}

Message* MailBoxes::find(std::int64_t sequence) {
    return const_cast<Message*>(std::as_const(*this).find(sequence));
}

const Message* MailBoxes::findRecord(std::int64_t recordId) const {
    return recordId < kRecordIdOfNumber0 ? nullptr : find(recordId - kRecordIdOfNumber0);
}

void MailBoxes::record(Message message) {
    message.sequence = lastSequence_ + 1;
    add(std::move(message));
}

void MailBoxes::remove(std::int64_t sequence) {
    for (auto& [id, messages] : boxes_) {
        messages.erase(std::remove_if(messages.begin(), messages.end(),
                                      [sequence](const Message& message) {
                                          return message.sequence == sequence;
                                      }),
                       messages.end());
    }
}

void MailBoxes::add(Message message) {
    const auto box = boxes_.find(message.mailBox);
    if (box == boxes_.end()) return;
    lastSequence_ = std::max(lastSequence_, message.sequence);
    message.view.visitor = message.sequence;
    box->second.push_back(std::move(message));
    while (box->second.size() > capacity_) {
        box->second.pop_front();
    }
}

} // namespace station
