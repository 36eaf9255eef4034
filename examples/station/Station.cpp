// SPDX-License-Identifier: MIT
#include "station/Station.h"

#include "shared/Jpeg.h"
#include "shared/Picture.h"
#include "shared/UtcTime.h"
#include "json/JsonPrinter.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace station {

namespace {

constexpr std::size_t kRowsPerBatch = 3;
constexpr std::int64_t kSmallestZoom = 1;
constexpr std::int64_t kGreatestZoom = 8;
constexpr std::int64_t kFarthestTurn = 100; // steps from the middle, to each side
constexpr std::size_t kLongestEcho = 60;    // bytes of a peer's text in an error message
constexpr std::size_t kMostPhones = 1000;   // each client may add one under any token
constexpr int kWidestPicture = 1920;
constexpr int kHighestPicture = 1080;
constexpr std::int64_t kTenthsOfAVisit = 100;

template <typename... Items>
json::Variant list_of(const Items&... items) {
    json::Variant list = json::Variant::newList();
    static_cast<void>((list << ... << json::Variant(items)));
    return list;
}

/// A peer's text, quoted and cut to what fits into a message.
std::string quoted(const std::string& text) {
    return '"' + (text.size() > kLongestEcho ? text.substr(0, kLongestEcho) + "..." : text) + '"';
}

std::string first_line(const std::string& text) { return text.substr(0, text.find('\n')); }

std::int64_t clamped(std::int64_t value, std::int64_t lowest, std::int64_t highest) {
    return std::min(std::max(value, lowest), highest);
}

/// The number of the message in a position, TIME@SEQUENCE, "E", INDEX; -1 in any other text. All
/// messages of a station have the index 0.
std::int64_t sequence_in(const std::string& position) {
    const std::size_t at = position.find('@');
    if (at == std::string::npos) return -1;
    char* end = nullptr;
    const std::int64_t sequence = std::strtoll(position.c_str() + at + 1, &end, 10);
    return std::string(end) == "E0" ? sequence : -1;
}

} // namespace

Station::Station(Settings settings)
    : settings_(std::move(settings)), catalogue_(settings_.versionMajor),
      mailBoxes_(settings_.messages), time_(settings_.time) {}

// ----- Clients -------------------------------------------------------------------------------

SessionId Station::connect() {
    sessions_[++lastSession_];
    return lastSession_;
}

void Station::disconnect(SessionId session) { sessions_.erase(session); }

bool Station::isOpen(SessionId session) const {
    const auto found = sessions_.find(session);
    return found != sessions_.end() && found->second.open;
}

std::vector<Frame> Station::receive(SessionId session, std::string_view text) {
    if (!isOpen(session)) return {};
    parser_.reset();
    const bool good = parser_.parse(text.data(), static_cast<int>(text.size()));
    const json::Request request(parser_.parseComplete());
    if (!good) {
        const std::string fault = first_line(parser_.lastError());
        send(session, json::Response(SyntaxError, "syntax error: " + fault, 0));
    } else if (!request.isObject() || request.methodName().empty()) {
        send(session, json::Response(NotARequest, "this isn't a request", 0));
    } else {
        answer(session, request, obey(sessions_[session], request));
    }
    return takeFrames();
}

// ----- What happens at the door --------------------------------------------------------------

std::vector<Frame> Station::ring() {
    if (!settings_.bells.empty()) recordVisitor(0);
    return takeFrames();
}

std::vector<Frame> Station::ring(const std::string& bell) {
    for (std::size_t i = 0; i < settings_.bells.size(); ++i) {
        if (settings_.bells[i].name != bell) continue;
        recordVisitor(i);
        break;
    }
    return takeFrames();
}

std::vector<Frame> Station::openDoor() {
    if (!doorOpen_) pushState("door");
    doorOpen_ = true;
    return takeFrames();
}

std::vector<Frame> Station::closeDoor() {
    if (doorOpen_) pushState("door");
    doorOpen_ = false;
    return takeFrames();
}

std::vector<Frame> Station::switchLight(bool on) {
    if (lightOn_ != on) pushState("elight");
    lightOn_ = on;
    return takeFrames();
}

void Station::reboot() {
    sessions_.clear();
    doorOpen_ = false;
    lightOn_ = false;
    ringing_ = false;
    view_ = View();
    displayMode_ = "standard";
}

void Station::removeAddressee(std::int64_t id) {
    std::vector<Addressee>& book = settings_.addressBook;
    book.erase(std::remove_if(book.begin(), book.end(),
                              [id](const Addressee& addressee) { return addressee.id == id; }),
               book.end());
}

bool Station::hasBell(const std::string& name) const {
    return std::any_of(settings_.bells.begin(), settings_.bells.end(),
                       [&name](const Bell& bell) { return bell.name == name; });
}

std::vector<KnownPhone> Station::knownPhones() const {
    std::vector<KnownPhone> phones;
    for (const auto& [token, phone] : phones_) {
        const Addressee* const addressee = addresseeOf(phone.addressee);
        const bool registered =
            std::any_of(sessions_.begin(), sessions_.end(),
                        [&key = token](const auto& entry) { return entry.second.phone == key; });
        phones.push_back(
            {token, phone.name, addressee == nullptr ? "" : addressee->name, registered});
    }
    return phones;
}

std::string Station::livePicture(int width, int height) const {
    const shared::Picture picture =
        drawn(cameraView(), "live view", std::min(std::max(width, 1), kWidestPicture),
              std::min(std::max(height, 1), kHighestPicture));
    return shared::jpegOf(picture, "live view, " + shared::utcTime(time_));
}

// ----- From request to frames ----------------------------------------------------------------

const std::map<std::string, Station::Handler>& Station::handlers() {
    static const std::map<std::string, Handler> table = {
        {"list_methods", &Station::listMethods},
        {"version", &Station::version},
        {"register_device", &Station::registerDevice},
        {"subscription", &Station::subscription},
        {"trigger", &Station::trigger},
        {"bell_ack", &Station::bellAck},
        {"ring", &Station::pressBell},
        {"ptz_click", &Station::ptzClick},
        {"ptz_pan", &Station::ptzPan},
        {"ptz_zoom", &Station::ptzZoom},
        {"display_mode", &Station::displayMode},
        {"live", &Station::live},
        {"pause", &Station::pause},
        {"endfilter", &Station::endFilter},
        {"play", &Station::play},
        {"mailboxdata", &Station::mailBoxData},
        {"message_delete", &Station::messageDelete},
        {"preview_message", &Station::previewMessage},
        {"preview_live", &Station::previewLive},
        {"quit", &Station::quit},
        {"list_contact_numbers", &Station::listContactNumbers},
        {"list_addressees", &Station::listAddressees},
        {"add_device", &Station::addDevice},
    };
    return table;
}

Station::Reply Station::obey(Session& session, const json::Request& request) {
    const std::string method = request.methodName();
    const json::Variant& record = catalogue_.find(method);
    if (record.isNull()) {
        // Devices of version 1 still know the name, later ones have forgotten it.
        if (method == "list_contact_numbers" && settings_.versionMajor == 1) {
            return {MethodWithdrawn, "withdrawn, use list_addressees"};
        }
        return {UnknownMethod, "unknown method " + quoted(method)};
    }
    const std::string fault = Catalogue::faultOf(record, request.arguments());
    if (!fault.empty()) return {WrongParameters, method + ": " + fault};
    return (this->*handlers().at(method))(session, request);
}

void Station::answer(SessionId to, const json::Request& request, const Reply& reply) {
    const std::int64_t id = std::max<std::int64_t>(request.referenceId(), 0);
    if (id == 0 && request.methodName() != "pause") return;
    if (reply.errorCode != 0) {
        send(to, json::Response(reply.errorCode, reply.errorText, id));
        return;
    }
    std::string attachment = reply.attachment;
    for (const json::Variant& result : reply.results) {
        send(to, json::Response(result, id), std::exchange(attachment, {}));
    }
}

void Station::send(SessionId to, const json::Response& response, const std::string& attachment) {
    qx::IntrusiveString text;
    response.print(text);
    std::string bytes(text.c_str(), text.length() + 1); // with the zero byte that ends it
    frames_.push_back({to, bytes + attachment});
}

void Station::pushState(const std::string& topic) { changed_.push_back(topic); }

void Station::pushBell() { bellChanged_ = true; }

std::vector<Frame> Station::takeFrames() {
    for (const std::string& topic : std::exchange(changed_, {})) {
        for (const auto& [id, session] : sessions_) {
            const auto subscribed = session.subscriptions.find(topic);
            if (!session.open || subscribed == session.subscriptions.end()) continue;
            send(id, json::Response(stateOf(topic), subscribed->second));
        }
    }
    if (std::exchange(bellChanged_, false)) {
        json::Variant event = list_of("bell", ringing_);
        if (lastBell_ > 0) event << json::Variant(settings_.bells[lastBell_].name);
        for (const auto& [id, session] : sessions_) {
            if (!session.open || session.registration == 0) continue;
            send(id, json::Response(event, session.registration));
        }
    }
    return std::exchange(frames_, {});
}

json::Variant Station::stateOf(const std::string& topic) const {
    if (topic == "door") return list_of(doorOpen_ ? "door_open" : "door_closed");
    if (topic == "elight") return list_of(lightOn_);
    return list_of(view_.right, view_.up, view_.zoom);
}

const Addressee* Station::addresseeOf(std::int64_t id) const {
    for (const Addressee& addressee : settings_.addressBook) {
        if (addressee.id == id) return &addressee;
    }
    return nullptr;
}

json::Variant Station::rowOf(const Addressee& addressee) const {
    const bool firstKind = settings_.versionMajor == 0;
    return list_of(firstKind ? addressee.number : std::to_string(addressee.id), addressee.name,
                   addressee.unit);
}

std::size_t Station::viewersNow() const {
    return static_cast<std::size_t>(
        std::count_if(sessions_.begin(), sessions_.end(), [](const auto& entry) {
            return entry.second.open && entry.second.showing == Showing::Live;
        }));
}

void Station::recordVisitor(std::size_t bell) {
    ringing_ = true;
    lastBell_ = bell;
    pushBell();
    Message message;
    message.mailBox = settings_.bells[bell].mailBox;
    message.sender = "unknown";
    message.tenthsOfSeconds = kTenthsOfAVisit;
    message.view = cameraView();
    message.view.camera = settings_.bells[bell].name;
    mailBoxes_.record(message);
    endPlaybackOfLostMessages();
}

void Station::endPlaybackOfLostMessages() {
    for (auto& [id, session] : sessions_) {
        if (session.playing == 0 || mailBoxes_.find(session.playing) != nullptr) continue;
        session.showing = Showing::Nothing;
        session.playing = 0;
        session.paused = false;
    }
}

CameraView Station::cameraView() const {
    CameraView view;
    view.camera = "front";
    view.time = time_;
    view.doorOpen = doorOpen_;
    view.lightOn = lightOn_;
    view.right = view_.right;
    view.up = view_.up;
    view.zoom = view_.zoom;
    return view;
}

Station::Reply Station::pictureReply(const CameraView& view, const std::string& title,
                                     const json::Variant& width, const json::Variant& height) {
    json::Variant result;
    result["blocks_follow"] = 1;
    Reply reply(result);
    const shared::Picture picture =
        drawn(view, title, static_cast<int>(width.integerValue()),
              static_cast<int>(height.integerValue())); // within the bounds of the catalogue
    reply.attachment = shared::jpegOf(picture, title + ", " + shared::utcTime(view.time));
    return reply;
}

// ----- One handler per method; the parameters are as the catalogue wants them ------------------

Station::Reply Station::listMethods(Session&, const json::Request&) { return catalogue_.records(); }

Station::Reply Station::version(Session&, const json::Request&) {
    json::Variant result;
    result["version_major"] = settings_.versionMajor;
    result["version_minor"] = settings_.versionMinor;
    return result;
}

Station::Reply Station::registerDevice(Session& session, const json::Request& request) {
    if (settings_.addressBook.empty()) return {SetupIncomplete, "nobody is in the address book"};
    const std::string token = request.arguments()[0];
    const auto phone = phones_.find(token);
    if (phone == phones_.end()) return {UnknownPhone, "this phone isn't known"};
    const Addressee* addressee = addresseeOf(phone->second.addressee);
    if (addressee == nullptr) return {AddresseeGone, "the addressee of this phone is gone"};
    session.registration = request.referenceId();
    if (session.phone == token) return {RegisteredAlready, "this phone is registered already"};
    session.phone = token;
    return list_of(rowOf(*addressee));
}

Station::Reply Station::subscription(Session& session, const json::Request& request) {
    const std::string topic = request.arguments()[0];
    if (!request.arguments()[1].booleanValue()) {
        session.subscriptions.erase(topic);
    } else if (request.referenceId() > 0) {
        session.subscriptions[topic] = request.referenceId();
    }
    return stateOf(topic);
}

Station::Reply Station::trigger(Session&, const json::Request& request) {
    const std::string what = request.arguments()[0];
    if (what == "door") {
        doorOpen_ = true;
    } else {
        lightOn_ = !lightOn_;
    }
    pushState(what);
    return json::Variant(true);
}

Station::Reply Station::bellAck(Session&, const json::Request&) {
    const bool wasRinging = std::exchange(ringing_, false);
    pushBell();
    return json::Variant(wasRinging);
}

Station::Reply Station::pressBell(Session&, const json::Request&) {
    if (!settings_.bells.empty()) recordVisitor(0);
    return json::Variant(true);
}

Station::Reply Station::ptzClick(Session&, const json::Request& request) {
    // The middle of the picture is 500, 500; its edge is 10 steps away, and nearer when zoomed in.
    const json::List& point = request.arguments();
    const std::int64_t thousandthsPerStep = 50 * view_.zoom;
    const std::int64_t right = (point[0].integerValue() - 500) / thousandthsPerStep;
    const std::int64_t up = (500 - point[1].integerValue()) / thousandthsPerStep;
    view_.right = clamped(view_.right + right, -kFarthestTurn, kFarthestTurn);
    view_.up = clamped(view_.up + up, -kFarthestTurn, kFarthestTurn);
    if (point[2].booleanValue()) view_.zoom = std::min(view_.zoom + 1, kGreatestZoom);
    pushState("view");
    return stateOf("view");
}

Station::Reply Station::ptzPan(Session&, const json::Request& request) {
    const json::List& steps = request.arguments();
    const View from = steps[2].booleanValue() ? view_ : View{0, 0, view_.zoom};
    view_.right = clamped(from.right + steps[0].integerValue(), -kFarthestTurn, kFarthestTurn);
    view_.up = clamped(from.up + steps[1].integerValue(), -kFarthestTurn, kFarthestTurn);
    pushState("view");
    return stateOf("view");
}

Station::Reply Station::ptzZoom(Session&, const json::Request& request) {
    const std::int64_t zoom = request.arguments()[0].integerValue();
    const std::int64_t from = request.arguments()[1].booleanValue() ? view_.zoom : 0;
    view_.zoom = clamped(from + zoom, kSmallestZoom, kGreatestZoom);
    pushState("view");
    return stateOf("view");
}

Station::Reply Station::displayMode(Session&, const json::Request& request) {
    displayMode_ = request.arguments()[0].charsValue();
    return json::Variant(displayMode_);
}

Station::Reply Station::live(Session& session, const json::Request&) {
    if (session.showing != Showing::Live && viewersNow() >= settings_.viewers) {
        return {Busy, "all live views are taken"};
    }
    session.showing = Showing::Live;
    session.playing = 0;
    session.paused = false;
    json::Variant result;
    result["mode"] = displayMode_;
    result["size"] = list_of(640, 480);
    result["fps"] = 25;
    return result;
}

Station::Reply Station::pause(Session& session, const json::Request&) {
    session.paused = session.showing != Showing::Nothing;
    json::Variant result;
    result["paused"] = session.paused;
    return result;
}

Station::Reply Station::endFilter(Session& session, const json::Request& request) {
    session.endFilter = request.arguments()[0].charsValue();
    return json::Variant(session.endFilter);
}

Station::Reply Station::play(Session& session, const json::Request& request) {
    const json::List& params = request.arguments();
    json::Variant result;
    if (params[0].isString()) {
        const std::string position = params[0];
        const Message* const message = mailBoxes_.find(sequence_in(position));
        if (message == nullptr) return {UnknownMessage, "no message at " + quoted(position)};
        session.playing = message->sequence;
    } else if (params.size() >= 3) {
        session.playing = 0;
        result["start"] = params[0].realValue();
        result["end"] = params[2].realValue();
    }
    if (session.playing != 0) result["message"] = session.playing;
    session.showing = Showing::Playback;
    session.paused = false;
    result["mode"] = displayMode_;
    if (!session.endFilter.empty()) result["endfilter"] = session.endFilter;
    return result;
}

Station::Reply Station::mailBoxData(Session&, const json::Request& request) {
    const std::deque<Message>* const messages =
        mailBoxes_.messagesOf(request.arguments()[0].integerValue());
    if (messages == nullptr) return {UnknownMessage, "there is no such mail box"};
    std::vector<json::Variant> batches(1, json::Variant::newList());
    for (const Message& message : *messages) {
        batches.back() << message.row();
        if (batches.back().size() == kRowsPerBatch) batches.push_back(json::Variant::newList());
    }
    return batches;
}

Station::Reply Station::messageDelete(Session&, const json::Request& request) {
    const json::List& params = request.arguments();
    Message* const message = mailBoxes_.find(params[0].integerValue());
    if (message == nullptr || params[1].integerValue() != 0) {
        return {UnknownMessage, "there is no such message"};
    }
    if (params.size() == 3) {
        message->seen = params[2].booleanValue();
    } else {
        mailBoxes_.remove(message->sequence);
        endPlaybackOfLostMessages();
    }
    return json::Variant(true);
}

Station::Reply Station::previewMessage(Session&, const json::Request& request) {
    const json::List& params = request.arguments();
    const Message* const message = mailBoxes_.findRecord(params[0].integerValue());
    if (message == nullptr) return {UnknownMessage, "there is no such message"};
    return pictureReply(message->view, "message " + std::to_string(message->sequence), params[1],
                        params[2]);
}

Station::Reply Station::previewLive(Session&, const json::Request& request) {
    const json::List& params = request.arguments();
    return pictureReply(cameraView(), "live view", params[0], params[1]);
}

Station::Reply Station::quit(Session& session, const json::Request&) {
    session.open = false;
    return json::Variant();
}

Station::Reply Station::listContactNumbers(Session&, const json::Request&) {
    json::Variant rows = json::Variant::newList();
    for (const Addressee& addressee : settings_.addressBook) {
        json::Variant row;
        row["contact_number"] = addressee.number;
        row["name"] = addressee.name;
        rows << row;
    }
    return rows;
}

Station::Reply Station::listAddressees(Session&, const json::Request&) {
    json::Variant rows = json::Variant::newList();
    for (const Addressee& addressee : settings_.addressBook) {
        rows << rowOf(addressee);
    }
    return rows;
}

Station::Reply Station::addDevice(Session& session, const json::Request& request) {
    const json::List& params = request.arguments();
    const std::string token = params[0];
    const bool firstKind = settings_.versionMajor == 0;
    const json::Variant& wanted = firstKind ? params[1] : params[1][0];
    for (const Addressee& addressee : settings_.addressBook) {
        // A text equals a string only, and an integer is read from anything: both are safe here.
        if (firstKind ? !(wanted == addressee.number) : wanted.integerValue() != addressee.id) {
            continue;
        }
        if (phones_.size() >= kMostPhones && phones_.count(token) == 0) {
            return {TooManyPhones, "the station knows 1000 phones already"};
        }
        phones_[token] = Phone{addressee.id, params[2].charsValue()};
        session.phone = token;
        session.registration = std::max<std::int64_t>(request.referenceId(), 0);
        return list_of(rowOf(addressee));
    }
    return {UnknownAddressee, "there is no addressee " + quoted(wanted)};
}

} // namespace station
