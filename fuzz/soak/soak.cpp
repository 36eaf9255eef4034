// SPDX-License-Identifier: MIT
// A station and 50 clients in one process, hour after hour of simulated traffic. After each hour
// all traffic is over and most clients have left: from the third hour on the process must hold no
// more than after the second, when all that is kept for good has been met.
//
// usage: gatecast-soak [HOURS [SEED]]

#include "device/GatecastConversation.h"
#include "fuzz/soak/Counting.h"
#include "fuzz/support/Require.h"
#include "station/Station.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kClients = 50;
constexpr std::size_t kStayers = 10; // are never replaced by a new client
constexpr int kSecondsPerHour = 3600;

// What an hour may leave behind: the sizes of tables and texts differ a little by what came last.
constexpr std::int64_t kBlocksOfPlay = 200;
constexpr std::int64_t kBytesOfPlay = 64 * 1024;
constexpr std::int64_t kResidentOfPlay = 1024 * 1024;

using Text = qx::IntrusiveString;
using Book = std::map<std::string, std::string>;
using Image = boost::shared_ptr<std::string>;

/// What waits to be carried to the station.
struct Outgoing {
    std::size_t place; // of the client
    std::string text;
};

struct Figures {
    std::uint64_t requests = 0;
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;
    std::uint64_t broken = 0; // frames that were damaged on the way, or made up
    std::uint64_t images = 0;
};

/// A phone, whose requests go into the line of the house.
class Phone : public qx::GatecastConversation {
public:
    Phone(std::size_t place, std::deque<Outgoing>& line, Figures& figures)
        : place_(place), line_(line), figures_(figures) {}

    void sendJsonText(const char* text, int size) override {
        line_.push_back({place_, std::string(text, static_cast<std::size_t>(size))});
    }
    const std::vector<qx::MailBoxEntry>& messages() const { return messages_; }
    std::size_t waiting() const { return pendingRequests.size(); }

protected:
    void deviceRegistered(const Text&, const Text&, const Text&) override {}
    void addresseesListed(Book addressees) override { add(addressees.begin()->first); }
    void singleAddressee(const Text& first, const Text&, const Text&) override { add(first); }
    void showMessage(const Text&) override {}
    void mailBoxData(const json::List& result, int) override {
        messages_.clear();
        for (const json::Variant& row : result) {
            messages_.emplace_back(row);
        }
    }
    void mailPreviewReady(std::int64_t, Image) override { ++figures_.images; }
    void livePreviewReady(Image) override { ++figures_.images; }
    void contactRegistered(const Text&, const Text&) override {}
    void contactNumbersListed(Book contacts) override { add(contacts.begin()->first); }
    void singleContactNumber(const Text& number, const Text&) override { add(number); }

private:
    void add(const Text& addressee) {
        addDevice(("phone " + std::to_string(place_)).c_str(), addressee, "1");
    }

    const std::size_t place_;
    std::deque<Outgoing>& line_;
    Figures& figures_;
    std::vector<qx::MailBoxEntry> messages_;
};

class House {
public:
    explicit House(unsigned seed) : random_(seed), clients_(kClients) {
        for (std::size_t place = 0; place < kClients; ++place) {
            arrive(place);
        }
    }

    /// One second: some clients act, somebody may be at the door, all traffic is carried.
    void second() {
        for (std::size_t place = 0; place < kClients; ++place) {
            if (chance(150)) act(place); // of a thousand
        }
        if (chance(20)) carry(station_.ring());
        if (chance(100)) carry(station_.closeDoor());
        if (chance(30)) replaceOne();
        settle();
    }
    /// Everybody but those who stay for good goes and somebody new comes.
    void endHour() {
        for (std::size_t place = kStayers; place < kClients; ++place) {
            leave(place);
            arrive(place);
        }
        settle();
    }

    const Figures& figures() const { return figures_; }
    std::size_t waiting() const {
        std::size_t sum = 0;
        for (const Client& client : clients_) {
            sum += client.phone->waiting();
        }
        return sum;
    }

private:
    struct Client {
        station::SessionId session = 0;
        std::unique_ptr<Phone> phone;
    };

    std::size_t below(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
    }
    bool chance(std::size_t ofThousand) { return below(1000) < ofThousand; }

    void arrive(std::size_t place) {
        Client& client = clients_[place];
        client.session = station_.connect();
        client.phone = std::make_unique<Phone>(place, line_, figures_);
        client.phone->open();
        client.phone->setupSubscriptions("phone " + std::to_string(place));
        settle();
    }
    void leave(std::size_t place) {
        clients_[place].phone->close();
        settle();
        station_.disconnect(clients_[place].session);
        clients_[place].phone.reset();
    }
    void replaceOne() {
        const std::size_t place = kStayers + below(kClients - kStayers);
        leave(place);
        arrive(place);
    }

    void act(std::size_t place) {
        Phone& phone = *clients_[place].phone;
        const int number = static_cast<int>(below(20));
        switch (below(22)) {
        case 0:
        case 1:
            return phone.triggerDoor();
        case 2:
        case 3:
            return phone.triggerLight();
        case 4:
            return phone.acknowledgeBell(chance(500));
        case 5:
            return phone.ptzClick(number, number, true);
        case 6:
            return phone.ptzPan(number, -number, false);
        case 7:
            return phone.ptzZoom(number, false);
        case 8:
            return phone.live();
        case 9:
            return phone.pause();
        case 10:
            return phone.play();
        case 11:
            return phone.play(number, number + 5.0, true);
        case 12:
        case 13:
            return phone.readMailBox(std::to_string(below(4)));
        case 14:
            if (phone.messages().empty()) return;
            return phone.play(phone.messages()[below(phone.messages().size())], false, false);
        case 15:
            if (phone.messages().empty()) return;
            return phone.markMessageSeen(phone.messages().front(), chance(500));
        case 16:
            static_cast<void>(phone.downloadMailPreviewImage(100 + number, 1, number, chance(300)));
            return;
        case 17:
            static_cast<void>(phone.downloadLivePreviewImage(1, 1, chance(300)));
            return;
        case 18:
            return phone.setDisplayMode(chance(500) ? "wide" : "standard");
        case 19:
            return hurt(phone);
        case 20:
            static_cast<void>(phone.call("no_such_method", number));
            return;
        default:
            static_cast<void>(phone.call("list_addressees", json::Variant::EmptyList));
            return;
        }
    }

    /// Feeds what no honest station sends.
    void hurt(Phone& phone) {
        static const std::string texts[] = {
            R"({"result":[true],"id":123456})",
            R"({"result":null,"error":"none","id":-7})",
            R"({"result":{"a":{"a":{"a":[1,2,3]}}},"id":1e300})",
            R"({"result":["door_)",
            R"([[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[)",
            R"({"id":[],"result":"x","error":{}})",
            std::string("\0\0{}", 4),
            std::string(2000, ' '),
            "",
        };
        const std::string& text = texts[below(std::size(texts))];
        ++figures_.broken;
        deliver(phone, text);
    }

    /// Carries all requests to the station and its frames to the clients, until nobody speaks.
    void settle() {
        while (!line_.empty()) {
            const Outgoing next = std::move(line_.front());
            line_.pop_front();
            ++figures_.requests;
            carry(station_.receive(clients_[next.place].session, next.text));
        }
    }

    void carry(const std::vector<station::Frame>& frames) {
        for (const station::Frame& frame : frames) {
            for (Client& client : clients_) {
                if (client.session != frame.session || !client.phone) continue;
                if (chance(5)) {
                    // Lost in part, then sent once more.
                    ++figures_.broken;
                    deliver(*client.phone, frame.bytes.substr(0, below(frame.bytes.size() + 1)));
                }
                deliver(*client.phone, frame.bytes);
            }
        }
    }

    void deliver(Phone& phone, const std::string& frame) {
        ++figures_.frames;
        figures_.bytes += frame.size();
        phone.receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(frame.data()),
                                      static_cast<unsigned int>(frame.size()));
    }

    std::mt19937 random_;
    station::Station station_;
    std::deque<Outgoing> line_;
    std::vector<Client> clients_;
    Figures figures_;
};

/// Whether an hour left no more behind than the tables' play.
bool is_flat(const char* what, std::int64_t before, std::int64_t now, std::int64_t play) {
    if (now <= before + play) return true;
    std::printf("not flat: %s grew from %lld to %lld\n", what, static_cast<long long>(before),
                static_cast<long long>(now));
    return false;
}

} // namespace

int main(int count, char** arguments) {
    const int hours = count > 1 ? std::atoi(arguments[1]) : 6;
    const auto seed = static_cast<unsigned>(count > 2 ? std::atoi(arguments[2]) : 1);
    if (hours < 3) {
        std::fprintf(stderr, "gatecast-soak: two hours to settle and one to compare: at least 3\n");
        return 2;
    }
    std::unique_ptr<House> house;
    {
        const fuzz::Silence silence; // the registry tells of each schema
        house = std::make_unique<House>(seed);
    }
    std::printf("%-5s %9s %9s %10s %8s %12s %9s %12s %9s %8s\n", "hour", "requests", "frames",
                "bytes", "damaged", "allocations", "blocks", "heap bytes", "RSS kB", "seconds");
    soak::Holdings settled;
    soak::Holdings last;
    Figures before;
    for (int hour = 1; hour <= hours; ++hour) {
        const auto begun = std::chrono::steady_clock::now();
        const std::uint64_t allocations = soak::holdings().allocations;
        {
            const fuzz::Silence silence;
            for (int second = 0; second < kSecondsPerHour; ++second) {
                house->second();
            }
            house->endHour();
        }
        last = soak::holdings();
        if (hour == 2) settled = last;
        const Figures& now = house->figures();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begun;
        std::printf("%-5d %9llu %9llu %10llu %8llu %12llu %9lld %12lld %9lld %8.1f\n", hour,
                    static_cast<unsigned long long>(now.requests - before.requests),
                    static_cast<unsigned long long>(now.frames - before.frames),
                    static_cast<unsigned long long>(now.bytes - before.bytes),
                    static_cast<unsigned long long>(now.broken - before.broken),
                    static_cast<unsigned long long>(last.allocations - allocations),
                    static_cast<long long>(last.blocks), static_cast<long long>(last.bytes),
                    static_cast<long long>(last.resident / 1024), took.count());
        std::fflush(stdout);
        before = now;
    }
    std::printf("pending requests of all clients: %zu, images: %llu\n", house->waiting(),
                static_cast<unsigned long long>(house->figures().images));
    bool flat = is_flat("blocks", settled.blocks, last.blocks, kBlocksOfPlay);
    flat = is_flat("heap bytes", settled.bytes, last.bytes, kBytesOfPlay) && flat;
    flat = is_flat("resident bytes", settled.resident, last.resident, kResidentOfPlay) && flat;
    if (flat) std::printf("flat from hour 2 to hour %d\n", hours);
    return flat ? 0 : 1;
}
