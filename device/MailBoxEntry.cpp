// SPDX-License-Identifier: MIT
#include "device/MailBoxEntry.h"

#include "core/detail/CNumbers.h"
#include "core/detail/NeverDestroyed.h"
#include "schema/Schema.h"

namespace qx {

namespace {

MailBoxEntry::Keys make_keys() {
    json::Object::KeyPool& pool = json::Object::key_pool();
    MailBoxEntry::Keys keys;
    keys.mailBoxId = pool.intern("mailbox_id");
    keys.mailBoxName = pool.intern("name_mailbox");
    keys.senderUserId = pool.intern("sender_user_id");
    keys.senderName = pool.intern("name_sender");
    keys.timestamp = pool.intern("timestamp");
    keys.length = pool.intern("length_ds");
    keys.cameraId = pool.intern("appl_camera_id");
    keys.sequenceNo = pool.intern("appl_sequence_no");
    keys.eventIndex = pool.intern("appl_event_index");
    keys.recordId = pool.intern("rid");
    keys.alarmImage = pool.intern("alarmimage");
    keys.events = pool.intern("events");
    keys.messageSeen = pool.intern("message_seen");
    keys.endFilter = pool.intern("endfilter");
    return keys;
}

} // namespace

const MailBoxEntry::Keys& MailBoxEntry::keys() {
    static const detail::NeverDestroyed<Keys> keys(make_keys());
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
