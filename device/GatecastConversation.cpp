// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "core/detail/NeverDestroyed.h"

namespace qx {

namespace {

constexpr std::size_t kPreviewCapacity = 120;

// What subscriptions and triggers are about.
constexpr const char* kDoor = "door";
constexpr const char* kLight = "elight";

GatecastConversation::Methods make_methods() {
    json::Object::KeyPool& pool = json::Object::key_pool();
    GatecastConversation::Methods methods;
    methods.version = pool.intern("version");
    methods.registerDevice = pool.intern("register_device");
    methods.subscription = pool.intern("subscription");
    methods.addDevice = pool.intern("add_device");
    methods.ptzClick = pool.intern("ptz_click");
    methods.ptzPan = pool.intern("ptz_pan");
    methods.ptzZoom = pool.intern("ptz_zoom");
    methods.bellAck = pool.intern("bell_ack");
    methods.trigger = pool.intern("trigger");
    methods.displayMode = pool.intern("display_mode");
    methods.live = pool.intern("live");
    methods.pause = pool.intern("pause");
    methods.endFilter = pool.intern("endfilter");
    methods.play = pool.intern("play");
    methods.mailBoxData = pool.intern("mailboxdata");
    methods.messageDelete = pool.intern("message_delete");
    methods.messageSeen = pool.intern("message_seen");
    methods.previewMessage = pool.intern("preview_message");
    methods.previewLive = pool.intern("preview_live");
    methods.listContactNumbers = pool.intern("list_contact_numbers");
    methods.listAddressees = pool.intern("list_addressees");
    return methods;
}

GatecastConversation::Keys make_keys() {
    json::Object::KeyPool& pool = json::Object::key_pool();
    GatecastConversation::Keys keys;
    keys.versionMajor = pool.intern("version_major");
    keys.versionMinor = pool.intern("version_minor");
    keys.contactNumber = pool.intern("contact_number");
    keys.name = pool.intern("name");
    keys.bell = pool.intern("bell");
    keys.doorOpen = pool.intern("door_open");
    keys.doorClosed = pool.intern("door_closed");
    keys.boltOpen = pool.intern("bolt_open");
    keys.boltClosed = pool.intern("bolt_closed");
    keys.mode = pool.intern("mode");
    keys.size = pool.intern("size");
    keys.fps = pool.intern("fps");
    keys.error = pool.intern("error");
    return keys;
}

std::unique_ptr<GatecastConversation::PreviewCache> make_preview_cache() {
    using Images = MemoryCache<unsigned long long, std::string>;
    return std::make_unique<GatecastConversation::PreviewCache>(
        std::make_unique<Images>(kPreviewCapacity, true));
}

} // namespace

const GatecastConversation::Methods& GatecastConversation::methods() {
    static const detail::NeverDestroyed<Methods> methods(make_methods());
    return *methods;
}

const GatecastConversation::Keys& GatecastConversation::keys() {
    static const detail::NeverDestroyed<Keys> keys(make_keys());
    return *keys;
}

GatecastConversation::GatecastConversation()
    : json::Conversation(true), previewCache(make_preview_cache()) {}

GatecastConversation::~GatecastConversation() = default;

// ----- Commands ----------------------------------------------------------------------------------
//
// The state changes first and the request leaves second: its answer may arrive from inside.

void GatecastConversation::setupSubscriptions(std::string deviceToken) {
    playbackMode = 1;
    call0(*methods().version);
    subscribe(*methods().registerDevice, deviceToken, SubscribeDevice);
    subscribe2(*methods().subscription, kLight, true, SubscribeLight);
    subscribe2(*methods().subscription, kDoor, true, SubscribeDoor);
}

void GatecastConversation::addDevice(const IntrusiveString& a, const IntrusiveString& b,
                                     const IntrusiveString& c) {
    json::Variant second(c);
    if (versionMajor != 0) {
        second = json::Variant::newList();
        second << json::Variant(c).integerValue();
    }
    call3(*methods().addDevice, a, second, b, SubscribeDevice);
}

void GatecastConversation::ptzClick(int x, int y, bool flag) {
    call3(*methods().ptzClick, x, y, flag, NO_ID);
}

void GatecastConversation::ptzPan(int x, int y, bool flag) {
    call3(*methods().ptzPan, x, y, flag, NO_ID);
}

void GatecastConversation::ptzZoom(int zoom, bool flag) {
    call2(*methods().ptzZoom, zoom, flag, NO_ID);
}

void GatecastConversation::acknowledgeBell(bool flag) { call(*methods().bellAck, flag, NO_ID); }

void GatecastConversation::triggerDoor() { call(*methods().trigger, kDoor, NO_ID); }

void GatecastConversation::triggerLight() { call(*methods().trigger, kLight, NO_ID); }

void GatecastConversation::setDisplayMode(std::string mode) {
    call(*methods().displayMode, mode, NO_ID);
}

void GatecastConversation::live() {
    playbackMode = 18;
    currentEntry = MailBoxEntry();
    call0(*methods().live);
}

void GatecastConversation::pause() {
    playbackMode = (playbackMode & 15) + 48;
    call0(*methods().pause, NO_ID);
}

void GatecastConversation::play() {
    playbackMode = 20;
    call(*methods().endFilter, "", NO_ID);
    call0(*methods().play);
}

void GatecastConversation::play(double start, double end, bool flag) {
    currentEntry = MailBoxEntry();
    call(*methods().endFilter, "", NO_ID);
    json::Variant params;
    params << start << 0.0 << end << flag;
    call(*methods().play, params);
}

} // namespace qx
