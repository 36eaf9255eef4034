// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "core/Url.h"
#include "json/Variant.h"

#include <boost/intrusive_ptr.hpp>

#include <cstdint>

namespace qx {

/// One message that a door station has recorded: a JSON object, and what the client reads of it.
/// \code
/// void mailBoxData(const json::List& result, int batch) override {
///     if (batch == 1) messages.clear(); // the first one of a new list
///     for (const json::Variant& row : result) {
///         messages.emplace_back(row);
///     }
/// }
/// \endcode
/// A copy shares the object of its source. Warning: what is changed in the source afterwards is
/// seen in the copy as well; what is changed in the copy stays its own.
/// Threads: one at a time.
class GATECAST_EXPORT MailBoxEntry {
public:
    /// The keys of a record, pooled. They can be used until the last static object is gone.
    struct Keys {
        /// A pooled text.
        using Key = boost::intrusive_ptr<IntrusiveString>;
        Key mailBoxId;    ///< "mailbox_id"
        Key mailBoxName;  ///< "name_mailbox"
        Key senderUserId; ///< "sender_user_id"
        Key senderName;   ///< "name_sender"
        Key timestamp;    ///< "timestamp", a real
        Key length;       ///< "length_ds"
        Key cameraId;     ///< "appl_camera_id", a string
        Key sequenceNo;   ///< "appl_sequence_no", an integer
        Key eventIndex;   ///< "appl_event_index", an integer
        Key recordId;     ///< "rid", an integer
        Key alarmImage;   ///< "alarmimage", a text that begins with the sequence number
        Key events;       ///< "events"
        Key messageSeen;  ///< "message_seen"
        Key endFilter;    ///< "endfilter", the text sent before the message is played
    };
    /// The keys, made on first use. Threads: any thread.
    static const Keys& keys();

    /// A blank entry: `{"timestamp":0.0}`.
    MailBoxEntry();
    /// The message of a row of the mail box, normalised. The row is copied at every depth.
    /// Bad input: what isn't an object gives a blank entry.
    explicit MailBoxEntry(const json::Variant& row);
    /// Shares the object of the source; see above.
    /// @{
    MailBoxEntry(const MailBoxEntry& source);
    MailBoxEntry& operator=(const MailBoxEntry& source);
    /// @}
    virtual ~MailBoxEntry();

    // ----- Reading ---------------------------------------------------------------------------
    //
    // A missing member reads as empty or 0, a member of another type is converted, and a record
    // that isn't an object has no members. Texts live until the record is changed.

    /// "appl_camera_id": the camera that recorded the message.
    const IntrusiveString& cameraId() const;
    /// Numbers that don't fit are cut to their low 32 bits.
    /// @{
    unsigned int sequenceNo() const;
    unsigned int eventIndex() const;
    /// @}
    /// "rid": the device's own number of the record, 0 when there is none.
    std::int64_t recordId() const;
    /// Time of the message, as the device counts it.
    double timestamp() const;
    /// "endfilter": the text that is sent before the message is played.
    const IntrusiveString& endFilter() const;

    /// Whether both are the same message: by camera and record id when this one has an "rid", else
    /// by camera, sequence number and event index. The left operand decides.
    bool operator==(const MailBoxEntry& rhs) const;
    /// The opposite.
    bool operator!=(const MailBoxEntry& rhs) const { return !(*this == rhs); }

    /// The record, with all that the device sent.
    const json::Variant& record() const { return record_; }

    // ----- Changing --------------------------------------------------------------------------

    /// The record for writing. Call `normalise` after the change.
    json::Variant& record() { return record_; }
    /// Derives what the client reads: the sequence number from the digits at the start of
    /// "alarmimage" and an event index of 0, both only when there is an "alarmimage"; makes
    /// "timestamp" a real, adding it when it is missing; binds the record to `schemaUrl`.
    /// Warning: the text behind the last point of "alarmimage" isn't used.
    /// Bad input: a record that isn't an object becomes an empty one first.
    void normalise();

    /// The schema of a record: `base/mail/list.json#entry`
    static const Url& schemaUrl();

private:
    json::Variant record_;
};

} // namespace qx
