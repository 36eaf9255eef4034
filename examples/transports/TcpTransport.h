// SPDX-License-Identifier: MIT
// Copy this file into your application: a door station over plain TCP, with Boost.Asio.
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

namespace transports {
namespace asio = boost::asio;
/// Keeps a connection to a door station, and makes a new one when it is lost.
/// Each message, out or in, follows its length in bytes: four bytes, the highest first.
/// \code
/// boost::asio::io_context io;
/// transports::TcpTransport station(io, "192.0.2.7", "8100");
/// station.connected = [&] { phone.open(), phone.setupSubscriptions("phone-17"); };
/// station.received = [&](const std::string& update) { phone.arrived(update); };
/// station.start(), io.run(); // and phone.sendJsonText calls station.send
/// \endcode
/// Nothing here waits, and nothing is told from inside `send`: the three functions are called from
/// `io.run()`. Subscribe again in each `connected`: a station that has rebooted knows nobody.
/// Threads: one at a time, the one that runs the context. Don't run it any more when this is gone.
class TcpTransport {
public:
    std::function<void()> connected;
    std::function<void(const std::string& update)> received;
    /// Also told of each attempt that fails. The next one follows by itself, later and later.
    std::function<void(const std::string& why)> lost;

    TcpTransport(asio::io_context& io, std::string host, std::string port)
        : io_(io), timer_(io), host_(std::move(host)), port_(std::move(port)) {}

    /// Connects, and connects again whenever that has come to an end.
    void start() {
        stopped_ = false;
        link_ = std::make_shared<Link>(io_);
        watch(link_);
        link_->resolver.async_resolve(host_, port_, [this, link = link_](Error e, auto found) {
            if (e || link != link_) return lose(link, e);
            asio::async_connect(link->socket, found, [this, link](Error failed, auto) {
                if (failed || link != link_) return lose(link, failed);
                timer_.cancel();
                link->socket.set_option(asio::ip::tcp::no_delay(true), ignored_);
                link->socket.set_option(asio::socket_base::keep_alive(true), ignored_);
                link->up = true;
                pause_ = kFirstPause;
                readLength(link);
                connected();
            });
        });
    }
    /// Queues a text behind those that are on their way. It is dropped behind a thousand of them,
    /// and without a connection: a door that opens a minute late surprises.
    void send(const std::string& text) {
        if (!link_ || !link_->up || link_->queue.size() == kLongestQueue) return;
        const std::size_t n = text.size();
        const std::string length{char(n >> 24), char(n >> 16), char(n >> 8), char(n)};
        link_->queue.push_back(length + text);
        if (link_->queue.size() == 1) write(link_);
    }
    /// Closes when all is sent, and stays away. The context then runs out of work.
    void stop() {
        stopped_ = true;
        if (!link_) return void(timer_.cancel());
        if (!link_->up) return lose(link_, {});
        watch(link_);
        if (link_->queue.empty()) close(link_);
    }

private:
    using Error = boost::system::error_code;
    struct Link {
        explicit Link(asio::io_context& io) : resolver(io), socket(io) {}
        asio::ip::tcp::resolver resolver;
        asio::ip::tcp::socket socket;
        std::string update;            // or its length
        std::deque<std::string> queue; // the first one is being written
        bool up = false;
    };
    using Shared = std::shared_ptr<Link>; // each operation under way keeps its own alive
    static constexpr std::chrono::milliseconds kFirstPause{250}, kLongestPause{8000};
    static constexpr std::chrono::seconds kPatience{10};
    static constexpr std::size_t kLongestUpdate = 16 * 1024 * 1024, kLongestQueue = 1000;

    void watch(const Shared& link) {
        timer_.expires_after(kPatience);
        const Error late = asio::error::timed_out;
        timer_.async_wait([this, link, late](Error e) { return e ? void() : lose(link, late); });
    }
    void readLength(const Shared& link) {
        link->update.resize(4);
        read(link, [this, link] {
            const auto byte = [link](std::size_t i) { return std::size_t(link->update[i] & 0xFF); };
            const std::size_t length = byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
            if (length > kLongestUpdate) return lose(link, asio::error::message_size);
            link->update.resize(length);
            read(link, [this, link] {
                received(link->update);
                if (link == link_) readLength(link);
            });
        });
    }
    void read(const Shared& link, std::function<void()> done) {
        const auto place = asio::buffer(link->update);
        asio::async_read(link->socket, place, [this, link, done](Error e, std::size_t) {
            return e || link != link_ ? lose(link, e) : done();
        });
    }
    void write(const Shared& link) {
        const auto message = asio::buffer(link->queue.front());
        asio::async_write(link->socket, message, [this, link](Error e, std::size_t) {
            if (e || link != link_) return lose(link, e);
            link->queue.pop_front();
            if (!link->queue.empty()) return write(link);
            if (stopped_) close(link);
        });
    }
    void close(const Shared& link) { // closing it whole could take back what is under way
        link->socket.shutdown(asio::socket_base::shutdown_send, ignored_);
    }
    /// Ends a connection, unless that is done already, and begins the next one after a pause.
    void lose(Shared link, Error why) {
        if (link != link_) return;
        link_.reset();
        link->resolver.cancel();
        link->socket.close(ignored_);
        if (stopped_) return void(timer_.cancel());
        timer_.expires_after(pause_);
        pause_ = std::min(2 * pause_, kLongestPause);
        timer_.async_wait([this](Error e) { return e || stopped_ ? void() : start(); });
        lost(why == asio::error::eof ? "the station has closed it" : why.message());
    }
    asio::io_context& io_;
    asio::steady_timer timer_;
    const std::string host_, port_;
    Shared link_; // null between two attempts
    std::chrono::milliseconds pause_ = kFirstPause;
    bool stopped_ = true;
    Error ignored_; // of what a connection may do without
};

} // namespace transports
