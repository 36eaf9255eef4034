// SPDX-License-Identifier: MIT
#include "station/WebSocketServer.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

#include <csignal>
#include <deque>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

namespace station {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;

constexpr std::size_t kLongestRequest = 64 * 1024;
constexpr std::size_t kMostBytesWaiting = 4 * 1024 * 1024;
constexpr std::chrono::seconds kGoodbye{1}; // how long clients may take to close

double computers_time() {
    const auto sinceTheEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(sinceTheEpoch).count();
}

} // namespace

class WebSocketServer::Implementation {
public:
    Implementation(Station& station, const Options& options)
        : station_(station), options_(options),
          acceptor_(io_, tcp::endpoint(asio::ip::address_v4::loopback(), options.port)),
          signals_(io_, SIGINT, SIGTERM), doorTimer_(io_), goodbyeTimer_(io_) {}

    unsigned short port() const { return acceptor_.local_endpoint().port(); }

    void run() {
        signals_.async_wait([this](error_code error, int) {
            if (!error) stop();
        });
        accept();
        io_.run();
    }

private:
    /// One client. It holds itself by the handlers under way, and is gone when the last has run.
    class Connection : public std::enable_shared_from_this<Connection> {
    public:
        Connection(Implementation& server, tcp::socket socket)
            : server_(server), stream_(std::move(socket)) {}

        void start() {
            stream_.set_option(
                websocket::stream_base::timeout::suggested(beast::role_type::server));
            stream_.read_message_max(kLongestRequest);
            stream_.binary(true);
            stream_.async_accept([self = shared_from_this()](error_code error) {
                if (error) return;
                self->session_ = self->server_.arrived(self);
                self->read();
            });
        }

        void send(std::string bytes) {
            bytesWaiting_ += bytes.size();
            if (bytesWaiting_ > kMostBytesWaiting) {
                leave(); // it doesn't read: nothing more can be told to it
                return;
            }
            waiting_.push_back(std::move(bytes));
            if (waiting_.size() == 1) write();
        }

        /// Closes as soon as all that waits is sent.
        void close(websocket::close_code code) {
            if (closing_) return;
            closing_ = true;
            closeCode_ = code;
            if (waiting_.empty()) sendClose();
        }

    private:
        void read() {
            stream_.async_read(buffer_, [self = shared_from_this()](error_code error, std::size_t) {
                if (error) {
                    self->leave();
                    return;
                }
                self->received();
            });
        }

        void received() {
            if (!stream_.got_text()) {
                close(websocket::close_code::unknown_data);
            } else if (!closing_) {
                const std::string text = beast::buffers_to_string(buffer_.data());
                server_.handle(session_, text);
            }
            buffer_.consume(buffer_.size());
            // Goes on after a close, too: the client's answer to it is read here.
            read();
        }

        void write() {
            stream_.async_write(asio::buffer(waiting_.front()),
                                [self = shared_from_this()](error_code error, std::size_t) {
                                    if (error || self->waiting_.empty())
                                        return; // `read` hears of it as well
                                    self->bytesWaiting_ -= self->waiting_.front().size();
                                    self->waiting_.pop_front();
                                    if (!self->waiting_.empty()) {
                                        self->write();
                                    } else if (self->closing_) {
                                        self->sendClose();
                                    }
                                });
        }

        void sendClose() {
            stream_.async_close(closeCode_, [self = shared_from_this()](error_code) {});
        }

        void leave() {
            beast::get_lowest_layer(stream_).close();
            const SessionId session = std::exchange(session_, 0);
            if (session != 0) server_.left(session);
        }

        Implementation& server_;
        websocket::stream<beast::tcp_stream> stream_;
        beast::flat_buffer buffer_;
        SessionId session_ = 0;           // 0 while not a session
        std::deque<std::string> waiting_; // the first one is being written
        std::size_t bytesWaiting_ = 0;
        bool closing_ = false;
        websocket::close_code closeCode_ = websocket::close_code::normal;
    };

    void accept() {
        acceptor_.async_accept([this](error_code error, tcp::socket socket) {
            if (error == asio::error::operation_aborted) return;
            if (!error) std::make_shared<Connection>(*this, std::move(socket))->start();
            accept();
        });
    }
    SessionId arrived(const std::shared_ptr<Connection>& connection);
    void left(SessionId session);
    void handle(SessionId session, const std::string& text);
    void send(std::vector<Frame> frames);
    void stop();

    Station& station_;
    const Options options_;
    asio::io_context io_{1};
    tcp::acceptor acceptor_;
    asio::signal_set signals_;
    asio::steady_timer doorTimer_;
    asio::steady_timer goodbyeTimer_;
    std::map<SessionId, std::shared_ptr<Connection>> connections_;
    bool stopping_ = false;
};

SessionId WebSocketServer::Implementation::arrived(const std::shared_ptr<Connection>& connection) {
    const SessionId session = station_.connect();
    connections_[session] = connection;
    if (stopping_) connection->close(websocket::close_code::going_away);
    return session;
}

void WebSocketServer::Implementation::left(SessionId session) {
    station_.disconnect(session);
    connections_.erase(session);
    if (connections_.empty() && (options_.once || stopping_)) stop();
}

void WebSocketServer::Implementation::handle(SessionId session, const std::string& text) {
    const bool doorWasOpen = station_.doorIsOpen();
    station_.setTime(options_.clock ? options_.clock() : computers_time());
    send(station_.receive(session, text));
    if (!doorWasOpen && station_.doorIsOpen() && options_.doorOpen.count() == 0) {
        send(station_.closeDoor());
    } else if (!doorWasOpen && station_.doorIsOpen()) {
        doorTimer_.expires_after(options_.doorOpen);
        doorTimer_.async_wait([this](error_code error) {
            if (!error) send(station_.closeDoor());
        });
    }
    const auto connection = connections_.find(session);
    if (connection != connections_.end() && !station_.isOpen(session)) {
        connection->second->close(websocket::close_code::normal);
    }
}

void WebSocketServer::Implementation::send(std::vector<Frame> frames) {
    for (Frame& frame : frames) {
        const auto connection = connections_.find(frame.session);
        if (connection == connections_.end()) continue;
        connection->second->send(std::move(frame.bytes));
    }
}

void WebSocketServer::Implementation::stop() {
    acceptor_.close();
    signals_.cancel();
    doorTimer_.cancel();
    goodbyeTimer_.cancel();
    if (!std::exchange(stopping_, true)) {
        for (const auto& [session, connection] : connections_) {
            connection->close(websocket::close_code::going_away);
        }
    }
    if (connections_.empty()) return; // nothing is left to do, and `run` returns
    goodbyeTimer_.expires_after(kGoodbye);
    goodbyeTimer_.async_wait([this](error_code error) {
        if (!error) io_.stop();
    });
}

WebSocketServer::WebSocketServer(Station& station, const Options& options) try
    : implementation_(std::make_unique<Implementation>(station, options)) {
} catch (const boost::system::system_error& error) {
    throw std::runtime_error("can't listen on 127.0.0.1:" + std::to_string(options.port) + ": " +
                             error.code().message());
}

WebSocketServer::~WebSocketServer() = default;

unsigned short WebSocketServer::port() const { return implementation_->port(); }

void WebSocketServer::run() { implementation_->run(); }

} // namespace station
