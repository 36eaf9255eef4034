// SPDX-License-Identifier: MIT
#pragma once

#include "device/GatecastConversation.h"
#include "json/JsonParser.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A device client with all operations that an application implements; a page overrides those that
/// it is about. What it sends gathers in a list.
class QuietPhone : public qx::GatecastConversation {
public:
    std::vector<json::Request> sent;

    void sendJsonText(const char* text, int size) override {
        sent.emplace_back(json::JsonParser::parseTree(text, size));
    }
    /// What the device answers, as a socket would hand it over.
    void receive(const std::string& update) {
        receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(update.data()),
                                static_cast<unsigned int>(update.size()));
    }
    /// The method that was sent last, with its parameters.
    std::string lastCall() const {
        const json::Request& last = sent.back();
        return std::string(last.methodName()) + " " + last["params"].charsValue();
    }

protected:
    using Text = qx::IntrusiveString;
    using Book = std::map<std::string, std::string>;
    using Image = boost::shared_ptr<std::string>;

    void deviceRegistered(const Text&, const Text&, const Text&) override {}
    void addresseesListed(Book) override {}
    void singleAddressee(const Text&, const Text&, const Text&) override {}
    void showMessage(const Text&) override {}
    void mailBoxData(const json::List&, int) override {}
    void mailPreviewReady(std::int64_t, Image) override {}
    void livePreviewReady(Image) override {}
    void contactRegistered(const Text&, const Text&) override {}
    void contactNumbersListed(Book) override {}
    void singleContactNumber(const Text&, const Text&) override {}
};
