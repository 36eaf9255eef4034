// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "device/Cache.h"
#include "device/IJsonHeaderUpdateReceiver.h"
#include "device/MailBoxEntry.h"
#include "rpc/Conversation.h"
#include "schema/Schema.h"

#include <boost/intrusive_ptr.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace qx {

/// The client of a door station or camera: drives doors and lights, acknowledges bells, moves the
/// camera, plays recorded messages, and fetches preview images.
///
/// The application derives from it, supplies `sendJsonText` and the ten operations that tell it
/// what the device says, and feeds what it receives to `receiveJsonHeaderUpdate` or
/// `readJsonText`. The usual order is: construct, connect, `open`, `setupSubscriptions`, then
/// commands.
/// \code
/// Phone phone; // the application's class: docs/device.md shows one
/// phone.open();
/// phone.setupSubscriptions("phone-17");
/// phone.triggerDoor(); // its event comes under SubscribeDoor and sets doorAndLightStatus()
/// \endcode
/// An answer and an event look alike and differ only in their reference id. Every command sends
/// its request and returns; none waits, and none reports an error: what the device objects to
/// arrives later, as a message or as a response of its own.
///
/// Threads: locked inside; listeners run under the lock; give commands and feed text on one thread.
/// The operations of the application run under the lock as well: they may send requests, but must
/// not wait for the answers, which arrive on the same thread. The state of this class isn't locked.
class GATECAST_EXPORT GatecastConversation : public virtual json::Conversation,
                                             public virtual IJsonHeaderUpdateReceiver {
public:
    /// @name Reference ids under which events arrive
    /// @{
    static constexpr std::int64_t SubscribeDoor = 101;    ///< events of the door
    static constexpr std::int64_t SubscribeLight = 102;   ///< events of the light
    static constexpr std::int64_t SubscribeDevice = 103;  ///< the registration of this phone
    static constexpr std::int64_t SubscribeMailBox = 104; ///< batches of the mail box
    /// @}
    /// The key of the live view's image in the preview cache.
    static constexpr std::int64_t LivePreviewKey = std::numeric_limits<std::int64_t>::max();

    /// The device's methods, pooled. They can be used until the last static object is gone.
    struct Methods {
        /// A pooled text.
        using Name = boost::intrusive_ptr<IntrusiveString>;
        Name version;            ///< "version"
        Name registerDevice;     ///< "register_device"
        Name subscription;       ///< "subscription"
        Name addDevice;          ///< "add_device"
        Name ptzClick;           ///< "ptz_click"
        Name ptzPan;             ///< "ptz_pan"
        Name ptzZoom;            ///< "ptz_zoom"
        Name bellAck;            ///< "bell_ack"
        Name trigger;            ///< "trigger"
        Name displayMode;        ///< "display_mode"
        Name live;               ///< "live"
        Name pause;              ///< "pause"
        Name endFilter;          ///< "endfilter"
        Name play;               ///< "play"
        Name mailBoxData;        ///< "mailboxdata"
        Name messageDelete;      ///< "message_delete"
        Name messageSeen;        ///< "message_seen"; nothing here sends it
        Name previewMessage;     ///< "preview_message"
        Name previewLive;        ///< "preview_live"
        Name listContactNumbers; ///< "list_contact_numbers"
        Name listAddressees;     ///< "list_addressees"
    };
    /// The names, made on first use. Threads: any thread.
    static const Methods& methods();

    /// Keys and words of the device's results, pooled like the methods. The last eight are for
    /// applications that look into events themselves; nothing here reads them.
    struct Keys {
        /// A pooled text.
        using Key = boost::intrusive_ptr<IntrusiveString>;
        Key versionMajor;  ///< "version_major"
        Key versionMinor;  ///< "version_minor"
        Key contactNumber; ///< "contact_number"
        Key name;          ///< "name"
        Key bell;          ///< "bell"
        Key doorOpen;      ///< "door_open"
        Key doorClosed;    ///< "door_closed"
        Key boltOpen;      ///< "bolt_open"
        Key boltClosed;    ///< "bolt_closed"
        Key mode;          ///< "mode"
        Key size;          ///< "size"
        Key fps;           ///< "fps"
        Key error;         ///< "error"
    };
    /// The keys, made on first use. Threads: any thread.
    static const Keys& keys();

    /// What the device's events have told of its door and its light.
    struct DoorAndLightStatus {
        bool lightStatusKnown = false; ///< an event of the light has arrived
        bool lightOn = false;          ///< what the last one said
        bool doorStatusKnown = false;  ///< an event of the door has arrived
        IntrusiveString doorStatus;    ///< the text of the last one
    };

    /// The chain of caches of preview images; a chain so that an application can add its own
    /// behind.
    using PreviewCache = MultiCache<unsigned long long, std::string>;

    /// Each request will reach `sendJsonText` as one text: the application's class constructs the
    /// virtual base, whose default is just that. The preview cache holds 120 images.
    GatecastConversation();
    /// Sends nothing.
    ~GatecastConversation() override;

    // ----- Commands ------------------------------------------------- GatecastConversation.cpp
    //
    // Coordinates, steps, flags and times mean what the device says; they are passed through
    // unchanged. Commands without an answer are sent without an id; `live`, `play`, the deletion
    // and marking of messages, and the previews are answered.

    /// Asks for the version, registers this phone, and subscribes to the light and the door.
    /// `deviceToken` is the text by which the device knows the phone. Sets the playback mode to 1.
    void setupSubscriptions(std::string deviceToken);
    /// Adds this phone to an entry of the device's address book. Once the device has told a
    /// version other than 0, `c` is sent as a number. The answer comes under `SubscribeDevice`.
    /// Warning: it replaces the registration of `setupSubscriptions`, whose events are then
    /// delivered without their request.
    /// Bad input: a `c` without digits at its start is sent as 0 then.
    void addDevice(const IntrusiveString& a, const IntrusiveString& b, const IntrusiveString& c);

    /// Camera movement, unanswered.
    /// @{
    void ptzClick(int x, int y, bool flag);
    void ptzPan(int x, int y, bool flag);
    void ptzZoom(int zoom, bool flag);
    /// @}
    /// Takes or refuses a ring, unanswered.
    void acknowledgeBell(bool flag);
    /// Door opener and light switch, unanswered; their events tell the outcome.
    /// @{
    void triggerDoor();
    void triggerLight();
    /// @}
    /// Asks for a way to show the picture, unanswered. The device knows the names of its modes.
    void setDisplayMode(std::string mode);

    /// Asks for the live view. The playback mode becomes 18, and 2 when the device answers; the
    /// current message becomes blank.
    void live();
    /// Asks for a pause. Adds 48 to what runs, and 32 when the device answers; then the first
    /// message that waits in the queue is played.
    void pause();
    /// Goes on with the recording. The playback mode becomes 20, and 4 when the device answers.
    void play();
    /// Plays a stretch of the recording. The current message becomes blank; the playback mode
    /// becomes 4 when the device answers.
    void play(double start, double end, bool flag);

    // ----- Mail box -------------------------------------------------- GatecastMailBox.cpp

    /// Asks for the messages of a mail box, named by a number in text. They come in batches,
    /// each by `mailBoxData`, counted from 1.
    /// Bad input: a text without digits at its start asks for mail box 0.
    void readMailBox(const IntrusiveString& mailBox);
    /// Plays a message. It waits in the queue instead, and nothing is sent, as long as the device
    /// isn't ready (playback mode 0 or 1), or while a recording plays (4 or 20) when
    /// `queueWhilePlaying` is set. The queue is served when the device answers a `pause`, one
    /// message at a time.
    /// @param unusedFlag  isn't read.
    /// Warning: the device finds the message by a text with six significant digits of its
    /// timestamp, its sequence number and its event index.
    void play(const MailBoxEntry& entry, bool queueWhilePlaying, bool unusedFlag);
    /// Deletes a message on the device and from the queue.
    /// Warning: the queue keeps its length. An entry in the last place stays, and after the
    /// removal of another one the last stands there twice.
    void deleteMessage(const MailBoxEntry& entry);
    /// Marks a message on the device as seen or unseen. Sent under the method "message_delete",
    /// whose third parameter makes the difference.
    void markMessageSeen(const MailBoxEntry& entry, bool seen);

    // ----- Preview images -------------------------------------------- GatecastPreviews.cpp

    /// The cached image of a message, or null: then the image is on its way and arrives by
    /// `mailPreviewReady`. While a request for the key is under way no second one is sent; one that
    /// is never answered blocks its key.
    /// @param key  any number of the caller's that names the message, not negative; a negative one
    ///     asks for the live view.
    /// @param a, b  mean what the device says.
    /// @param useCache  false drops a cached image and asks for a new one.
    /// Warning: an answer that arrives before the request has left, from inside `sendJsonText`,
    /// can't be joined to its key; it is taken for a live view, and the key stays blocked.
    boost::shared_ptr<std::string> downloadMailPreviewImage(long long key, int a, int b,
                                                            bool useCache);
    /// The same for the live view, which arrives by `livePreviewReady`. The cache keeps one: with
    /// `useCache` an image of any age is good.
    boost::shared_ptr<std::string> downloadLivePreviewImage(int a, int b, bool useCache);
    /// Warning: never returns. The memory cache's `setCapacity` calls itself until the stack is
    /// exhausted and the process ends. The capacity stays at 120 images.
    [[deprecated("never returns: the memory cache's setCapacity calls itself until the stack is "
                 "exhausted; the capacity is 120")]] void
    setPreviewCacheCapacity(int n);
    /// Drops all images. Requests under way stay so.
    void clearPreviewCache();
    /// Nothing happens: images are never written to a directory.
    void usePreviewCacheDirectory(const std::string& directory);

    // ----- Responses and events ------------------------------------- GatecastResponses.cpp

    /// The state that the events under `SubscribeDoor` and `SubscribeLight` have left. Nobody is
    /// told of a change: read it when it is wanted, or register a `json::IResponseListener`, which
    /// sees the same responses. The reference lives as long as this object and isn't locked.
    const DoorAndLightStatus& doorAndLightStatus() const { return status; }

    /// Decides what a response means; true. A subclass that overrides it calls it first.
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override;
    /// Reads the text of the update, with the binary part as its attachment. A text that was half
    /// read is dropped. Goes through `setBinaryAttachment` and `readJsonText`; without an
    /// attachment afterwards in any case.
    /// Bad input: a size of 0 or a null `data` reads nothing; without a zero byte all
    /// is text; a text or a binary part above 2 GiB is cut to its first 2^31 - 1 bytes.
    void receiveJsonHeaderUpdate(const unsigned char* data, unsigned int size) override;

protected:
    // ----- What the application implements ----------------------------------------------------
    //
    // Texts and lists live for the length of the call. Members that are missing or of another type
    // come as the empty or converted text that a const read gives.

    // The order of the virtual operations is ABI.
    /// The device has registered this phone: the three texts of its row.
    virtual void deviceRegistered(const IntrusiveString& first, const IntrusiveString& second,
                                  const IntrusiveString& third) = 0;
    /// The address book of a device, when it has several entries and doesn't know this phone: each
    /// first text with "second (third)". Answer with `addDevice`.
    virtual void addresseesListed(std::map<std::string, std::string> addressees) = 0;
    /// The same when there is one entry.
    virtual void singleAddressee(const IntrusiveString& first, const IntrusiveString& second,
                                 const IntrusiveString& third) = 0;
    /// A message for the person: the device's error text, or that the camera isn't set up yet.
    virtual void showMessage(const IntrusiveString& text) = 0;
    /// A batch of messages after `readMailBox`, counted from 1: make a `MailBoxEntry` of each row.
    /// An error comes as a batch too, empty as a rule.
    virtual void mailBoxData(const json::List& result, int batch) = 0;
    /// An image that `downloadMailPreviewImage` asked for. It is in the cache too.
    virtual void mailPreviewReady(std::int64_t key, boost::shared_ptr<std::string> image) = 0;
    /// An image of the live view. It is in the cache too.
    virtual void livePreviewReady(boost::shared_ptr<std::string> image) = 0;
    /// The device has registered this phone under a contact number.
    virtual void contactRegistered(const IntrusiveString& contactNumber,
                                   const IntrusiveString& name) = 0;
    /// The contact numbers of a device of the earlier kind, by number, when it has several and
    /// doesn't know this phone. Answer with `addDevice`.
    virtual void contactNumbersListed(std::map<std::string, std::string> contactNumbers) = 0;
    /// The same when there is one.
    virtual void singleContactNumber(const IntrusiveString& contactNumber,
                                     const IntrusiveString& name) = 0;

    // ----- Data ------------------------------------------------------------------------------

    std::int32_t versionMajor = 0; ///< protocol version of the device, 0 while unknown
    std::int32_t versionMinor = 9; ///< protocol version of the device, 9 while unknown
    DoorAndLightStatus status;     ///< what `doorAndLightStatus` answers
    /// What runs in its low four bits: 1 setting up, 2 live, 4 recording. Above: 16 when a change
    /// was asked for and isn't answered yet, 32 when paused, 48 when a pause was asked for.
    std::int32_t playbackMode = 0;
    std::int32_t mailBoxBatch = 0;       ///< number of the last batch since `readMailBox`
    MailBoxEntry currentEntry;           ///< the message that plays; blank in live view
    std::vector<MailBoxEntry> playQueue; ///< what waits for the answer to a `pause`, in order
    std::unique_ptr<PreviewCache> previewCache;               ///< by key; holds 120 images
    std::map<std::int64_t, std::int64_t> previewKeyByRequest; ///< requests that are under way
    std::map<std::int64_t, std::int64_t> previewRequestByKey; ///< the same, by key

private:
    void askForAddresses();
    void handleRegistration(const json::Response& response);
    void handleContactNumbers(const json::Response& response);
    void handleAddressees(const json::Response& response);
    void handlePreview(const json::Response& response);
};

} // namespace qx
