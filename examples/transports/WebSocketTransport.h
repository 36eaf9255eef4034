// SPDX-License-Identifier: MIT
// Copy this file into your application: a door station over WebSocket, with Boost.Beast.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

namespace transports {

/// Keeps a connection to a door station, and makes a new one when it is lost.
///
/// A text frame goes out for each request, a binary frame comes in for each header update.
/// \code
/// asio::io_context io;
/// WebSocketTransport station(io, "192.0.2.7", "80");
/// station.connected = [&] { phone.open(); phone.setupSubscriptions("phone-17"); };
/// station.received = [&](const std::string& update) { phone.arrived(update); };
/// station.start();
/// io.run(); // and phone.sendJsonText calls station.send
/// \endcode
/// Nothing here waits, and nothing is told from inside `send`: the three functions are called from
/// `io.run()`. Subscribe again in each `connected`: a station that has rebooted knows nobody.
///
/// Threads: one at a time, the one that runs the context. Don't run it any more when this is gone.
class WebSocketTransport {
public:
    std::function<void()> connected;
    std::function<void(const std::string& update)> received;
    /// Also told of each attempt that fails. The next one follows by itself, later and later.
    std::function<void(const std::string& why)> lost;

    WebSocketTransport(boost::asio::io_context& io, std::string host, std::string port)
        : io_(io), timer_(io), host_(std::move(host)), port_(std::move(port)) {}

    /// Connects, and connects again whenever that has come to an end.
    void start() {
        stopped_ = false;
        link_ = std::make_shared<Link>(io_);
        link_->resolver.async_resolve(host_, port_, [this, link = link_](Error e, auto found) {
            if (e || link != link_) return lose(link, e);
            tcp(*link).expires_after(kPatience);
            tcp(*link).async_connect(found, [this, link](Error failed, auto) {
                if (failed || link != link_) return lose(link, failed);
                shakeHands(link);
            });
        });
    }
    /// Queues a text behind those that are on their way. It is dropped behind a thousand of them,
    /// and without a connection: a door that opens a minute late surprises.
    void send(std::string text) {
        if (!link_ || !link_->up || link_->queue.size() == kLongestQueue) return;
        link_->queue.push_back(std::move(text));
        if (link_->queue.size() == 1) write(link_);
    }
    /// Closes when all is sent, and stays away. The context then runs out of work.
    void stop() {
        stopped_ = true;
        timer_.cancel();
        if (link_ && link_->up && link_->queue.empty()) return close(link_);
        if (link_ && !link_->up) lose(link_, {});
    }

private:
    using Error = boost::system::error_code;
    using Stream = boost::beast::websocket::stream<boost::beast::tcp_stream>;
    struct Link {
        explicit Link(boost::asio::io_context& io) : resolver(io), stream(io) {}
        boost::asio::ip::tcp::resolver resolver;
        Stream stream;
        boost::beast::flat_buffer update;
        std::deque<std::string> queue; // the first one is being written
        bool up = false;
    };
    using Shared = std::shared_ptr<Link>; // each operation under way keeps its own alive
    static constexpr std::chrono::milliseconds kFirstPause{250}, kLongestPause{8000};
    static constexpr std::chrono::seconds kPatience{10};
    static constexpr std::size_t kLongestUpdate = 16 * 1024 * 1024, kLongestQueue = 1000;

    static boost::beast::tcp_stream& tcp(Link& link) { return link.stream.next_layer(); }
    void shakeHands(const Shared& link) {
        using boost::beast::websocket::stream_base;
        tcp(*link).expires_never(); // from here on the WebSocket layer watches the time
        link->stream.set_option(stream_base::timeout{kPatience, 3 * kPatience, true});
        link->stream.read_message_max(kLongestUpdate);
        link->stream.text(true);
        link->stream.async_handshake(host_ + ":" + port_, "/", [this, link](Error e) {
            if (e || link != link_) return lose(link, e);
            link->up = true;
            pause_ = kFirstPause;
            read(link);
            connected();
        });
    }
    void read(const Shared& link) {
        link->stream.async_read(link->update, [this, link](Error e, std::size_t) {
            if (e || link != link_) return lose(link, e);
            const std::string update = boost::beast::buffers_to_string(link->update.data());
            link->update.clear();
            received(update);
            if (link == link_) read(link);
        });
    }
    void write(const Shared& link) {
        const auto text = boost::asio::buffer(link->queue.front());
        link->stream.async_write(text, [this, link](Error e, std::size_t) {
            if (e || link != link_) return lose(link, e);
            link->queue.pop_front();
            if (!link->queue.empty()) return write(link);
            if (stopped_) close(link);
        });
    }
    void close(const Shared& link) { // `read` hears the answer
        link->stream.async_close(boost::beast::websocket::close_code::normal, [link](Error) {});
    }
    /// Ends a connection, unless that is done already, and begins the next one after a pause.
    void lose(Shared link, Error why) {
        if (link != link_) return;
        link_.reset();
        link->resolver.cancel();
        tcp(*link).close();
        if (stopped_) return;
        timer_.expires_after(pause_);
        pause_ = std::min(2 * pause_, kLongestPause);
        timer_.async_wait([this](Error e) { return e || stopped_ ? void() : start(); });
        lost(why == boost::beast::websocket::error::closed ? "the station has closed it"
                                                           : why.message());
    }

    boost::asio::io_context& io_;
    boost::asio::steady_timer timer_;
    const std::string host_, port_;
    Shared link_; // null between two attempts
    std::chrono::milliseconds pause_ = kFirstPause;
    bool stopped_ = true;
};

} // namespace transports
