// SPDX-License-Identifier: MIT
#include "expect.h"
#include "phone.h"

#include <string>

namespace {

class Player : public QuietPhone {
public:
    bool isLive() const { return (playbackMode & 15) == 2; }
    bool isRecording() const { return (playbackMode & 15) == 4; }
    bool isPaused() const { return (playbackMode & 48) == 32; }
    bool isWaiting() const { return playbackMode >= 16 && !isPaused(); }
    int shown = 0;

    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        if (!QuietPhone::handleResponse(request, response, result)) return false;
        const qx::IntrusiveString& method = request.methodName();
        if (method == *methods().live || method == *methods().play || method == *methods().pause) {
            showMode();
        }
        return true;
    }

    /// The device agrees to what was sent last.
    void agree() {
        json::Variant answer;
        answer["id"] = sent.back().referenceId();
        answer["result"] = true;
        receive(answer.charsValue());
    }

private:
    void showMode() { ++shown; }
};

void live_pause_play() {
    Player player;
    player.setupSubscriptions("phone-17");
    player.live();
    EXPECT(player.isWaiting());
    player.agree();
    EXPECT(player.isLive() && !player.isWaiting());
    player.pause();
    player.agree(); // the answer to a pause has no id
    EXPECT(player.isLive() && player.isPaused());
    player.play();
    EXPECT(player.isRecording() && player.isWaiting());
}

void modes_are_told() {
    Player player;
    player.live();
    player.agree();
    EXPECT(player.shown == 1 && player.isLive());
}

void stretch() {
    Player player;
    player.play(1772616600, 1772616660, false); // a minute of the recording
    EXPECT(player.lastCall() == "play [1772616600.0,0.0,1772616660.0,false]");
    player.agree();
    EXPECT(player.isRecording());
}

} // namespace

int main() {
    live_pause_play();
    modes_are_told();
    stretch();
}
