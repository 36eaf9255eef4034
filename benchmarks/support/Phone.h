// SPDX-License-Identifier: MIT
#pragma once

#include "device/GatecastConversation.h"

#include <cstdint>
#include <map>
#include <string>

namespace bench {

/// A device client without a device: it sends nothing and needs no answer.
class Phone : public qx::GatecastConversation {
public:
    using PreviewCache = qx::GatecastConversation::PreviewCache;

    void sendJsonText(const char*, int) override {}
    PreviewCache& previews() { return *previewCache; }

protected:
    void deviceRegistered(const qx::IntrusiveString&, const qx::IntrusiveString&,
                          const qx::IntrusiveString&) override {}
    void addresseesListed(std::map<std::string, std::string>) override {}
    void singleAddressee(const qx::IntrusiveString&, const qx::IntrusiveString&,
                         const qx::IntrusiveString&) override {}
    void showMessage(const qx::IntrusiveString&) override {}
    void mailBoxData(const json::List&, int) override {}
    void mailPreviewReady(std::int64_t, boost::shared_ptr<std::string>) override {}
    void livePreviewReady(boost::shared_ptr<std::string>) override {}
    void contactRegistered(const qx::IntrusiveString&, const qx::IntrusiveString&) override {}
    void contactNumbersListed(std::map<std::string, std::string>) override {}
    void singleContactNumber(const qx::IntrusiveString&, const qx::IntrusiveString&) override {}
};

} // namespace bench
