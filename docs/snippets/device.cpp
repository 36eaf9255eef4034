// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"
#include "expect.h"

#include <iostream>
#include <string>
#include <vector>

namespace {

class Phone : public qx::GatecastConversation {
public:
    std::vector<std::string> sent; // stands for a socket

    void sendJsonText(const char* text, int size) override {
        sent.emplace_back(text, static_cast<std::size_t>(size));
    }

protected:
    void deviceRegistered(const qx::IntrusiveString& first, const qx::IntrusiveString&,
                          const qx::IntrusiveString&) override {
        std::cout << "registered as " << first << '\n';
    }
    void addresseesListed(std::map<std::string, std::string> addressees) override {
        for (const auto& [key, label] : addressees) {
            std::cout << key << ": " << label << '\n';
        }
    }
    void singleAddressee(const qx::IntrusiveString& first, const qx::IntrusiveString&,
                         const qx::IntrusiveString&) override {
        addDevice("phone-1", "Kitchen phone", first); // the only one: take it
    }
    void showMessage(const qx::IntrusiveString& text) override { std::cout << text << '\n'; }
    void mailBoxData(const json::List& result, int batch) override {
        std::cout << "batch " << batch << ": " << result.size() << " messages\n";
    }
    void mailPreviewReady(std::int64_t, boost::shared_ptr<std::string>) override {}
    void livePreviewReady(boost::shared_ptr<std::string>) override {}
    void contactRegistered(const qx::IntrusiveString&, const qx::IntrusiveString&) override {}
    void contactNumbersListed(std::map<std::string, std::string>) override {}
    void singleContactNumber(const qx::IntrusiveString&, const qx::IntrusiveString&) override {}
};

void feed(Phone& phone, const std::string& update) {
    phone.receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(update.data()),
                                  static_cast<unsigned int>(update.size()));
}

void open_and_command() {
    Phone phone;
    phone.open();                        // asks for the device's methods
    phone.setupSubscriptions("phone-1"); // version, registration, light and door events
    phone.triggerDoor();
    phone.triggerLight();
    phone.acknowledgeBell(true);
    phone.live();
    EXPECT(phone.sent.size() == 9);
}

void events() {
    Phone phone;
    phone.setupSubscriptions("phone-1");
    feed(phone, "{\"id\":101,\"result\":[\"door_open\"]}");
    feed(phone, "{\"id\":102,\"result\":[true]}");
    const auto& status = phone.doorAndLightStatus();
    EXPECT(status.doorStatusKnown && status.doorStatus == "door_open");
    EXPECT(status.lightStatusKnown && status.lightOn);
}

void unknown_phone() {
    Phone phone;
    phone.setupSubscriptions("phone-1");
    feed(phone, R"({"id":1000,"result":{"version_major":1,"version_minor":2}})");
    feed(phone, R"({"id":103,"error":[14,"who is that?"]})");
    feed(phone, R"({"id":1004,"result":[["7","Anna Quill","ground floor"]]})");
    EXPECT(phone.sent.back().find(R"(["phone-1",[7],"Kitchen phone"])") != std::string::npos);
}

} // namespace

int main() {
    open_and_command();
    events();
    unknown_phone();
}
