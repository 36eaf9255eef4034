// SPDX-License-Identifier: MIT
#include "console/WebSocketTransport.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

#include <array>
#include <deque>
#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace console {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;

constexpr std::size_t kLongestFrame = 16 * 1024 * 1024;

} // namespace

class WebSocketTransport::Implementation {
public:
    explicit Implementation(std::chrono::seconds patience) : patience_(patience) {}

    void connect(const std::string& host, const std::string& port) {
        error_code error;
        const auto endpoints = tcp::resolver(io_).resolve(host, port, error);
        if (!error) {
            lowest().expires_after(patience_);
            lowest().async_connect(
                endpoints, [&](error_code result, const tcp::endpoint&) { error = result; });
            finishOne();
        }
        if (!error) {
            lowest().expires_never(); // from here on the WebSocket layer watches the time
            websocket::stream_base::timeout times =
                websocket::stream_base::timeout::suggested(beast::role_type::client);
            times.handshake_timeout = patience_;
            stream_.set_option(times);
            stream_.read_message_max(kLongestFrame);
            stream_.text(true);
            stream_.async_handshake(host + ":" + port, "/",
                                    [&](error_code result) { error = result; });
            finishOne();
        }
        if (error) {
            throw std::runtime_error("can't connect to " + host + ":" + port + ": " +
                                     error.message());
        }
    }

    void send(const std::string& text) {
        waiting_.push_back(text);
        if (waiting_.size() == 1) write();
    }

    void run(Console& console, int input) {
        console_ = &console;
        input_.assign(input);
        read();
        console.connected();
        goOn();
        io_.run();
        input_.release(); // it isn't ours to close
    }

private:
    beast::tcp_stream& lowest() { return beast::get_lowest_layer(stream_); }

    void finishOne() {
        io_.run();
        io_.restart();
    }

    /// After whatever happened: watch the time, take a line, or end.
    void goOn() {
        if (console_->finished()) {
            timer_.cancel();
            input_.cancel();
            if (waiting_.empty()) close();
        } else if (!console_->waiting()) {
            timer_.cancel();
            watched_ = 0;
            awaitLine();
        } else if (std::exchange(watched_, console_->commandsBegun()) != watched_) {
            timer_.expires_after(patience_);
            timer_.async_wait([this](error_code error) {
                if (error || !console_->waiting()) return;
                console_->deadlinePassed();
                goOn();
            });
        }
    }

    void read() {
        stream_.async_read(buffer_, [this](error_code error, std::size_t) {
            if (error) {
                lost(error);
                return;
            }
            const std::string frame = beast::buffers_to_string(buffer_.data());
            buffer_.consume(buffer_.size());
            console_->receive(frame);
            goOn();
            read();
        });
    }

    void write() {
        stream_.async_write(asio::buffer(waiting_.front()), [this](error_code error, std::size_t) {
            if (error) return; // `read` hears of it as well
            waiting_.pop_front();
            if (!waiting_.empty()) {
                write();
            } else if (console_->finished()) {
                close();
            }
        });
    }

    void close() {
        if (std::exchange(closing_, true)) return;
        stream_.async_close(websocket::close_code::normal, [](error_code) {});
    }

    void lost(error_code error) {
        const bool closed = error == websocket::error::closed;
        console_->connectionLost(closed ? "the station has closed it" : error.message());
        timer_.cancel();
        input_.cancel();
        lowest().close();
    }

    void awaitLine() {
        if (std::exchange(awaitingLine_, true)) return;
        input_.async_wait(asio::posix::descriptor_base::wait_read, [this](error_code error) {
            awaitingLine_ = false;
            // A file can't be waited for: it is always ready.
            if (error && error != asio::error::operation_not_supported) return;
            std::array<char, 4096> piece;
            const ssize_t count = ::read(input_.native_handle(), piece.data(), piece.size());
            take(piece.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
            goOn();
        });
        // Terminal and output share one file, and a full output must go on blocking.
        error_code ignored;
        input_.native_non_blocking(false, ignored);
    }

    /// Splits what was typed into lines; nothing at all is its end.
    void take(const char* text, std::size_t size) {
        typed_.append(text, size);
        if (size == 0 && !typed_.empty()) typed_ += '\n';
        for (std::size_t end; (end = typed_.find('\n')) != std::string::npos;) {
            console_->enter(typed_.substr(0, end));
            typed_.erase(0, end + 1);
        }
        if (size == 0) console_->endOfInput();
    }

    const std::chrono::seconds patience_;
    asio::io_context io_{1};
    websocket::stream<beast::tcp_stream> stream_{io_};
    asio::steady_timer timer_{io_};
    asio::posix::stream_descriptor input_{io_};
    Console* console_ = nullptr; // while it runs
    beast::flat_buffer buffer_;
    std::deque<std::string> waiting_; // the first one is being written
    std::string typed_;               // an unfinished line
    std::uint64_t watched_ = 0;       // the command that the timer belongs to, 0 for none
    bool awaitingLine_ = false;
    bool closing_ = false;
};

WebSocketTransport::WebSocketTransport(std::chrono::seconds patience)
    : implementation_(std::make_unique<Implementation>(patience)) {}

WebSocketTransport::~WebSocketTransport() = default;

void WebSocketTransport::connect(const std::string& host, const std::string& port) {
    implementation_->connect(host, port);
}

void WebSocketTransport::send(const std::string& text) { implementation_->send(text); }

void WebSocketTransport::run(Console& console, int input) { implementation_->run(console, input); }

} // namespace console
