// SPDX-License-Identifier: MIT
#pragma once

#include "shared/QuietClient.h"
#include "json/JsonParser.h"

#include <string>
#include <vector>

/// A device client of which a page overrides the operations that it is about. What it sends gathers
/// in a list.
class QuietPhone : public shared::QuietClient {
public:
    std::vector<json::Request> sent;

    void sendJsonText(const char* text, int size) override {
        sent.emplace_back(json::JsonParser::parseTree(text, size));
    }
    /// What the device answers, as a socket would hand it over.
    void receive(const std::string& update) { arrived(update); }
    /// The method that was sent last, with its parameters.
    std::string lastCall() const {
        const json::Request& last = sent.back();
        return std::string(last.methodName()) + " " + last["params"].charsValue();
    }
};
