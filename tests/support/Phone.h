// SPDX-License-Identifier: MIT
#pragma once

#include "device/GatecastConversation.h"
#include "support/RecordingConversation.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// A device client that keeps what it sends and what it is told. Written as an application would
/// be: its constructor says nothing of the conversation.
class Phone : public Recording<qx::GatecastConversation> {
public:
    /// The operations of the application that were called, as "showMessage(text)".
    std::vector<std::string> told;
    /// The images that came with them.
    std::vector<boost::shared_ptr<std::string>> images;
    /// Called with each entry of `told`, from inside the operation.
    std::function<void(const std::string& entry)> whenTold;

    using json::Conversation::attachmentData;
    using json::Conversation::methodNames;
    using json::Conversation::pendingRequests;
    using qx::GatecastConversation::currentEntry;
    using qx::GatecastConversation::mailBoxBatch;
    using qx::GatecastConversation::playbackMode;
    using qx::GatecastConversation::playQueue;
    using qx::GatecastConversation::previewCache;
    using qx::GatecastConversation::previewKeyByRequest;
    using qx::GatecastConversation::previewRequestByKey;
    using qx::GatecastConversation::versionMajor;
    using qx::GatecastConversation::versionMinor;

    /// Feeds a header update that is all text.
    void update(std::string_view text) {
        const std::string own(text);
        receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(own.data()),
                                static_cast<unsigned int>(own.size()));
    }
    /// Feeds a header update of a text, a zero byte and a binary part.
    void update(std::string_view text, std::string_view binary) {
        update(std::string(text) + '\0' + std::string(binary));
    }
    /// The texts sent since the last call of this, with sorted keys.
    std::vector<std::string> takeSent() {
        std::vector<std::string> texts;
        for (const std::string& text : sent) {
            texts.push_back(sorted_text(text));
        }
        sent.clear();
        return texts;
    }

protected:
    void deviceRegistered(const qx::IntrusiveString& first, const qx::IntrusiveString& second,
                          const qx::IntrusiveString& third) override {
        tell("deviceRegistered", {first, second, third});
    }
    void addresseesListed(std::map<std::string, std::string> addressees) override {
        tell("addresseesListed", flat(addressees));
    }
    void singleAddressee(const qx::IntrusiveString& first, const qx::IntrusiveString& second,
                         const qx::IntrusiveString& third) override {
        tell("singleAddressee", {first, second, third});
    }
    void showMessage(const qx::IntrusiveString& text) override { tell("showMessage", {text}); }
    void mailBoxData(const json::List& result, int batch) override {
        tell("mailBoxData", {std::to_string(batch), sorted_text(json::Variant(result))});
    }
    void mailPreviewReady(std::int64_t key, boost::shared_ptr<std::string> image) override {
        images.push_back(image);
        tell("mailPreviewReady", {std::to_string(key), *image});
    }
    void livePreviewReady(boost::shared_ptr<std::string> image) override {
        images.push_back(image);
        tell("livePreviewReady", {*image});
    }
    void contactRegistered(const qx::IntrusiveString& contactNumber,
                           const qx::IntrusiveString& name) override {
        tell("contactRegistered", {contactNumber, name});
    }
    void contactNumbersListed(std::map<std::string, std::string> contactNumbers) override {
        tell("contactNumbersListed", flat(contactNumbers));
    }
    void singleContactNumber(const qx::IntrusiveString& contactNumber,
                             const qx::IntrusiveString& name) override {
        tell("singleContactNumber", {contactNumber, name});
    }

private:
    static std::vector<std::string> flat(const std::map<std::string, std::string>& map) {
        std::vector<std::string> entries;
        for (const auto& [key, value] : map) {
            entries.push_back(key + "=" + value);
        }
        return entries;
    }
    void tell(const char* operation, const std::vector<std::string>& arguments) {
        std::string joined;
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            joined += (i == 0 ? "" : ", ") + arguments[i];
        }
        told.push_back(std::string(operation) + "(" + joined + ")");
        const std::string own = told.back(); // `told` may grow meanwhile
        if (whenTold) whenTold(own);
    }
};

} // namespace test
