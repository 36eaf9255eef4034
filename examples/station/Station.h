// SPDX-License-Identifier: MIT
#pragma once

#include "rpc/Request.h"
#include "rpc/Response.h"
#include "station/CameraView.h"
#include "station/Catalogue.h"
#include "station/MailBoxes.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// One client's connection, numbered from 1 in order of arrival.
using SessionId = std::uint64_t;

/// A header update for one client: JSON text, a zero byte, an optional binary part.
struct Frame {
    SessionId session; ///< whom it is for
    std::string bytes; ///< as they go over the connection
};

/// Somebody who has a bell button at this door.
struct Addressee {
    std::int64_t id;    ///< how devices of later kinds name him
    std::string number; ///< the contact number by which the first kind names him
    std::string name;   ///< as it is shown
    std::string unit;   ///< where he lives
};

/// A bell button, and where its visitors leave their messages.
struct Bell {
    std::string name;     ///< by which it is rung
    std::int64_t mailBox; ///< 1 of the front door, 2 of the yard, 3; others keep nothing
};

/// A phone that was added to the station.
struct KnownPhone {
    std::string token;       ///< by which it registers
    std::string name;        ///< as its owner has called it
    std::string addressee;   ///< to whom it belongs, empty when he has left the address book
    bool registered = false; ///< a client that is connected has registered it
};

/// What a station is born with.
struct Settings {
    int versionMajor = 1;      ///< 0 for the first kind; 1 and 2 for later ones
    int versionMinor = 2;      ///< as "version" tells it
    std::size_t viewers = 4;   ///< how many clients may watch the live view at the same time
    std::size_t messages = 20; ///< how many messages a mail box keeps
    double time = 1772616600;  ///< its clock at the beginning: 4 March 2026, 9:30
    /// Those who live here.
    std::vector<Addressee> addressBook = {{1, "555-0101", "Anna Quill", "ground floor"},
                                          {2, "555-0102", "Bert Rowan", "first floor"},
                                          {3, "555-0103", "Workshop", "yard"}};
    std::vector<Bell> bells = {{"front", 1}, {"yard", 2}}; ///< the first one is the front door's
};

/// The codes of the errors that a station answers.
enum ErrorCode : std::int64_t {
    SyntaxError = 1,        ///< the text isn't JSON
    NotARequest = 2,        ///< it is JSON, but has no "method"
    UnknownMethod = 3,      ///< no device of this version has it
    WrongParameters = 4,    ///< not as the catalogue describes them
    UnknownPhone = 14,      ///< the phone must be added first
    AddresseeGone = 18,     ///< the phone was added to somebody who left the address book
    SetupIncomplete = 19,   ///< the address book is empty
    RegisteredAlready = 20, ///< by this phone, on this connection
    MethodWithdrawn = 21,   ///< devices of the first kind knew it
    UnknownAddressee = 22,  ///< a phone can't be added to nobody
    UnknownMessage = 23,    ///< neither the message nor the mail box is there
    Busy = 24,              ///< all live views are taken
    TooManyPhones = 25,     ///< no further phone fits into its memory
};

/// A simulated door station: what it answers, what it pushes and what it remembers.
///
/// It has no socket, and its clock stands still until it is told the time. A server hands it the
/// texts of its clients and sends the frames that it gives back; whatever happens at the door
/// (somebody rings, the door falls shut) is told to it by a call. A request with an id is answered
/// under that id. One without an id is obeyed and not answered, but for "pause", whose answer has
/// no id either. Events go to every subscriber under the id of his subscription, and come behind
/// the answer to the request that caused them.
///
/// A subscription knows three things to hear of, each told at once and at every change:
/// "door" ["door_open" or "door_closed"], "elight" [true or false], and "view" [right, up, zoom],
/// which tells where the camera looks. A registered phone hears ["bell", true or false]; when it
/// isn't the first bell, its name stands behind: ["bell", true, "yard"].
///
/// Each press of a bell button leaves a message of ten seconds in the mail box of the bell, with a
/// picture of what the camera saw. A message that is deleted while somebody plays it ends there,
/// too. Threads: one at a time.
class Station {
public:
    /// A station without clients, its door shut and its light off.
    explicit Station(Settings settings = Settings());

    // ----- Clients ---------------------------------------------------------------------------

    /// A client came.
    SessionId connect();
    /// A client left; its subscriptions end. Bad input: an unknown session does nothing.
    void disconnect(SessionId session);
    /// False after the client said "quit": its connection is to be closed once the frames are out.
    bool isOpen(SessionId session) const;
    /// Obeys one request and gives the frames to send, in order: the answer, then the events.
    /// Bad input: what isn't a request is answered by an error without an id; an unknown session
    /// gets nothing.
    std::vector<Frame> receive(SessionId session, std::string_view text);

    // ----- What happens at the door: gives the events to send ----------------------------------

    /// The clock goes on, to seconds since 1970, UTC. Nothing is sent.
    void setTime(double seconds) { time_ = seconds; }
    /// A visitor presses the bell button of this name, by default the first one.
    /// Bad input: a bell that isn't there doesn't ring.
    /// @{
    std::vector<Frame> ring();
    std::vector<Frame> ring(const std::string& bell);
    /// @}
    /// The door is opened by hand. Nothing is sent when it is open.
    std::vector<Frame> openDoor();
    /// The door falls shut. Nothing is sent when it is shut.
    std::vector<Frame> closeDoor();
    /// The light is switched at the door. Nothing is sent when it was so before.
    std::vector<Frame> switchLight(bool on);
    /// The power goes and comes back: the door is shut, the light off, the camera looks straight
    /// ahead, and no client is connected. Phones, messages and the address book are kept.
    void reboot();
    /// An addressee moves out of the address book; phones that belong to him lose their place.
    void removeAddressee(std::int64_t id);

    /// What is so now.
    /// @{
    bool doorIsOpen() const { return doorOpen_; }
    bool lightIsOn() const { return lightOn_; }
    bool bellIsRinging() const { return ringing_; }
    /// @}
    /// Whether there is a bell of this name.
    bool hasBell(const std::string& name) const;
    /// As they were given.
    const Settings& settings() const { return settings_; }
    /// Its messages.
    const MailBoxes& mailBoxes() const { return mailBoxes_; }
    /// Those that were added, sorted by token.
    std::vector<KnownPhone> knownPhones() const;
    /// What the camera sees now, as a JPEG file.
    /// Bad input: sides are brought into 1 to 1920 and 1 to 1080 points.
    std::string livePicture(int width, int height) const;

private:
    struct Phone {
        std::int64_t addressee;
        std::string name;
    };
    enum class Showing { Nothing, Live, Playback };
    struct Session {
        bool open = true;
        std::string phone;                                 // token of the registered phone
        std::int64_t registration = 0;                     // its id, for the events of the bell
        std::map<std::string, std::int64_t> subscriptions; // from what to hear of to the id
        Showing showing = Showing::Nothing;
        std::int64_t playing = 0; // number of the message that plays, 0 for a span of time
        bool paused = false;
        std::string endFilter;
    };
    struct View {
        std::int64_t right = 0;
        std::int64_t up = 0;
        std::int64_t zoom = 1;
    };
    /// What a method gives back: one response per result, or an error.
    struct Reply {
        Reply(const json::Variant& result) : results{result} {}
        Reply(std::vector<json::Variant> batches) : results(std::move(batches)) {}
        Reply(ErrorCode code, const std::string& text) : errorCode(code), errorText(text) {}

        std::vector<json::Variant> results;
        std::string attachment; // the binary part of the first response
        std::int64_t errorCode = 0;
        std::string errorText;
    };
    using Handler = Reply (Station::*)(Session&, const json::Request&);
    static const std::map<std::string, Handler>& handlers();

    Reply obey(Session& session, const json::Request& request);
    void answer(SessionId to, const json::Request& request, const Reply& reply);
    void send(SessionId to, const json::Response& response, const std::string& attachment = {});
    void pushState(const std::string& topic);
    void pushBell();
    std::vector<Frame> takeFrames();
    json::Variant stateOf(const std::string& topic) const;
    const Addressee* addresseeOf(std::int64_t id) const;
    json::Variant rowOf(const Addressee& addressee) const;
    std::size_t viewersNow() const;
    void recordVisitor(std::size_t bell);
    void endPlaybackOfLostMessages();
    CameraView cameraView() const;
    static Reply pictureReply(const CameraView& view, const std::string& title,
                              const json::Variant& width, const json::Variant& height);

    // One handler per method, in the order of the catalogue.
    Reply listMethods(Session&, const json::Request&);
    Reply version(Session&, const json::Request&);
    Reply registerDevice(Session&, const json::Request&);
    Reply subscription(Session&, const json::Request&);
    Reply trigger(Session&, const json::Request&);
    Reply bellAck(Session&, const json::Request&);
    Reply pressBell(Session&, const json::Request&);
    Reply ptzClick(Session&, const json::Request&);
    Reply ptzPan(Session&, const json::Request&);
    Reply ptzZoom(Session&, const json::Request&);
    Reply displayMode(Session&, const json::Request&);
    Reply live(Session&, const json::Request&);
    Reply pause(Session&, const json::Request&);
    Reply endFilter(Session&, const json::Request&);
    Reply play(Session&, const json::Request&);
    Reply mailBoxData(Session&, const json::Request&);
    Reply messageDelete(Session&, const json::Request&);
    Reply previewMessage(Session&, const json::Request&);
    Reply previewLive(Session&, const json::Request&);
    Reply quit(Session&, const json::Request&);
    Reply listContactNumbers(Session&, const json::Request&);
    Reply listAddressees(Session&, const json::Request&);
    Reply addDevice(Session&, const json::Request&);

    Settings settings_;
    Catalogue catalogue_;
    json::JsonParser parser_;
    std::map<SessionId, Session> sessions_;
    SessionId lastSession_ = 0;
    std::map<std::string, Phone> phones_; // by token
    MailBoxes mailBoxes_;
    double time_;
    bool doorOpen_ = false;
    bool lightOn_ = false;
    bool ringing_ = false;
    std::size_t lastBell_ = 0; // which one rang last
    View view_;
    std::string displayMode_ = "standard";
    std::vector<Frame> frames_;        // what the call under way gives back
    std::vector<std::string> changed_; // topics whose event follows the answer
    bool bellChanged_ = false;
};

} // namespace station
