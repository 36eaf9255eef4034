// SPDX-License-Identifier: MIT
#pragma once

#include "device/IJsonHeaderUpdateReceiver.h"
#include "station/Simulation.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace station {

class Line;

/// A door station for the tests of an application: in process, without a port, a thread or a
/// clock. Nothing moves until the test says so.
/// \code
/// station::VirtualStation station;
/// station::OnLine<Intercom> intercom(station); // Intercom derives from qx::GatecastConversation
/// intercom.setupSubscriptions("hall");
/// station.run();         // the requests arrive, and so do their answers
/// station.ring("front");
/// station.run();
/// station.advance(3);    // the door falls shut
/// \endcode
/// What an application sends waits until the test delivers it, and so does what it is to hear: an
/// answer never arrives from inside `sendJsonText`. Listeners run inside `deliver`, `run` and
/// `advance`; they may do anything but call one of these. Threads: one at a time.
class VirtualStation {
public:
    /// A station at time 0, without clients.
    explicit VirtualStation(SimulationSettings settings = SimulationSettings());
    /// Lines that are still there are lost, and may be destroyed afterwards.
    ~VirtualStation();
    VirtualStation(const VirtualStation&) = delete;
    VirtualStation& operator=(const VirtualStation&) = delete;

    // ----- What happens at the door: is heard of by the next delivery --------------------------

    /// A visitor presses a bell button. Bad input: a bell that isn't there throws
    /// `std::invalid_argument`.
    void ring(const std::string& bell = "front");
    /// By hand, at the door.
    /// @{
    void openDoor() { simulation_.openDoor(); }
    void closeDoor() { simulation_.closeDoor(); }
    void switchLight(bool on) { simulation_.switchLight(on); }
    /// @}
    /// All connections are lost, and all that is on its way.
    void disconnect() { simulation_.disconnectAll(); }
    /// The same, and the station forgets what it does without power. Nobody can connect until its
    /// boot time is over.
    void reboot() { simulation_.reboot(); }
    /// An addressee moves out of the address book.
    void moveOut(std::int64_t addressee) { simulation_.moveOut(addressee); }
    /// Every client is sent a header update of this text, and of a binary part if there is one.
    void tell(std::string_view text, std::string_view binary = {});
    /// The next frame of the station suffers this.
    void spoilNext(Fault fault) { simulation_.spoilNext(fault); }

    // ----- Time and delivery -------------------------------------------------------------------

    /// Delivers one thing that waits: a request to the station, a frame or the loss of its line to
    /// a client. False when nothing is due, and inside a delivery.
    bool deliver();
    /// Delivers until nothing is due, and gives how many things it were. Time stands still.
    /// Bad input: an application that answers each frame with a request never comes to an end;
    /// after 10,000 deliveries that throws `std::runtime_error`.
    std::size_t run();
    /// Lets time pass, and delivers whatever becomes due in the order of time.
    /// Bad input: time doesn't go back.
    void advance(double seconds);
    /// Seconds since the station began.
    double now() const;

    // ----- What can be seen --------------------------------------------------------------------

    /// What is so now, whatever the clients have heard of it.
    /// @{
    bool doorIsOpen() const { return simulation_.station().doorIsOpen(); }
    bool lightIsOn() const { return simulation_.station().lightIsOn(); }
    bool bellIsRinging() const { return simulation_.station().bellIsRinging(); }
    bool isBooting() const { return simulation_.isBooting(); }
    /// @}
    /// The phones that were added, its mail boxes, and more.
    const Station& device() const { return simulation_.station(); }
    /// What went over all lines, oldest first, up to the last `forgetTraffic`.
    const Recording& traffic() const { return traffic_; }
    /// Empties `traffic` and `requests`.
    void forgetTraffic() { traffic_.clear(); }
    /// The methods of the requests that have arrived, oldest first; "" for what isn't a request.
    std::vector<std::string> requests() const;

private:
    friend class Line;

    bool deliverRequest();
    bool deliverFrame();
    bool deliverLoss();

    Simulation simulation_;
    Recording traffic_;
    std::vector<Line*> lines_;
    std::deque<std::pair<SessionId, std::string>> requests_; // on their way to the station
    bool delivering_ = false;
};

/// One client's connection to a station, for an application that has a transport of its own.
///
/// It stands from the beginning, unless the station boots. Threads: one at a time.
class Line {
public:
    /// @param client  hears what arrives; must outlive the line, as must the station unless
    ///     nothing but the destructor is called afterwards.
    Line(VirtualStation& station, qx::IJsonHeaderUpdateReceiver& client);
    ~Line();
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// Takes a request on its way; what `sendJsonText` calls. Text that is sent on a lost line is
    /// lost.
    void send(const char* text, int size);
    /// Connects again. True when the line stands afterwards; false while the station boots.
    bool connect();
    /// The client hangs up. What it has sent arrives, what it was to hear doesn't.
    void hangUp();
    /// Whether the line stands.
    bool isConnected() const;

    /// Is called by a delivery when the station has closed the connection or is gone from the net;
    /// not after `hangUp`.
    std::function<void()> whenLost;

private:
    friend class VirtualStation;

    VirtualStation* station_;
    qx::IJsonHeaderUpdateReceiver& client_;
    SessionId session_ = 0; // 0 while not connected
};

/// An application's class whose requests go to a station and that hears what comes from there.
/// It must not outlive the station, but for its destruction.
template <typename Application>
class OnLine : public Application {
public:
    /// @param arguments  those of the application's own constructor.
    template <typename... Arguments>
    explicit OnLine(VirtualStation& station, Arguments&&... arguments)
        : Application(std::forward<Arguments>(arguments)...), line(station, *this) {}

    /// Sends the text on its way by the line.
    void sendJsonText(const char* text, int size) override { line.send(text, size); }

    Line line; ///< joins the client to the station
};

} // namespace station
