// SPDX-License-Identifier: MIT
#include "device/MailBoxEntry.h"

#include "core/detail/CNumbers.h"
#include "core/detail/NeverDestroyed.h"
#include "device/detail/PooledNames.h"
#include "schema/Schema.h"

namespace qx {

const MailBoxEntry::Keys& MailBoxEntry::keys() {
    static const detail::NeverDestroyed<Keys> keys(detail::pooled_names<Keys>({
        {&Keys::mailBoxId, "mailbox_id"},
        {&Keys::mailBoxName, "name_mailbox"},
        {&Keys::senderUserId, "sender_user_id"},
        {&Keys::senderName, "name_sender"},
        {&Keys::timestamp, "timestamp"},
        {&Keys::length, "length_ds"},
        {&Keys::cameraId, "appl_camera_id"},
        {&Keys::sequenceNo, "appl_sequence_no"},
        {&Keys::eventIndex, "appl_event_index"},
        {&Keys::recordId, "rid"},
        {&Keys::alarmImage, "alarmimage"},
        {&Keys::events, "events"},
        {&Keys::messageSeen, "message_seen"},
        {&Keys::endFilter, "endfilter"},
    }));
    return *keys;
}

MailBoxEntry::MailBoxEntry() : record_(json::Variant::newObject()) { normalise(); }

MailBoxEntry::MailBoxEntry(const json::Variant& row) {
    record_.deepCopy(&row);
    normalise();
}

MailBoxEntry::MailBoxEntry(const MailBoxEntry& source) = default;
MailBoxEntry& MailBoxEntry::operator=(const MailBoxEntry& source) = default;
MailBoxEntry::~MailBoxEntry() = default;

const IntrusiveString& MailBoxEntry::cameraId() const {
    return record()[*keys().cameraId].stringValue();
}

unsigned int MailBoxEntry::sequenceNo() const {
    return static_cast<unsigned int>(record()[*keys().sequenceNo].integerValue());
}

unsigned int MailBoxEntry::eventIndex() const {
    return static_cast<unsigned int>(record()[*keys().eventIndex].integerValue());
}

std::int64_t MailBoxEntry::recordId() const { return record()[*keys().recordId].integerValue(); }

double MailBoxEntry::timestamp() const { return record()[*keys().timestamp].realValue(); }

const IntrusiveString& MailBoxEntry::endFilter() const {
    return record()[*keys().endFilter].stringValue();
}

bool MailBoxEntry::operator==(const MailBoxEntry& rhs) const {
    if (!(cameraId() == rhs.cameraId())) return false;
    if (record().contains(keys().recordId->c_str())) return recordId() == rhs.recordId();
    return sequenceNo() == rhs.sequenceNo() && eventIndex() == rhs.eventIndex();
}

void MailBoxEntry::normalise() {
    if (record_.contains(keys().alarmImage->c_str())) {
        const json::Variant& image = record_[*keys().alarmImage];
        record_[*keys().sequenceNo] = detail::text_to_integer(image.charsValue());
        // Intended: the text behind the last point isn't used. Held by
        // MailBoxEntry.TheEventIndexIsZeroWhateverStandsBehindTheLastPoint.
        record_[*keys().eventIndex] = 0;
    }
    record_.convertToObject();
    record_[*keys().timestamp].convertToReal();
    record_.attachSchema(json::Schema::resolve(schemaUrl(), Url()));
}

const Url& MailBoxEntry::schemaUrl() {
    static const detail::NeverDestroyed<Url> url(json::Schema::applicationSchemaBaseUrl() /
                                                 "mail/list.json" / "#entry");
    return *url;
}

} // namespace qx
