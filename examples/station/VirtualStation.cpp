// SPDX-License-Identifier: MIT
#include "station/VirtualStation.h"

#include "rpc/Request.h"
#include "json/JsonParser.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>

namespace station {

namespace {

constexpr std::size_t kMostDeliveries = 10000; // without the time going on

/// True as long as it lives.
class During {
public:
    explicit During(bool& flag) : flag_(flag) { flag_ = true; }
    ~During() { flag_ = false; }
    During(const During&) = delete;
    During& operator=(const During&) = delete;

private:
    bool& flag_;
};

} // namespace

// ----- VirtualStation ------------------------------------------------------------------------

VirtualStation::VirtualStation(SimulationSettings settings) : simulation_(std::move(settings)) {
    simulation_.onTraffic = [this](const Traffic& entry) { traffic_.push_back(entry); };
}

VirtualStation::~VirtualStation() {
    for (Line* line : lines_) {
        line->station_ = nullptr;
        line->session_ = 0;
    }
}

void VirtualStation::ring(const std::string& bell) {
    if (!simulation_.station().hasBell(bell)) {
        throw std::invalid_argument("the station has no bell \"" + bell + "\"");
    }
    simulation_.ring(bell);
}

void VirtualStation::tell(std::string_view text, std::string_view binary) {
    std::string bytes(text);
    bytes += '\0';
    bytes += binary;
    simulation_.tell(bytes);
}

bool VirtualStation::deliver() {
    if (delivering_) return false;
    const During delivery(delivering_);
    return deliverRequest() || deliverFrame() || deliverLoss();
}

std::size_t VirtualStation::run() {
    std::size_t deliveries = 0;
    while (deliver()) {
        if (++deliveries < kMostDeliveries) continue;
        throw std::runtime_error("application and station answer each other without an end");
    }
    return deliveries;
}

void VirtualStation::advance(double seconds) {
    if (delivering_ || !(seconds >= 0)) return;
    const Simulation::Milliseconds end =
        simulation_.now() + Simulation::Milliseconds(std::llround(seconds * 1000));
    run();
    for (std::optional<Simulation::Milliseconds> next;
         (next = simulation_.nextDue()) && *next <= end;) {
        simulation_.advanceTo(*next);
        run();
    }
    simulation_.advanceTo(end);
}

double VirtualStation::now() const { return static_cast<double>(simulation_.now().count()) / 1000; }

std::vector<std::string> VirtualStation::requests() const {
    std::vector<std::string> methods;
    for (const Traffic& entry : traffic_) {
        if (entry.kind != Traffic::Received) continue;
        const json::Request request(json::JsonParser::parseTree(entry.bytes));
        methods.emplace_back(request.isObject() ? request.methodName().c_str() : "");
    }
    return methods;
}

bool VirtualStation::deliverRequest() {
    if (requests_.empty()) return false;
    const auto [session, text] = std::move(requests_.front());
    requests_.pop_front();
    simulation_.receive(session, text);
    return true;
}

bool VirtualStation::deliverFrame() {
    const std::optional<Frame> frame = simulation_.takeFrame();
    if (!frame) return false;
    const auto line = std::find_if(lines_.begin(), lines_.end(), [&frame](const Line* candidate) {
        return candidate->session_ == frame->session;
    });
    if (line == lines_.end()) return true; // hung up meanwhile
    // In a buffer of just its size, so that a tool notices who reads behind it.
    const std::size_t size = frame->bytes.size();
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[size]);
    std::memcpy(buffer.get(), frame->bytes.data(), size);
    (*line)->client_.receiveJsonHeaderUpdate(buffer.get(), static_cast<unsigned int>(size));
    return true;
}

bool VirtualStation::deliverLoss() {
    for (Line* line : lines_) {
        if (line->session_ == 0 || simulation_.isOpen(line->session_)) continue;
        line->session_ = 0;
        const auto whenLost = line->whenLost; // may be changed, or its line destroyed, by the call
        if (whenLost) whenLost();
        return true;
    }
    return false;
}

// ----- Line ----------------------------------------------------------------------------------

Line::Line(VirtualStation& station, qx::IJsonHeaderUpdateReceiver& client)
    : station_(&station), client_(client) {
    station.lines_.push_back(this);
    connect();
}

Line::~Line() {
    hangUp();
    if (station_ == nullptr) return;
    std::vector<Line*>& lines = station_->lines_;
    lines.erase(std::remove(lines.begin(), lines.end(), this), lines.end());
}

void Line::send(const char* text, int size) {
    if (!isConnected()) return;
    station_->requests_.emplace_back(session_, std::string(text, static_cast<std::size_t>(size)));
}

bool Line::connect() {
    if (isConnected()) return true;
    session_ = station_ == nullptr ? 0 : station_->simulation_.connect();
    return session_ != 0;
}

void Line::hangUp() {
    const SessionId session = std::exchange(session_, 0);
    if (station_ == nullptr || session == 0) return;
    auto& requests = station_->requests_;
    for (const auto& [from, text] : requests) {
        if (from == session) station_->simulation_.receive(session, text);
    }
    requests.erase(std::remove_if(requests.begin(), requests.end(),
                                  [session](const auto& entry) { return entry.first == session; }),
                   requests.end());
    station_->simulation_.disconnect(session);
}

bool Line::isConnected() const {
    return station_ != nullptr && session_ != 0 && station_->simulation_.isOpen(session_);
}

} // namespace station
