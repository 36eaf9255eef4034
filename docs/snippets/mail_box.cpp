// SPDX-License-Identifier: MIT
#include "expect.h"
#include "phone.h"

#include <iostream>
#include <string>
#include <vector>

namespace {

class Phone : public QuietPhone {
public:
    std::vector<qx::MailBoxEntry> messages;

protected:
    void mailBoxData(const json::List& result, int batch) override {
        if (batch == 1) messages.clear(); // the first one of a new list
        for (const json::Variant& row : result) {
            messages.emplace_back(row);
        }
    }
};

const char* const kRows =
    R"([{"appl_camera_id":"front","alarmimage":"101.7","timestamp":1000,"endfilter":"A"},)"
    R"({"appl_camera_id":"front","alarmimage":"102.7","timestamp":2000,"endfilter":"B"}])";

void list() {
    Phone phone;
    phone.readMailBox("1");
    EXPECT(phone.lastCall() == "mailboxdata [1]");
    phone.receive(R"({"id":104,"result":)" + std::string(kRows) + "}");
    phone.receive(R"({"id":104,"result":[{"alarmimage":"103.1"}]})");

    EXPECT(phone.messages.size() == 3);
    const qx::MailBoxEntry& first = phone.messages[0];
    EXPECT(first.sequenceNo() == 101 && first.eventIndex() == 0);
    EXPECT(first.cameraId() == qx::IntrusiveString("front"));
    EXPECT(first.timestamp() == 1000.0);
    EXPECT(first.record()["endfilter"].charsValue() == std::string("A")); // all that was sent
}

void play() {
    Phone phone;
    phone.setupSubscriptions("phone-1");
    phone.readMailBox("1");
    phone.receive(R"({"id":104,"result":)" + std::string(kRows) + "}");
    const std::vector<qx::MailBoxEntry> messages = phone.messages;
    phone.live();
    phone.receive(R"({"id":1001,"result":true})");

    phone.play(messages[0], true, false); // "endfilter", then "play"
    EXPECT(phone.lastCall() == R"(play ["1000@101E0"])");
    const json::Request played = phone.sent.back();
    phone.receive(R"({"result":true,"id":)" + std::to_string(played.referenceId()) + "}");

    phone.play(messages[1], true, false); // a recording plays: it waits in the queue
    EXPECT(phone.lastCall() == R"(play ["1000@101E0"])");
    phone.pause(); // its answer serves the queue
    phone.receive(R"({"result":true})");
    EXPECT(phone.lastCall() == R"(play ["2000@102E0"])");
}

void mark_and_delete() {
    Phone phone;
    phone.readMailBox("1");
    phone.receive(R"({"id":104,"result":)" + std::string(kRows) + "}");
    const qx::MailBoxEntry& message = phone.messages[0];

    phone.markMessageSeen(message, true);
    EXPECT(phone.lastCall() == "message_delete [101,0,true]");
    phone.deleteMessage(message);
    EXPECT(phone.lastCall() == "message_delete [101,0]");
}

} // namespace

int main() {
    list();
    play();
    mark_and_delete();
}
