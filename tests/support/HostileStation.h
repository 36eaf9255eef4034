// SPDX-License-Identifier: MIT
#pragma once

#include "support/Phone.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// A peer that means no good and speaks to a phone without anything between them: what it says is a
/// header update, what the phone sends is kept. The phone has set itself up, unanswered, and knows
/// no version; the requests of that are forgotten.
class HostileStation {
public:
    Phone phone;

    HostileStation() {
        phone.setupSubscriptions("token");
        phone.sent.clear();
    }

    /// One update of exactly these bytes, with nothing behind them.
    void frame(std::string_view bytes) {
        const std::unique_ptr<unsigned char[]> buffer(new unsigned char[bytes.size()]);
        if (!bytes.empty()) std::memcpy(buffer.get(), bytes.data(), bytes.size());
        phone.receiveJsonHeaderUpdate(buffer.get(), static_cast<unsigned int>(bytes.size()));
    }
    /// One update of a text, a zero byte and a picture.
    void frame(const std::string& text, std::string_view picture) {
        std::string bytes = text;
        bytes += '\0';
        bytes += picture;
        frame(bytes);
    }
    /// An answer or event: `members` as in `"result":[1]`, `id` as it stands in the text.
    void answer(const std::string& id, const std::string& members) {
        frame("{" + members + ",\"id\":" + id + "}");
    }
    void answer(long long id, const std::string& members) { answer(std::to_string(id), members); }

    /// All that an application can see of the phone, and what waits in it.
    std::string state() const {
        std::ostringstream text;
        const auto& status = phone.doorAndLightStatus();
        text << "version " << phone.versionMajor << '.' << phone.versionMinor << ", mode "
             << phone.playbackMode << ", door "
             << (status.doorStatusKnown ? '"' + std::string(status.doorStatus) + '"' : "unknown")
             << ", light "
             << (!status.lightStatusKnown ? "unknown"
                 : status.lightOn         ? "on"
                                          : "off")
             << ", batch " << phone.mailBoxBatch << ", message " << phone.currentEntry.sequenceNo()
             << ", queue " << phone.playQueue.size() << ", images " << phone.previewCache->size()
             << ", previews " << phone.previewKeyByRequest.size() << '/'
             << phone.previewRequestByKey.size() << ", pending " << phone.pendingRequests.size()
             << ", methods " << phone.methodNames.size() << ", told " << phone.told.size()
             << ", sent " << phone.sent.size();
        return text.str();
    }

    /// Whether a good event and a good preview are handled as if nothing had been. The event, the
    /// preview and what they leave are forgotten again, all but the door's status.
    testing::AssertionResult goesOn() {
        const testing::AssertionResult event = takesAnEvent();
        if (!event) return event;
        const long long key = 1000000 + rounds_;
        const std::size_t sent = phone.sent.size();
        const std::size_t told = phone.told.size();
        const auto requests = phone.previewKeyByRequest;
        const auto keys = phone.previewRequestByKey;
        if (phone.downloadMailPreviewImage(key, 320, 240, true)) {
            return testing::AssertionFailure() << "an image that nobody has sent";
        }
        if (phone.sent.size() != sent + 1) {
            return testing::AssertionFailure() << "the preview isn't asked for";
        }
        const json::Request request(json::JsonParser::parseTree(phone.sent.back()));
        const auto noted = phone.previewRequestByKey.find(key);
        if (noted == phone.previewRequestByKey.end() || noted->second != request.referenceId()) {
            return testing::AssertionFailure() << "the preview isn't noted";
        }
        frame("{\"result\":true,\"id\":" + std::to_string(request.referenceId()) + "}",
              "header\xFF\xD8 picture");
        if (phone.told.size() != told + 1 || phone.told.back() != "mailPreviewReady(" +
                                                                      std::to_string(key) +
                                                                      ", \xFF\xD8 picture)") {
            return testing::AssertionFailure() << "the preview doesn't arrive";
        }
        if (phone.previewKeyByRequest != requests || phone.previewRequestByKey != keys) {
            return testing::AssertionFailure() << "the preview isn't forgotten";
        }
        phone.previewCache->remove(static_cast<unsigned long long>(key));
        phone.images.clear();
        phone.told.pop_back();
        phone.sent.pop_back();
        return testing::AssertionSuccess();
    }

    /// Whether a good event is handled as if nothing had been.
    testing::AssertionResult takesAnEvent() {
        const std::string word = "open " + std::to_string(++rounds_);
        const std::size_t sent = phone.sent.size();
        const std::size_t told = phone.told.size();
        frame("{\"result\":[\"" + word + "\"],\"id\":101}");
        if (std::string(phone.doorAndLightStatus().doorStatus) != word) {
            return testing::AssertionFailure() << "the event isn't handled";
        }
        if (phone.sent.size() != sent || phone.told.size() != told) {
            return testing::AssertionFailure() << "the event is answered or told";
        }
        if (phone.attachmentData != nullptr) {
            return testing::AssertionFailure() << "an attachment is left";
        }
        return testing::AssertionSuccess();
    }

private:
    long long rounds_ = 0;
};

/// The bytes as they can be read in the message of a failure, at most the first 200.
inline std::string shown(std::string_view bytes) {
    static const char* const digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes.substr(0, 200)) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= 0x20 && code < 0x7F) {
            text += byte;
        } else {
            text += std::string("\\x") + digits[code / 16] + digits[code % 16];
        }
    }
    return bytes.size() > 200 ? text + "..." : text;
}

} // namespace test
