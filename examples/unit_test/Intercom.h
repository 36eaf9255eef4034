// SPDX-License-Identifier: MIT
#pragma once

#include "shared/QuietClient.h"

#include <string>

/// The phone in the hall: what it shows, without a screen. How its requests leave isn't said here:
/// in the product a subclass sends them, in the tests the station takes them.
class Intercom : public shared::QuietClient {
public:
    std::string shown = "not connected"; ///< the line on its screen
    int visitors = 0;                    ///< how often a bell has rung

    /// To be called when the connection stands.
    void connected() {
        shown = "ready";
        setupSubscriptions("hall");
    }
    /// To be called when it is lost.
    void disconnected() { shown = "not connected"; }

    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        const bool good = QuietClient::handleResponse(request, response, result);
        if (response.referenceId() == SubscribeDevice && response.firstResult() == "bell") {
            const json::List& event = response.resultList(); // "bell", true, and perhaps a name
            if (event.at(1).booleanValue()) ++visitors;
            shown = !event.at(1).booleanValue() ? "ready"
                    : event.size() > 2          ? "visitor: " + std::string(event.at(2))
                                                : "visitor: front door";
        }
        return good;
    }

protected:
    void showMessage(const Text& text) override { shown = std::string(text); }
    void deviceRegistered(const Text&, const Text& name, const Text&) override {
        shown = "ready for " + std::string(name);
    }
    // A station that doesn't know this phone lists its addressees: it belongs to the first one.
    void addresseesListed(Book addressees) override {
        if (!addressees.empty()) addDevice("hall", "Hall", addressees.begin()->first.c_str());
    }
    void singleAddressee(const Text& id, const Text&, const Text&) override {
        addDevice("hall", "Hall", id);
    }
};
