// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qx {

namespace {

constexpr const char* kSetupText = "Camera setup is not yet complete. You won't be able to receive "
                                   "calls on your phone.";

// The codes of a device's errors that are more than a text to show.
constexpr std::int64_t kMethodUnknown = 3;
constexpr std::int64_t kPhoneUnknown = 14;
constexpr std::int64_t kPhoneNotListed = 18;
constexpr std::int64_t kSetupIncomplete = 19;
constexpr std::int64_t kRegistrationIgnored = 20;
constexpr std::int64_t kMethodUnavailable = 21;
constexpr std::int64_t kIgnored = 24;

std::int32_t cut_to_32_bits(std::int64_t number) { return static_cast<std::int32_t>(number); }

/// Takes a buffer's size to an `int` without ever making it negative.
int length_for(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

/// Leaves a conversation without an attachment, however the reading of a text ends.
class AttachmentScope {
public:
    explicit AttachmentScope(json::Conversation& conversation) : conversation_(conversation) {}
    ~AttachmentScope() { conversation_.setBinaryAttachment(nullptr, 0); }
    AttachmentScope(const AttachmentScope&) = delete;
    AttachmentScope& operator=(const AttachmentScope&) = delete;

private:
    json::Conversation& conversation_;
};

} // namespace

// The first rule that applies ends it, up to the mail box; what follows runs in turn.
bool GatecastConversation::handleResponse(const json::Request& request,
                                          const json::Response& response,
                                          json::Schema::ValidationResult result) {
    if (!json::Conversation::handleResponse(request, response, result)) return false;

    const IntrusiveString& method = request.methodName();
    const json::Variant& answer = response.result();
    if (method == *methods().version ||
        (versionMajor == 0 && answer.contains(keys().versionMajor->c_str()))) {
        versionMajor = cut_to_32_bits(answer[*keys().versionMajor].integerValue());
        versionMinor = cut_to_32_bits(answer[*keys().versionMinor].integerValue());
        return true;
    }
    // Intended: nothing follows from it, also not for a preview, whose key stays blocked.
    // Held by Preview.StaysOnItsWayAfterError24 and DeviceResponses.IgnoreError24UnderEveryId.
    if (response.isError() && response.errorCode() == kIgnored) return true;

    const std::int64_t id = response.referenceId().integerValue();
    switch (id) {
    case SubscribeDoor:
        status.doorStatusKnown = true;
        status.doorStatus = response.firstResult().stringValue();
        return true;
    case SubscribeLight:
        status.lightStatusKnown = true;
        status.lightOn = response.firstResult().booleanValue();
        return true;
    case SubscribeDevice:
        handleRegistration(response);
        return true;
    default:
        break;
    }
    if (method == *methods().listContactNumbers) {
        handleContactNumbers(response);
        return true;
    }
    if (method == *methods().listAddressees) {
        handleAddressees(response);
        return true;
    }

    // Intended: an error counts as a batch.
    // Held by MailBox.TakesAnErrorForAnEmptyBatch.
    if (id == SubscribeMailBox) {
        mailBoxBatch = cut_to_32_bits(std::int64_t{mailBoxBatch} + 1);
        mailBoxData(response.resultList(), mailBoxBatch);
    }
    if (method == *methods().previewMessage || method == *methods().previewLive) {
        handlePreview(response);
    }
    // Intended: the modes follow the method, also when the answer is an error.
    // Held by DeviceResponses.AnErrorToAPlaybackCommandChangesTheModeAllTheSame and
    // MailBox.ServesItsQueueAlsoWhenThePauseFails.
    if (method == *methods().live) {
        playbackMode = 2;
        // Intended: the answer is left unused and nobody is told.
        // Held by DeviceResponses.NobodyIsToldOfAPlaybackModeThatChanged.
        static_cast<void>(isConnected("playbackMode"));
    }
    if (method == *methods().play) playbackMode = 4;
    if (method == *methods().pause) {
        playbackMode = (playbackMode & 15) + 32;
        if (!playQueue.empty()) {
            const MailBoxEntry next = playQueue.front();
            playQueue.erase(playQueue.begin());
            play(next, false, false);
        }
    }
    return true;
}

void GatecastConversation::receiveJsonHeaderUpdate(const unsigned char* data, unsigned int size) {
    const AttachmentScope scope(*this);
    if (data == nullptr) size = 0;
    const char* const text = size != 0 ? reinterpret_cast<const char*>(data) : "";
    const void* const zero = std::memchr(text, 0, size);
    const std::size_t length =
        zero != nullptr ? static_cast<std::size_t>(static_cast<const char*>(zero) - text) : size;
    if (length + 1 < size) {
        setBinaryAttachment(text + length + 1, length_for(size - length - 1));
    }
    jsonParser.reset();
    readJsonText(text, length_for(length), true);
}

void GatecastConversation::askForAddresses() {
    call0(versionMajor == 0 ? *methods().listContactNumbers : *methods().listAddressees);
}

void GatecastConversation::handleRegistration(const json::Response& response) {
    if (response.isError()) {
        switch (response.errorCode()) {
        case kPhoneUnknown:
        case kPhoneNotListed:
            askForAddresses();
            return;
        case kSetupIncomplete:
            showMessage(kSetupText);
            return;
        case kRegistrationIgnored:
            return;
        default:
            showMessage(response.errorMessage());
            return;
        }
    }
    if (!response.result().isList()) return;
    const json::Variant& first = response.firstResult();
    // Intended: a ring has no effect here; the application sees it as a listener.
    // Held by DeviceResponses.ARingUnderTheRegistrationIsWithoutEffect.
    if (first == keys().bell->c_str()) return;
    if (versionMajor < 0 && !first.isList()) {
        contactRegistered(first[*keys().contactNumber].stringValue(),
                          first[*keys().name].stringValue());
        return;
    }
    const json::List& row = first.listValue();
    deviceRegistered(row.at(0).stringValue(), row.at(1).stringValue(), row.at(2).stringValue());
}

void GatecastConversation::handleContactNumbers(const json::Response& response) {
    if (response.isError()) {
        const std::int64_t code = response.errorCode();
        if (code != kMethodUnavailable && code != kMethodUnknown) {
            showMessage(response.errorMessage());
            return;
        }
        // A device of the later kind, which knows the other address book only.
        if (versionMajor == 0) versionMajor = 1;
        call0(*methods().listAddressees);
        return;
    }
    const json::List& contacts = response.resultList();
    if (contacts.empty()) {
        showMessage(kSetupText);
        return;
    }
    if (contacts.size() == 1) {
        const json::Variant& contact = contacts.front();
        singleContactNumber(contact[*keys().contactNumber].stringValue(),
                            contact[*keys().name].stringValue());
        return;
    }
    std::map<std::string, std::string> names;
    for (const json::Variant& contact : contacts) {
        const std::string& number = contact[*keys().contactNumber].stringValue();
        const std::string& name = contact[*keys().name].stringValue();
        names[number] = name;
    }
    contactNumbersListed(std::move(names));
}

void GatecastConversation::handleAddressees(const json::Response& response) {
    if (response.isError()) {
        showMessage(response.errorMessage());
        return;
    }
    const json::List& rows = response.resultList();
    if (rows.empty()) {
        showMessage(kSetupText);
        return;
    }
    if (rows.size() == 1) {
        const json::List& row = rows.front().listValue();
        singleAddressee(row.at(0).stringValue(), row.at(1).stringValue(), row.at(2).stringValue());
        return;
    }
    std::map<std::string, std::string> descriptions;
    for (const json::Variant& item : rows) {
        const json::List& row = item.listValue();
        const std::string& first = row.at(0).stringValue();
        const std::string& second = row.at(1).stringValue();
        const std::string& third = row.at(2).stringValue();
        descriptions[first] = second + " (" + third + ")";
    }
    addresseesListed(std::move(descriptions));
}

} // namespace qx
