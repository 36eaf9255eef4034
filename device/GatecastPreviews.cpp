// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "rpc/detail/Attachments.h"

namespace qx {

namespace {

constexpr std::int64_t kLiveRequest = -1; // stands for the live view where requests are noted

unsigned long long cache_key(std::int64_t key) {
    return static_cast<unsigned long long>(key < 0 ? GatecastConversation::LivePreviewKey : key);
}

/// A picture begins with the byte 0xFF; what stands before it is cut off. Without one the bytes
/// stay as they are. The only copy on the way into the cache.
boost::shared_ptr<std::string> picture_in(const std::string& bytes) {
    const std::size_t marker = bytes.find('\xFF');
    return boost::make_shared<std::string>(bytes, marker != std::string::npos ? marker : 0);
}

} // namespace

boost::shared_ptr<std::string>
GatecastConversation::downloadMailPreviewImage(long long key, int a, int b, bool useCache) {
    boost::shared_ptr<std::string> image;
    if (useCache) {
        image = previewCache->get(cache_key(key));
    } else {
        previewCache->remove(cache_key(key));
    }
    if (image || previewRequestByKey.count(key) != 0) return image;

    const json::Request& request = key >= 0 ? call3(*methods().previewMessage, key, a, b)
                                            : call2(*methods().previewLive, a, b);
    const std::int64_t id = request.referenceId();
    previewKeyByRequest[id] = key;
    previewRequestByKey[key] = id;
    return image;
}

boost::shared_ptr<std::string> GatecastConversation::downloadLivePreviewImage(int a, int b,
                                                                              bool useCache) {
    return downloadMailPreviewImage(kLiveRequest, a, b, useCache);
}

void GatecastConversation::setPreviewCacheCapacity(int n) {
    previewCache->setCapacity(static_cast<std::size_t>(n));
}

void GatecastConversation::clearPreviewCache() { previewCache->clear(); }

// Intended: nothing happens. Held by Preview.IsNeverWrittenToADirectory.
void GatecastConversation::usePreviewCacheDirectory(const std::string&) {}

void GatecastConversation::handlePreview(const json::Response& response) {
    const std::int64_t id = response.referenceId().integerValue();
    const auto noted = previewKeyByRequest.find(id);
    // Intended: what nobody has noted counts as the live view.
    // Held by Preview.ThatNobodyNotedIsOneOfTheLiveView.
    const std::int64_t key = noted != previewKeyByRequest.end() ? noted->second : kLiveRequest;
    previewKeyByRequest.erase(id);
    previewRequestByKey.erase(key);

    const json::List& attachments = json::detail::binary_attachment_list(response.objectValue());
    if (attachments.empty()) return;
    const boost::shared_ptr<std::string> image = picture_in(attachments.front().stringValue());
    previewCache->put(cache_key(key), image);
    if (key >= 0) {
        mailPreviewReady(key, image);
    } else {
        livePreviewReady(image);
    }
}

} // namespace qx
