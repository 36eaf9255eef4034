// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace station {

/// One peer of the server, however it is connected: texts in, messages out.
///
/// It is held by its handlers under way, and is gone when the last has run. All runs on the thread
/// of its socket. A peer that doesn't take what it is sent until 4 MiB wait for it loses the
/// connection, as does one whose text is above 64 KiB.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    static constexpr std::size_t kLongestText = 64 * 1024;
    static constexpr std::size_t kMostBytesWaiting = 4 * 1024 * 1024;

    enum class End {
        Normal,      ///< it has asked for it
        Unsupported, ///< it has sent what isn't understood here
        GoingAway,   ///< the station is no longer there
    };

    virtual ~Connection();

    /// Must be set before the connection begins to read; `gone` is called once, and last.
    std::function<void(std::string_view text)> received;
    std::function<void()> gone;

    /// Sends a message behind those that still wait.
    void send(std::string bytes);
    /// Closes as soon as all that waits is sent. What arrives later is not heard.
    void close(End end);
    /// True when nothing waits to be sent.
    bool isIdle() const { return waiting_.empty(); }
    /// True when nothing more is heard.
    bool isClosing() const { return closing_; }

protected:
    using Error = boost::system::error_code;

    virtual void write(const std::string& bytes) = 0;
    virtual void sendClose(End end) = 0;
    virtual void shut() = 0;

    void hear(std::string_view text);
    void written(Error error);
    void leave();

private:
    std::deque<std::string> waiting_; // the first one is being written
    std::size_t bytesWaiting_ = 0;
    bool closing_ = false;
    End end_ = End::Normal;
};

/// Over WebSocket.
class WebSocketConnection : public Connection {
public:
    using Request = boost::beast::http::request<boost::beast::http::string_body>;
    enum class Messages { Text, Binary };

    /// @param out  which kind of message is sent; only texts are taken.
    WebSocketConnection(boost::beast::tcp_stream stream, Messages out);
    /// Answers the request for WebSocket; `accepted` is called when the connection stands.
    void start(const Request& request, std::function<void()> accepted);

private:
    void read();
    void write(const std::string& bytes) override;
    void sendClose(End end) override;
    void shut() override;
    std::shared_ptr<WebSocketConnection> self();

    boost::beast::websocket::stream<boost::beast::tcp_stream> stream_;
    boost::beast::flat_buffer buffer_;
};

/// Over a plain connection: each message is its length, four bytes that begin with the highest,
/// and as many bytes.
class FramedConnection : public Connection {
public:
    explicit FramedConnection(boost::asio::ip::tcp::socket socket);
    void start();

private:
    void read();
    void readText(std::size_t size);
    void write(const std::string& bytes) override;
    void sendClose(End end) override;
    void shut() override;
    std::shared_ptr<FramedConnection> self();

    boost::asio::ip::tcp::socket socket_;
    std::array<unsigned char, 4> lengthIn_{};
    std::array<unsigned char, 4> lengthOut_{};
    std::string text_;
};

} // namespace station
