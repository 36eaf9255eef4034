// SPDX-License-Identifier: MIT
// How do I get from nothing to an open door? Adds this phone to a door station, and opens its door.
//
// usage: first_door HOST PORT

// Copies of examples/shared/QuietClient.h and examples/transports/TcpTransport.h.
#include "QuietClient.h"
#include "TcpTransport.h"

#include <boost/asio.hpp>

#include <cstddef>
#include <iostream>
#include <string>

namespace {

const char* const kToken = "kitchen-phone-17"; // by this text the station knows the phone again

class Phone : public shared::QuietClient {
public:
    explicit Phone(transports::TcpTransport& station) : station_(station) {}
    bool opened() const { return opened_; }

    // What leaves.
    void sendJsonText(const char* text, int size) override {
        station_.send(std::string(text, static_cast<std::size_t>(size)));
    }

    // An event of the door comes under the id of its subscription.
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        if (!QuietClient::handleResponse(request, response, result)) return false;
        if (response.referenceId() == SubscribeDoor) {
            const qx::IntrusiveString& door = doorAndLightStatus().doorStatus;
            std::cout << "the door says: " << door << std::endl;
            if (door == "door_open") opened_ = true;
            if (door == "door_closed" && opened_) station_.stop(); // it has fallen shut: done
        }
        return true;
    }

protected:
    // The station doesn't know this phone: it offers those who live here. Take the first of them.
    void addresseesListed(Book people) override {
        const auto& [number, name] = *people.begin();
        std::cout << "adding this phone to " << name << std::endl;
        addDevice(kToken, "Kitchen phone", number);
    }
    void singleAddressee(const Text& number, const Text&, const Text&) override {
        addDevice(kToken, "Kitchen phone", number);
    }
    void deviceRegistered(const Text&, const Text& name, const Text&) override {
        std::cout << "registered with " << name << std::endl;
        triggerDoor();
    }
    void showMessage(const Text& text) override { std::cout << text << std::endl; }

private:
    transports::TcpTransport& station_;
    bool opened_ = false;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: first_door HOST PORT\n";
        return 1;
    }
    boost::asio::io_context io;
    transports::TcpTransport station(io, argv[1], argv[2]);
    Phone phone(station);
    station.connected = [&phone] { phone.setupSubscriptions(kToken); };
    station.received = [&phone](const std::string& update) { phone.arrived(update); };
    station.lost = [](const std::string& why) {
        std::cerr << "no connection (" << why << "), trying again" << std::endl;
    };
    station.start();
    io.run(); // until `stop`
    return phone.opened() ? 0 : 1;
}
