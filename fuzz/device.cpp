// SPDX-License-Identifier: MIT
// The device client with a transport that only keeps what it is given: commands and header updates
// of every shape, in any order. The client lives, sends little, and a good event still counts. An
// input that begins with '{' is one header update as it stands.

#include "device/GatecastConversation.h"
#include "fuzz/support/Messages.h"
#include "fuzz/support/Require.h"
#include "fuzz/support/Schemas.h"
#include "support/Phone.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

constexpr std::size_t kMostEvents = 60;

class Client {
public:
    explicit Client(fuzz::Choices& choices) : choices_(choices) {
        phone_.whenTold = [this](const std::string&) { inside(); };
    }

    void run() {
        for (std::size_t events = 0; events < kMostEvents && !choices_.over(); ++events) {
            if (choices_.chance(40)) {
                command();
            } else {
                update();
            }
        }
        finish();
    }

    void receive(const std::string& frame) {
        // A block of its own size, so that reading past it is seen.
        const std::unique_ptr<unsigned char[]> bytes(new unsigned char[frame.size()]);
        for (std::size_t i = 0; i < frame.size(); ++i) {
            bytes[i] = static_cast<unsigned char>(frame[i]);
        }
        phone_.sent.clear();
        commandsInside_ = 0;
        phone_.receiveJsonHeaderUpdate(bytes.get(), static_cast<unsigned int>(frame.size()));
        fuzz::require(phone_.attachmentData == nullptr, "no attachment stays behind");
        fuzz::require(phone_.sent.size() <= 2 + 8 * commandsInside_,
                      "an update makes the client send little");
    }

    void finish() {
        phone_.whenTold = nullptr;
        receive("{\"result\":[\"bolt_open\"],\"id\":101}");
        fuzz::require(phone_.doorAndLightStatus().doorStatus == "bolt_open",
                      "a good event still counts");
        receive("{\"result\":[true],\"id\":102}");
        fuzz::require(phone_.doorAndLightStatus().lightOn, "a good event still counts");
    }

private:
    void command() {
        const int x = static_cast<int>(choices_.integer());
        const int y = static_cast<int>(choices_.integer());
        const bool flag = choices_.flag();
        switch (choices_.below(20)) {
        case 0:
            return phone_.setupSubscriptions(choices_.bytes(8));
        case 1:
            return phone_.addDevice("1", choices_.bytes(4), choices_.bytes(4));
        case 2:
            return phone_.ptzClick(x, y, flag);
        case 3:
            return phone_.ptzPan(x, y, flag);
        case 4:
            return phone_.ptzZoom(x, flag);
        case 5:
            return phone_.acknowledgeBell(flag);
        case 6:
            return phone_.triggerDoor();
        case 7:
            return phone_.setDisplayMode(choices_.bytes(8));
        case 8:
            return phone_.live();
        case 9:
            return phone_.pause();
        case 10:
            return phone_.play();
        case 11:
            return phone_.play(choices_.real(), choices_.real(), flag);
        case 12:
            return phone_.readMailBox(choices_.bytes(4));
        case 13:
            return phone_.play(message(), flag, flag);
        case 14:
            return phone_.deleteMessage(message());
        case 15:
            return phone_.markMessageSeen(message(), flag);
        case 16:
            static_cast<void>(phone_.downloadMailPreviewImage(choices_.integer(), x, y, flag));
            return;
        case 17:
            static_cast<void>(phone_.downloadLivePreviewImage(x, y, flag));
            return;
        case 18:
            return phone_.clearPreviewCache();
        default:
            return phone_.open();
        }
    }

    /// What an application does when it is told something.
    void inside() {
        if (depth_ > 2 || choices_.over() || !choices_.chance(30)) return;
        ++depth_;
        ++commandsInside_;
        command();
        --depth_;
    }

    qx::MailBoxEntry message() {
        if (!phone_.playQueue.empty() && choices_.flag()) {
            return phone_.playQueue[choices_.below(phone_.playQueue.size() % 200 + 1) %
                                    phone_.playQueue.size()];
        }
        json::Variant row;
        row["rid"] = choices_.below(4);
        row["alarmimage"] = choices_.bytes(6);
        row["timestamp"] = choices_.real();
        row["endfilter"] = fuzz::make_value(choices_, 1);
        return qx::MailBoxEntry(choices_.chance(80) ? row : fuzz::make_value(choices_, 2));
    }

    void update() {
        static constexpr std::int64_t ids[] = {1, 101, 102, 103, 104, 0, 1000, 1001};
        const std::int64_t id = choices_.flag()
                                    ? choices_.pick(ids)
                                    : 1000 + static_cast<std::int64_t>(choices_.below(40));
        std::string frame = fuzz::make_response(choices_, id);
        if (choices_.chance(30)) frame += std::string(1, '\0') + choices_.bytes(12);
        if (choices_.chance(20)) frame += std::string(1, '\0') + "\xFF\xD8 image";
        if (choices_.chance(20)) frame = fuzz::mangled(choices_, frame);
        if (choices_.chance(3)) frame = choices_.bytes(60);
        receive(frame);
    }

    fuzz::Choices& choices_;
    test::Phone phone_;
    std::size_t depth_ = 0;
    std::size_t commandsInside_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Silence silence;
    fuzz::EmptyRegistry::make();
    fuzz::Choices choices(data, size);
    Client client(choices);
    if (size > 0 && data[0] == '{') {
        const std::string frame = choices.rest();
        for (std::size_t i = 0; i < 2; ++i) {
            client.receive(frame);
        }
    }
    client.run();
    return 0;
}
