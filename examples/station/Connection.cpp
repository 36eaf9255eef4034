// SPDX-License-Identifier: MIT
#include "station/Connection.h"

#include <utility>

namespace station {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

websocket::close_code code_of(Connection::End end) {
    switch (end) {
    case Connection::End::Unsupported:
        return websocket::close_code::unknown_data;
    case Connection::End::GoingAway:
        return websocket::close_code::going_away;
    case Connection::End::Normal:
        break;
    }
    return websocket::close_code::normal;
}

} // namespace

// ----- Connection ----------------------------------------------------------------------------

Connection::~Connection() = default;

void Connection::send(std::string bytes) {
    if (closing_) return;
    if (bytesWaiting_ > kMostBytesWaiting) {
        closing_ = true; // it doesn't read: nothing more can be told to it
        shut();          // who reads hears of it, and leaves
        return;
    }
    bytesWaiting_ += bytes.size();
    waiting_.push_back(std::move(bytes));
    if (waiting_.size() == 1) write(waiting_.front());
}

void Connection::close(End end) {
    if (std::exchange(closing_, true)) return;
    end_ = end;
    if (waiting_.empty()) sendClose(end_);
}

void Connection::hear(std::string_view text) {
    if (!closing_ && received) received(text);
}

void Connection::written(Error error) {
    if (error || waiting_.empty()) return; // who reads hears of it as well
    bytesWaiting_ -= waiting_.front().size();
    waiting_.pop_front();
    if (!waiting_.empty()) {
        write(waiting_.front());
    } else if (closing_) {
        sendClose(end_);
    }
}

void Connection::leave() {
    closing_ = true;
    shut();
    received = nullptr;
    if (const auto callback = std::exchange(gone, nullptr)) callback();
}

// ----- WebSocketConnection -------------------------------------------------------------------

WebSocketConnection::WebSocketConnection(beast::tcp_stream stream, Messages out)
    : stream_(std::move(stream)) {
    stream_.binary(out == Messages::Binary);
}

void WebSocketConnection::start(const Request& request, std::function<void()> accepted) {
    beast::get_lowest_layer(stream_).expires_never(); // the WebSocket layer watches the time
    stream_.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
    stream_.read_message_max(kLongestText);
    stream_.async_accept(request, [self = self(), accepted = std::move(accepted)](Error error) {
        if (error) return;
        accepted();
        self->read();
    });
}

void WebSocketConnection::read() {
    stream_.async_read(buffer_, [self = self()](Error error, std::size_t) {
        if (error) {
            self->leave();
            return;
        }
        if (!self->stream_.got_text()) {
            self->close(End::Unsupported);
        } else {
            self->hear(beast::buffers_to_string(self->buffer_.data()));
        }
        self->buffer_.consume(self->buffer_.size());
        // Goes on after a close, too: the peer's answer to it is read here.
        self->read();
    });
}

void WebSocketConnection::write(const std::string& bytes) {
    stream_.async_write(asio::buffer(bytes),
                        [self = self()](Error error, std::size_t) { self->written(error); });
}

void WebSocketConnection::sendClose(End end) {
    stream_.async_close(code_of(end), [self = self()](Error) {});
}

void WebSocketConnection::shut() { beast::get_lowest_layer(stream_).close(); }

std::shared_ptr<WebSocketConnection> WebSocketConnection::self() {
    return std::static_pointer_cast<WebSocketConnection>(shared_from_this());
}

// ----- FramedConnection ----------------------------------------------------------------------

FramedConnection::FramedConnection(asio::ip::tcp::socket socket) : socket_(std::move(socket)) {}

void FramedConnection::start() { read(); }

void FramedConnection::read() {
    asio::async_read(socket_, asio::buffer(lengthIn_), [self = self()](Error error, std::size_t) {
        std::size_t size = 0;
        for (const unsigned char byte : self->lengthIn_) {
            size = size << 8 | byte;
        }
        if (error || size > kLongestText) {
            self->leave();
        } else {
            self->readText(size);
        }
    });
}

void FramedConnection::readText(std::size_t size) {
    text_.resize(size);
    asio::async_read(socket_, asio::buffer(text_), [self = self()](Error error, std::size_t) {
        if (error) {
            self->leave();
            return;
        }
        self->hear(self->text_);
        self->read();
    });
}

void FramedConnection::write(const std::string& bytes) {
    for (std::size_t i = 0; i < lengthOut_.size(); ++i) {
        lengthOut_[i] = static_cast<unsigned char>(bytes.size() >> (24 - 8 * i) & 255);
    }
    const std::array<asio::const_buffer, 2> buffers = {asio::buffer(lengthOut_),
                                                       asio::buffer(bytes)};
    asio::async_write(socket_, buffers,
                      [self = self()](Error error, std::size_t) { self->written(error); });
}

/// The peer sees the end of the stream behind all that was sent; its own end is read as before.
void FramedConnection::sendClose(End) {
    Error ignored;
    socket_.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
}

void FramedConnection::shut() {
    Error ignored;
    socket_.close(ignored);
}

std::shared_ptr<FramedConnection> FramedConnection::self() {
    return std::static_pointer_cast<FramedConnection>(shared_from_this());
}

} // namespace station
