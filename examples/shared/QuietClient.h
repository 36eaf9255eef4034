// SPDX-License-Identifier: MIT
#pragma once

#include "device/GatecastConversation.h"

#include <cstdint>
#include <map>
#include <string>

namespace shared {

/// A client of a door station that takes no notice of what the device tells: copy it, derive from
/// it, and override what your application wants to hear. `sendJsonText` stays to be written.
/// \code
/// class Phone : public shared::QuietClient {
///     void sendJsonText(const char* text, int size) override { station.send(text, size); }
///     void showMessage(const qx::IntrusiveString& text) override { label.set(text.c_str()); }
/// };
/// \endcode
/// Threads: as `qx::GatecastConversation`.
class QuietClient : public qx::GatecastConversation {
public:
    /// What a transport calls with each header update that arrives.
    void arrived(const std::string& update) {
        receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(update.data()),
                                static_cast<unsigned int>(update.size()));
    }

protected:
    /// What the operations are told.
    using Text = qx::IntrusiveString;
    /// An address book: a label by the text that `addDevice` takes.
    using Book = std::map<std::string, std::string>;
    /// The bytes of a picture.
    using Image = boost::shared_ptr<std::string>;

    /// Takes no notice.
    /// @{
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
    /// @}
};

} // namespace shared
