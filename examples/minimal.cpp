// SPDX-License-Identifier: MIT
// How do I open a door? The least that an application writes: a way out, and what it wants to hear.

#include "device/GatecastConversation.h"

#include <iostream>
#include <map>
#include <string>

class Phone : public qx::GatecastConversation {
public:
    // Here your socket sends; this one only shows what would leave.
    void sendJsonText(const char* text, int size) override {
        const json::Request request(json::JsonParser::parseTree(text, size));
        std::cout << "sent: " << request.methodName() << " " << request["params"] << "\n";
    }
    // And this is what your socket calls with each frame that arrives.
    void arrived(const std::string& frame) {
        receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(frame.data()),
                                static_cast<unsigned int>(frame.size()));
    }

protected:
    using Text = qx::IntrusiveString;
    using Book = std::map<std::string, std::string>;
    using Image = boost::shared_ptr<std::string>;
    // What the device tells: implement what your application needs.
    void showMessage(const Text& text) override { std::cout << "message: " << text << "\n"; }
    void deviceRegistered(const Text&, const Text&, const Text&) override {}
    void addresseesListed(Book) override {}
    void singleAddressee(const Text&, const Text&, const Text&) override {}
    void mailBoxData(const json::List&, int) override {}
    void mailPreviewReady(std::int64_t, Image) override {}
    void livePreviewReady(Image) override {}
    void contactRegistered(const Text&, const Text&) override {}
    void contactNumbersListed(Book) override {}
    void singleContactNumber(const Text&, const Text&) override {}
};

int main() {
    Phone phone;
    phone.setupSubscriptions("phone-17");
    phone.arrived(R"({"result": null, "error": [30, "the line is busy"], "id": 103})");

    phone.triggerDoor();
    phone.arrived(R"({"result": ["door_open"], "id": 101})");
    std::cout << "the door says: " << phone.doorAndLightStatus().doorStatus << "\n";
}
