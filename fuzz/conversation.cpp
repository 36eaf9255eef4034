// SPDX-License-Identifier: MIT
// Calls and what a peer may send, in any order, whole and in pieces, with listeners that call and
// feed from inside: each call leaves as a text that reads as its request, and afterwards a good
// answer still finds its request. An input that begins with '{' is one text as it stands, received
// as the answer to "list_methods" or to a call, by the id that it names.

#include "rpc/Conversation.h"
#include "fuzz/support/Messages.h"
#include "fuzz/support/Require.h"
#include "fuzz/support/Schemas.h"
#include "support/RecordingConversation.h"
#include "json/JsonParser.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kMostEvents = 60; // calls and texts, those from inside included
constexpr std::size_t kDeepest = 4;     // of what is done from inside

class Client {
public:
    Client(fuzz::Choices& choices, bool wholeDocuments)
        : choices_(choices), wholeDocuments_(wholeDocuments), conversation_(wholeDocuments) {
        conversation_.registerListener(&counting_);
        conversation_.whenSent = [this](const std::string& text) { sent(text); };
        counting_.whenHandled = [this](const json::Request&, const json::Response&) { inside(); };
        counting_.whenWarned = [this](const json::Request&) { inside(); };
    }

    /// Receives one text as the answer to what it names.
    void receive(const std::string& text) {
        conversation_.open();
        static_cast<void>(conversation_.call("trigger", json::Variant("door")));
        conversation_.readJsonText(text.data(), static_cast<int>(text.size()), true);
        for (const char* name : fuzz::kMethodNames) {
            static_cast<void>(conversation_.call2(name, "text", 5));
        }
    }

    void run() {
        while (!choices_.over() && events_ < kMostEvents) {
            step();
        }
        finish();
    }

private:
    void step() {
        ++events_;
        counting_.answer = choices_.flag();
        switch (choices_.below(12)) {
        case 0:
        case 1: {
            const json::Variant params = fuzz::make_value(choices_, 2);
            const fuzz::Shape shape = fuzz::shape_of(params);
            readable_ = readable_ && !shape.withoutText && !shape.lowestInteger;
            static_cast<void>(conversation_.call(method(), params, id(), choices_.chance(20)));
            break;
        }
        case 2:
            static_cast<void>(conversation_.subscribe0(method(), id()));
            break;
        case 3:
            static_cast<void>(conversation_.repeat(id()));
            break;
        case 4:
            conversation_.open();
            break;
        case 5:
            if (choices_.chance(10)) conversation_.close();
            break;
        case 6:
            attach();
            break;
        case 7: {
            std::ostringstream help;
            conversation_.printMethodHelp(help);
            break;
        }
        case 8:
            // Whoever is unregistered may go on being called and lives on.
            if (choices_.flag()) {
                conversation_.unregisterListener(&counting_);
            } else {
                conversation_.registerListener(&counting_);
            }
            break;
        default:
            receive();
            break;
        }
    }

    /// A listener or the transport does what the application may do from inside.
    void inside() {
        if (depth_ == kDeepest || events_ >= kMostEvents || choices_.over()) return;
        if (!choices_.chance(30)) return;
        ++depth_;
        step();
        --depth_;
    }

    void sent(const std::string& text) {
        if (wholeDocuments_ && readable_) {
            fuzz::require(json::JsonParser::parseTree(text).isObject(),
                          "a request leaves as a text", text);
        }
        inside();
    }

    void receive() {
        std::string text = fuzz::make_response(choices_, id());
        if (choices_.chance(20)) text = fuzz::mangled(choices_, text);
        if (choices_.chance(3)) text = choices_.bytes(60);
        const bool complete = choices_.chance(90);
        if (choices_.chance(60)) {
            conversation_.readJsonText(text.data(), static_cast<int>(text.size()), complete);
            return;
        }
        const std::size_t cut = choices_.below(256) % (text.size() + 1);
        conversation_.readJsonText(text.data(), static_cast<int>(cut), false);
        conversation_.readJsonText(text.data() + cut, static_cast<int>(text.size() - cut),
                                   complete);
    }

    void attach() {
        attachment_ = choices_.bytes(12);
        if (choices_.flag()) {
            conversation_.setBinaryAttachment(nullptr, 0);
        } else {
            conversation_.setBinaryAttachment(attachment_.data(),
                                              static_cast<int>(attachment_.size()));
        }
        // What is attached belongs to the next text: a block that moves must not stay attached.
        receive();
        conversation_.setBinaryAttachment(nullptr, 0);
    }

    /// After all that a call still gets its answer.
    void finish() {
        counting_.whenHandled = nullptr;
        counting_.whenWarned = nullptr;
        conversation_.whenSent = nullptr;
        conversation_.readJsonText("", 0, true); // ends a text that was left open
        test::CountingListener last;
        conversation_.registerListener(&last);
        const std::int64_t number = conversation_.call("last", json::Variant(1)).referenceId();
        const std::string answer = "{\"result\":[5],\"id\":" + std::to_string(number) + "}";
        conversation_.readJsonText(answer.data(), static_cast<int>(answer.size()), true);
        fuzz::require(last.responses.size() == 1, "a good answer is delivered once");
        fuzz::require(last.responses.front().request.methodName() == "last",
                      "a good answer finds its request");
        fuzz::require(!conversation_.isPending(number), "what is answered isn't pending");
        conversation_.unregisterListener(&last); // is the last one and stays until the end
    }

    const char* method() { return choices_.pick(fuzz::kMethodNames); }
    std::int64_t id() {
        switch (choices_.below(4)) {
        case 0:
            return json::Conversation::AUTO_ID;
        case 1:
            return 1000 + static_cast<std::int64_t>(choices_.below(12));
        case 2:
            return static_cast<std::int64_t>(choices_.below(4));
        default: {
            const std::int64_t any = choices_.integer();
            readable_ = readable_ && any != INT64_MIN; // prints and doesn't read
            return any;
        }
        }
    }

    fuzz::Choices& choices_;
    const bool wholeDocuments_;
    test::CountingListener counting_;
    test::RecordingConversation conversation_;
    std::string attachment_;
    std::size_t events_ = 0;
    std::size_t depth_ = 0;
    bool readable_ = true; // no request holds what JSON has no text for
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Silence silence;
    fuzz::EmptyRegistry::make();
    fuzz::Choices choices(data, size);
    if (size > 0 && data[0] == '{') {
        const std::string text = choices.rest();
        Client client(choices, true);
        client.receive(text);
        client.run();
    } else {
        const bool wholeDocuments = choices.flag();
        Client(choices, wholeDocuments).run();
    }
    return 0;
}
