// SPDX-License-Identifier: MIT
// The two files to copy, each against a station behind a server of this test, on one thread.
#include "transports/TcpTransport.h"
#include "transports/WebSocketTransport.h"

#include "shared/QuietClient.h"
#include "station/Station.h"

#include <gtest/gtest.h>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using asio::ip::tcp;
using boost::system::error_code;

/// What one client's connection can, however its messages are framed.
class Wire {
public:
    virtual ~Wire() = default;
    std::function<void()> ready;
    std::function<void(const std::string&)> arrived;
    std::function<void()> gone = [] {}; // the client has left
    virtual void start() = 0;
    virtual void send(const std::string& bytes) = 0;
    /// As they are, without framing.
    virtual void sendRaw(const std::string& bytes) = 0;
    virtual void close() = 0;
};

class TcpWire : public Wire {
public:
    explicit TcpWire(tcp::socket socket) : socket_(std::move(socket)) {}
    void start() override {
        ready();
        read();
    }
    void send(const std::string& bytes) override {
        const auto size = static_cast<std::uint32_t>(bytes.size());
        std::string message;
        for (const unsigned int bits : {24U, 16U, 8U, 0U}) {
            message += static_cast<char>(size >> bits & 0xFFU);
        }
        sendRaw(message + bytes);
    }
    void sendRaw(const std::string& bytes) override { asio::write(socket_, asio::buffer(bytes)); }
    void close() override {
        error_code ignored;
        socket_.close(ignored);
    }

private:
    void read() {
        socket_.async_read_some(asio::buffer(piece_), [this](error_code error, std::size_t size) {
            if (error) return gone();
            typed_.append(piece_.data(), size);
            while (typed_.size() >= 4) {
                std::size_t length = 0;
                for (int i = 0; i < 4; ++i) {
                    length = length << 8 |
                             static_cast<unsigned char>(typed_[static_cast<std::size_t>(i)]);
                }
                if (typed_.size() < 4 + length) break;
                arrived(typed_.substr(4, length));
                typed_.erase(0, 4 + length);
            }
            read();
        });
    }
    tcp::socket socket_;
    std::array<char, 1000> piece_{};
    std::string typed_;
};

class WebSocketWire : public Wire {
public:
    explicit WebSocketWire(tcp::socket socket) : stream_(std::move(socket)) {}
    void start() override {
        stream_.async_accept([this](error_code error) {
            if (error) return;
            stream_.binary(true);
            ready();
            read();
        });
    }
    void send(const std::string& bytes) override { stream_.write(asio::buffer(bytes)); }
    void sendRaw(const std::string& bytes) override {
        asio::write(stream_.next_layer(), asio::buffer(bytes));
    }
    void close() override {
        error_code ignored;
        stream_.next_layer().close(ignored);
    }

private:
    void read() {
        stream_.async_read(buffer_, [this](error_code error, std::size_t) {
            if (error) return gone();
            const std::string text = boost::beast::buffers_to_string(buffer_.data());
            buffer_.clear();
            arrived(text);
            read();
        });
    }
    websocket::stream<tcp::socket> stream_;
    boost::beast::flat_buffer buffer_;
};

struct Tcp {
    using Transport = transports::TcpTransport;
    using ServerWire = TcpWire;
    static constexpr const char* file = "TcpTransport.h";
    /// The beginning of a message of 16 MiB and a byte.
    static std::string beginningOfTooMuch() { return {'\x01', '\x00', '\x00', '\x01', '{'}; }
};
struct WebSocket {
    using Transport = transports::WebSocketTransport;
    using ServerWire = WebSocketWire;
    static constexpr const char* file = "WebSocketTransport.h";
    static std::string beginningOfTooMuch() {
        return {'\x82', '\x7F', '\x00', '\x00', '\x00', '\x00',
                '\x01', '\x00', '\x00', '\x01', '{'};
    }
};

/// A door station with clients over real connections. It forgets all when it reboots.
template <typename Kind>
class Server {
public:
    explicit Server(asio::io_context& io) : acceptor_(io, {asio::ip::address_v4::loopback(), 0}) {
        accept();
    }
    std::string port() const { return std::to_string(acceptor_.local_endpoint().port()); }
    /// Loses all clients, and what it knew.
    void reboot() {
        for (auto& row : wires) {
            row.second->close();
            gone_.push_back(std::move(row.second));
        }
        wires.clear();
        station = std::make_unique<station::Station>();
    }
    void deliver(const std::vector<station::Frame>& frames) {
        for (const station::Frame& frame : frames) {
            const auto wire = wires.find(frame.session);
            if (wire != wires.end()) wire->second->send(frame.bytes);
        }
    }

    std::unique_ptr<station::Station> station = std::make_unique<station::Station>();
    std::map<station::SessionId, std::unique_ptr<Wire>> wires;
    std::vector<std::string> requests;
    int connections = 0;
    int left = 0;
    bool answers = true;

private:
    void accept() {
        acceptor_.async_accept([this](error_code error, tcp::socket socket) {
            if (error) return;
            auto wire = std::make_unique<typename Kind::ServerWire>(std::move(socket));
            Wire* const it = wire.get();
            pending_.push_back(std::move(wire));
            it->ready = [this, it] { welcome(it); };
            it->start();
            accept();
        });
    }
    void welcome(Wire* it) {
        const auto found = std::find_if(pending_.begin(), pending_.end(),
                                        [&](const auto& wire) { return wire.get() == it; });
        const station::SessionId session = station->connect();
        it->arrived = [this, session](const std::string& text) {
            requests.push_back(text);
            if (answers) deliver(station->receive(session, text));
        };
        it->gone = [this, it] {
            it->close();
            ++left;
        };
        wires[session] = std::move(*found);
        pending_.erase(found);
        ++connections;
    }
    tcp::acceptor acceptor_;
    std::vector<std::unique_ptr<Wire>> pending_;
    std::vector<std::unique_ptr<Wire>> gone_;
};

/// An application: hears of the door, and notes when.
class Phone : public shared::QuietClient {
public:
    explicit Phone(std::function<void(const std::string&)> send) : send_(std::move(send)) {}
    void sendJsonText(const char* text, int size) override {
        sending = true;
        send_(std::string(text, static_cast<std::size_t>(size)));
        sending = false;
    }
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        heardWhileSending = heardWhileSending || sending;
        ++responses;
        return GatecastConversation::handleResponse(request, response, result);
    }
    bool sending = false;
    bool heardWhileSending = false;
    int responses = 0;

protected:
    void livePreviewReady(Image image) override { picture = *image; }

public:
    std::string picture;

private:
    std::function<void(const std::string&)> send_;
};

template <typename Kind>
class Transport : public testing::Test {
protected:
    using TransportClass = typename Kind::Transport;

    Transport()
        : server(io), transport(io, "127.0.0.1", server.port()),
          phone([this](const std::string& text) { transport.send(text); }) {
        transport.connected = [this] {
            phone.setupSubscriptions("phone-17");
            ++connected;
        };
        transport.received = [this](const std::string& update) {
            updates.push_back(update);
            phone.arrived(update);
        };
        transport.lost = [this](const std::string& why) {
            heardLossWhileSending = heardLossWhileSending || phone.sending;
            reasons.push_back(why);
        };
    }
    /// Runs until it holds; false if it doesn't in a minute.
    bool until(const std::function<bool()>& holds) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!holds()) {
            if (io.run_one_until(deadline) == 0) return false;
        }
        return true;
    }
    std::string door() const { return phone.doorAndLightStatus().doorStatus.c_str(); }

    asio::io_context io{1};
    Server<Kind> server;
    TransportClass transport;
    Phone phone;
    int connected = 0;
    bool heardLossWhileSending = false;
    std::vector<std::string> updates;
    std::vector<std::string> reasons;
};

struct KindName {
    template <typename Kind>
    static std::string GetName(int) {
        const std::string file = Kind::file;
        return file.substr(0, file.find("Transport"));
    }
};

using Kinds = testing::Types<WebSocket, Tcp>;
TYPED_TEST_SUITE(Transport, Kinds, KindName);

} // namespace

TYPED_TEST(Transport, IsAFileOfLessThan150Lines) {
    std::ifstream file(std::string(GATECAST_EXAMPLES_DIR "/transports/") + TypeParam::file);
    ASSERT_TRUE(file);
    int lines = 0;
    for (std::string line; std::getline(file, line);)
        ++lines;
    EXPECT_LT(lines, 150);
    EXPECT_GT(lines, 20);
}

TYPED_TEST(Transport, OpensADoor) {
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->door() == "door_closed"; }));
    this->phone.triggerDoor();
    ASSERT_TRUE(this->until([this] { return this->door() == "door_open"; }));
    EXPECT_TRUE(this->server.station->doorIsOpen());
}

TYPED_TEST(Transport, BringsThePictureBehindTheText) {
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->connected == 1; }));
    this->phone.downloadLivePreviewImage(1920, 1080, false);
    ASSERT_TRUE(this->until([this] { return !this->phone.picture.empty(); }));
    EXPECT_EQ("\xFF\xD8", this->phone.picture.substr(0, 2));
    EXPECT_EQ("\xFF\xD9", this->phone.picture.substr(this->phone.picture.size() - 2));
}

TYPED_TEST(Transport, KeepsTheOrderOfWhatIsSent) {
    this->server.answers = false;
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->connected == 1; }));
    std::vector<std::string> expected;
    for (int i = 0; i < 500; ++i) {
        expected.push_back(std::string(static_cast<std::size_t>(i) * 7, 'x') + std::to_string(i));
        this->transport.send(expected.back());
    }
    const std::size_t greeting = 4;
    ASSERT_TRUE(this->until([&] { return this->server.requests.size() == 500 + greeting; }));
    EXPECT_EQ(expected, std::vector<std::string>(this->server.requests.begin() + greeting,
                                                 this->server.requests.end()));
}

TYPED_TEST(Transport, TellsNothingFromInsideSend) {
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->phone.responses >= 4; }));
    const int before = this->phone.responses;
    for (int i = 0; i < 50; ++i) {
        this->phone.call0("version");
    }
    EXPECT_EQ(before, this->phone.responses) << "only the context may feed";
    ASSERT_TRUE(this->until([&] { return this->phone.responses >= before + 50; }));
    this->server.reboot();
    for (int i = 0; i < 2000; ++i) {
        this->phone.call0("version"); // more than the queue takes
    }
    ASSERT_TRUE(this->until([this] { return !this->reasons.empty(); }));
    EXPECT_FALSE(this->phone.heardWhileSending);
    EXPECT_FALSE(this->heardLossWhileSending);
}

TYPED_TEST(Transport, NeverWaitsForAStationThatDoesNotRead) {
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->connected == 1; }));
    for (int i = 0; i < 2000; ++i) {
        this->transport.send(std::string(100'000, 'x')); // 200 MB, if all of it were kept
    }
    SUCCEED() << "it came back without the station having run";
}

TYPED_TEST(Transport, SubscribesAgainWhenTheStationHasRebooted) {
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->door() == "door_closed"; }));
    this->server.reboot();
    ASSERT_TRUE(this->until([this] { return this->connected == 2; }));
    EXPECT_EQ(1u, this->reasons.size());
    const std::size_t seen = this->updates.size();
    ASSERT_TRUE(this->until([&] { return this->updates.size() >= seen + 4; }));
    const station::SessionId visitor = this->server.station->connect();
    this->server.deliver(
        this->server.station->receive(visitor, R"({"method": "trigger", "params": ["door"]})"));
    EXPECT_TRUE(this->until([this] { return this->door() == "door_open"; }));
}

TYPED_TEST(Transport, DropsWhatIsSentWithoutAConnection) {
    this->transport.start();
    this->transport.send("{\"method\":\"trigger\",\"params\":[\"door\"]}");
    ASSERT_TRUE(this->until([this] { return this->phone.responses >= 4; }));
    for (const std::string& request : this->server.requests) {
        EXPECT_EQ(std::string::npos, request.find("trigger")) << request;
    }
    EXPECT_FALSE(this->server.station->doorIsOpen());
}

TYPED_TEST(Transport, TriesAgainUntilTheStationIsThere) {
    tcp::acceptor place(this->io, {asio::ip::address_v4::loopback(), 0});
    const tcp::endpoint where = place.local_endpoint();
    place.close(); // nobody listens
    typename TestFixture::TransportClass client(this->io, "127.0.0.1",
                                                std::to_string(where.port()));
    int attempts = 0;
    bool there = false;
    client.connected = [&] { there = true; };
    client.received = [](const std::string&) {};
    client.lost = [&](const std::string&) { ++attempts; };
    client.start();
    ASSERT_TRUE(this->until([&] { return attempts == 2; }));
    place.open(where.protocol());
    place.set_option(asio::socket_base::reuse_address(true));
    place.bind(where);
    place.listen();
    std::unique_ptr<Wire> wire;
    place.async_accept([&](error_code error, tcp::socket socket) {
        ASSERT_FALSE(error);
        wire = std::make_unique<typename TypeParam::ServerWire>(std::move(socket));
        wire->ready = [] {};
        wire->arrived = [](const std::string&) {};
        wire->start();
    });
    EXPECT_TRUE(this->until([&] { return there; }));
    client.stop();
    wire.reset();
}

TYPED_TEST(Transport, LeavesAStationThatSendsTooMuch) {
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->phone.responses >= 4; }));
    this->server.wires.begin()->second->sendRaw(TypeParam::beginningOfTooMuch());
    EXPECT_TRUE(this->until([this] { return this->connected == 2; }));
    EXPECT_EQ(1u, this->reasons.size());
}

TYPED_TEST(Transport, EndsWhenAllIsSent) {
    this->transport.start();
    ASSERT_TRUE(this->until([this] { return this->phone.responses >= 4; }));
    this->phone.triggerDoor();
    this->transport.stop();
    EXPECT_TRUE(this->until([this] { return this->server.station->doorIsOpen(); }));
    EXPECT_TRUE(this->until([this] { return this->server.left == 1; }));
    EXPECT_TRUE(this->reasons.empty());
    EXPECT_EQ(1, this->connected);
}
