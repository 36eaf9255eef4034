// SPDX-License-Identifier: MIT
#include "expect.h"
#include "phone.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

class BellPhone : public QuietPhone {
public:
    bool ringing = false;

    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        if (!QuietPhone::handleResponse(request, response, result)) return false;
        if (response.referenceId() == SubscribeDevice && response.firstResult() == "bell") {
            ringing = response.resultList().at(1);
        }
        return true;
    }
};

void hear_the_bell() {
    BellPhone phone;
    phone.receive(R"({"id":103,"result":["bell",true]})");
    EXPECT(phone.ringing);
    phone.receive(R"({"id":103,"result":["bell",false]})");
    EXPECT(!phone.ringing);
    phone.receive(R"({"id":103,"result":null,"error":[14,"who is that?"]})");
    EXPECT(!phone.ringing);
}

class DoorLog : public json::IResponseListener {
public:
    explicit DoorLog(const qx::GatecastConversation& phone) : phone_(phone) {}
    std::vector<std::string> lines;

    bool warningRequestValidation(const json::Request&, json::Schema::ValidationResult) override {
        return true;
    }
    bool handleResponse(const json::Request&, const json::Response& response,
                        json::Schema::ValidationResult) override {
        if (response.referenceId() == qx::GatecastConversation::SubscribeDoor) {
            lines.push_back(phone_.doorAndLightStatus().doorStatus); // already the new one
        }
        return true;
    }

private:
    const qx::GatecastConversation& phone_;
};

void listen() {
    QuietPhone phone;
    DoorLog log(phone);
    phone.registerListener(&log);
    phone.receive(R"({"id":101,"result":["door_open"]})");
    phone.receive(R"({"id":102,"result":[true]})");
    phone.receive(R"({"id":101,"result":["door_closed"]})");
    EXPECT(log.lines == std::vector<std::string>({"door_open", "door_closed"}));
}

/// Work for one thread, from any thread.
class Loop {
public:
    void post(std::function<void()> work) {
        const std::lock_guard<std::mutex> lock(mutex_);
        work_.push_back(std::move(work));
        arrived_.notify_one();
    }
    void run() {
        for (std::function<void()> work = next(); work; work = next()) {
            work();
        }
    }
    void stop() { post(nullptr); }

private:
    std::function<void()> next() {
        std::unique_lock<std::mutex> lock(mutex_);
        arrived_.wait(lock, [this] { return !work_.empty(); });
        std::function<void()> work = std::move(work_.front());
        work_.pop_front();
        return work;
    }

    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<std::function<void()>> work_;
};

class WindowPhone : public QuietPhone {
public:
    WindowPhone(Loop& window, std::string& label) : window_(window), label_(label) {}

protected:
    void showMessage(const qx::IntrusiveString& text) override {
        // On the device's thread: take what is needed along, and leave.
        window_.post([this, shown = std::string(text)] { label_ = shown; });
    }

private:
    Loop& window_;
    std::string& label_; // belongs to the window's thread
};

void cross_threads() {
    Loop device;
    Loop window;
    std::string label;
    WindowPhone phone(window, label);

    std::thread network([&device] { device.run(); });
    device.post([&phone] { phone.setupSubscriptions("phone-17"); });
    device.post([&phone] { phone.triggerDoor(); }); // what a button of the window does
    device.post([&phone] { phone.receive(R"({"id":103,"error":[30,"the line is busy"]})"); });
    device.post([&window] { window.stop(); });
    window.run(); // the thread of the window
    device.stop();
    network.join();
    EXPECT(label == "the line is busy");
    EXPECT(phone.lastCall() == R"(trigger ["door"])");
}

} // namespace

int main() {
    hear_the_bell();
    listen();
    cross_threads();
}
