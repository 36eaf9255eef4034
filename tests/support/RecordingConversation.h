// SPDX-License-Identifier: MIT
#pragma once

#include "rpc/Conversation.h"
#include "support/SortedText.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// A conversation (`Base`) whose transport keeps what it is handed.
template <typename Base>
class Recording : public Base {
public:
    using Base::Base;

    /// Every text handed to the transport, in order.
    std::vector<std::string> sent;
    /// Called with each text, after it was kept, from inside `sendJsonText`.
    std::function<void(const std::string& text)> whenSent;

    void sendJsonText(const char* text, int size) override {
        sent.emplace_back(text, static_cast<std::size_t>(size));
        const std::string own = sent.back(); // `sent` may grow meanwhile
        if (whenSent) whenSent(own);
    }

    /// The text at the index with sorted keys, "" when fewer were sent.
    std::string sentText(std::size_t index) const {
        return index < sent.size() ? sorted_text(sent[index]) : std::string();
    }

    /// Feeds one whole text.
    void receive(std::string_view text) {
        this->readJsonText(text.data(), static_cast<int>(text.size()), true);
    }
};

/// What subclasses of a conversation see, for tests.
class RecordingConversation : public Recording<json::Conversation> {
public:
    using Recording<json::Conversation>::Recording;

    using json::Conversation::attachmentData;
    using json::Conversation::attachmentSize;
    using json::Conversation::jsonParser;
    using json::Conversation::jsonPrinter;
    using json::Conversation::lastId;
    using json::Conversation::methodNames;
    using json::Conversation::PendingRequest;
    using json::Conversation::pendingRequests;
    using json::Conversation::responseListeners;
    using json::Conversation::sharedResponseListeners;

    using json::Conversation::handleParseError;
    using json::Conversation::handleParseResult;
    using json::Conversation::handleResponse;
    using json::Conversation::notifyResponse;
    using json::Conversation::notifyValidationWarning;
    using json::Conversation::printJsonText;
    using json::Conversation::warningRequestValidation;

    bool isPending(long long id) const { return pendingRequests.count(id) == 1; }
};

/// Keeps what it is told.
class CountingListener : public json::IResponseListener {
public:
    struct Warning {
        json::Request request;
        json::Schema::ValidationResult result;
    };
    struct Delivery {
        json::Request request;
        json::Response response;
        json::Schema::ValidationResult result;
    };

    std::vector<Warning> warnings;
    std::vector<Delivery> responses;
    /// What both operations return.
    bool answer = true;
    /// Called from inside `handleResponse`, after the delivery was kept.
    std::function<void(const json::Request&, const json::Response&)> whenHandled;
    /// Called from inside `warningRequestValidation`, after the warning was kept.
    std::function<void(const json::Request&)> whenWarned;

    bool warningRequestValidation(const json::Request& request,
                                  json::Schema::ValidationResult result) override {
        warnings.push_back({request, result});
        if (whenWarned) whenWarned(request);
        return answer;
    }
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        responses.push_back({request, response, result});
        if (whenHandled) whenHandled(request, response);
        return answer;
    }

    /// The method that the response at the index answers, "" for a blank request.
    std::string methodOf(std::size_t index) const {
        return responses.at(index).request.methodName().c_str();
    }
    /// The response at the index with sorted keys.
    std::string responseText(std::size_t index) const {
        return sorted_text(responses.at(index).response);
    }
};

} // namespace test
