// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "core/detail/NeverDestroyed.h"
#include "device/detail/PooledNames.h"

namespace qx {

namespace {

constexpr std::size_t kPreviewCapacity = 120;

// What subscriptions and triggers are about.
constexpr const char* kDoor = "door";
constexpr const char* kLight = "elight";

std::unique_ptr<GatecastConversation::PreviewCache> make_preview_cache() {
    using Images = MemoryCache<unsigned long long, std::string>;
    return std::make_unique<GatecastConversation::PreviewCache>(
        std::make_unique<Images>(kPreviewCapacity, true));
}

} // namespace

const GatecastConversation::Methods& GatecastConversation::methods() {
    static const detail::NeverDestroyed<Methods> methods(detail::pooled_names<Methods>({
        {&Methods::version, "version"},
        {&Methods::registerDevice, "register_device"},
        {&Methods::subscription, "subscription"},
        {&Methods::addDevice, "add_device"},
        {&Methods::ptzClick, "ptz_click"},
        {&Methods::ptzPan, "ptz_pan"},
        {&Methods::ptzZoom, "ptz_zoom"},
        {&Methods::bellAck, "bell_ack"},
        {&Methods::trigger, "trigger"},
        {&Methods::displayMode, "display_mode"},
        {&Methods::live, "live"},
        {&Methods::pause, "pause"},
        {&Methods::endFilter, "endfilter"},
        {&Methods::play, "play"},
        {&Methods::mailBoxData, "mailboxdata"},
        {&Methods::messageDelete, "message_delete"},
        {&Methods::messageSeen, "message_seen"},
        {&Methods::previewMessage, "preview_message"},
        {&Methods::previewLive, "preview_live"},
        {&Methods::listContactNumbers, "list_contact_numbers"},
        {&Methods::listAddressees, "list_addressees"},
    }));
    return *methods;
}

const GatecastConversation::Keys& GatecastConversation::keys() {
    static const detail::NeverDestroyed<Keys> keys(detail::pooled_names<Keys>({
        {&Keys::versionMajor, "version_major"},
        {&Keys::versionMinor, "version_minor"},
        {&Keys::contactNumber, "contact_number"},
        {&Keys::name, "name"},
        {&Keys::bell, "bell"},
        {&Keys::doorOpen, "door_open"},
        {&Keys::doorClosed, "door_closed"},
        {&Keys::boltOpen, "bolt_open"},
        {&Keys::boltClosed, "bolt_closed"},
        {&Keys::mode, "mode"},
        {&Keys::size, "size"},
        {&Keys::fps, "fps"},
        {&Keys::error, "error"},
    }));
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
    // Intended: the call takes the place of the registration, which ends with its answer.
    // Held by GatecastConversation.EndsTheSubscriptionOfTheRegistrationByAddDevice.
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
