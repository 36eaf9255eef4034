// SPDX-License-Identifier: MIT
#include "rpc/detail/Attachments.h"

namespace json::detail {

namespace {

constexpr const char* kAttachments = "binary-attachment-list";

} // namespace

const List& binary_attachment_list(const Object& response) {
    if (!response.contains(kAttachments)) return Variant::EmptyList.listValue();
    return response[kAttachments].listValue();
}

Variant& add_binary_attachment(Object& response, const char* data, unsigned int length) {
    if (!response.contains(kAttachments)) response.setValue(kAttachments, Variant::newList());
    List& attachments = response[kAttachments].listValue();
    // A string of its own first: a value counts its length in an int, which 2^31 bytes overflow.
    attachments << Variant(boost::intrusive_ptr<qx::IntrusiveString>(
        new qx::IntrusiveString(data, static_cast<std::size_t>(length))));
    return attachments.back();
}

} // namespace json::detail
