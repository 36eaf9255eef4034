// SPDX-License-Identifier: MIT
#include "station/Server.h"

#include "shared/PlainText.h"
#include "station/Connection.h"
#include "station/Panel.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace station {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kGoodbye{1};         // how long clients may take to close
constexpr std::chrono::seconds kBeginning{30};      // how long one may take to say what it is
constexpr std::chrono::milliseconds kPanelTick{50}; // the panel is told no more often
constexpr std::chrono::milliseconds kNoMoreSockets{100};
constexpr std::size_t kMostConnections = 256;
constexpr std::uint32_t kLongestHeader = 8 * 1024;
constexpr std::size_t kLongestBody = 1024;
constexpr std::size_t kLongestCommand = 64 * 1024;
constexpr int kPictureWidth = 480;
constexpr int kPictureHeight = 360;
constexpr const char* kPanelSocket = "/panel/socket";
constexpr const char* kPanelPicture = "/panel/picture.jpg";
// The panel loads nothing from elsewhere, and no page may frame it.
constexpr const char* kContentPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

using Request = WebSocketConnection::Request;
using Response = http::response<http::string_body>;

std::string_view view_of(boost::beast::string_view text) { return {text.data(), text.size()}; }

} // namespace

class Server::Implementation {
public:
    Implementation(Simulation& simulation, const Options& options)
        : simulation_(simulation), options_(options), panel_(simulation),
          acceptor_(io_, tcp::endpoint(asio::ip::address_v4::loopback(), options.port)),
          signals_(io_, SIGINT, SIGTERM), due_(io_), panelTimer_(io_), acceptTimer_(io_),
          goodbyeTimer_(io_), commands_(io_) {
        simulation_.onTraffic = [this](const Traffic& entry) {
            panel_.note(entry);
            if (options_.record != nullptr) *options_.record << lineOf(entry) << std::endl;
        };
    }
    ~Implementation() {
        simulation_.onTraffic = nullptr;
        if (commands_.is_open()) commands_.release(); // it isn't ours to close
    }

    unsigned short port() const { return port_; }

    void run() {
        begun_ = Clock::now();
        signals_.async_wait([this](error_code error, int) {
            if (!error) stop();
        });
        if (options_.commands >= 0) {
            error_code error;
            commands_.assign(options_.commands, error);
            if (!error) awaitCommands();
        }
        accept();
        goOn();
        io_.run();
    }

private:
    using Peer = std::shared_ptr<Connection>;

    /// A connection of which nothing is known yet, or that asks for a file and is answered.
    class Arrival : public std::enable_shared_from_this<Arrival> {
    public:
        Arrival(Implementation& server, tcp::socket socket)
            : server_(server), stream_(std::move(socket)), timer_(server.io_) {
            ++server_.arrivals_;
        }
        ~Arrival() { --server_.arrivals_; }

        void start() {
            timer_.expires_after(kBeginning);
            timer_.async_wait([self = shared_from_this()](error_code error) {
                if (!error) self->stream_.close();
            });
            stream_.socket().async_wait(
                tcp::socket::wait_read,
                [self = shared_from_this()](error_code error) { self->begins(error); });
        }

    private:
        void begins(error_code error) {
            std::array<char, 1> first{};
            std::size_t size = 0;
            if (!error) {
                size =
                    stream_.socket().receive(asio::buffer(first), tcp::socket::message_peek, error);
            }
            if (error || size == 0 || server_.stopping_) {
                timer_.cancel();
            } else if (first[0] == 0) {
                timer_.cancel();
                server_.beginFramed(stream_.release_socket());
            } else {
                parser_.header_limit(kLongestHeader);
                parser_.body_limit(kLongestBody);
                http::async_read(stream_, buffer_, parser_,
                                 [self = shared_from_this()](error_code failure, std::size_t) {
                                     self->timer_.cancel();
                                     if (!failure) self->requested();
                                 });
            }
        }

        void requested() {
            const Request request = parser_.release();
            const bool upgrade = websocket::is_upgrade(request);
            const unsigned short port = server_.port_;
            const std::string_view target = view_of(request.target());
            const std::string_view path = target.substr(0, target.find('?'));
            const bool isPanel = !upgrade || path == kPanelSocket;
            if (!isOwnOrigin(view_of(request[http::field::origin]), port) ||
                (isPanel && !isOwnHost(view_of(request[http::field::host]), port))) {
                answer(http::status::forbidden, "text/plain", "This station is for local use.\n");
            } else if (upgrade && isPanel) {
                server_.beginPanel(std::move(stream_), request, shared_from_this());
            } else if (upgrade) {
                server_.beginClient(std::move(stream_), request, shared_from_this());
            } else if (request.method() != http::verb::get) {
                answer(http::status::method_not_allowed, "text/plain", "Only GET is known here.\n");
            } else if (path == kPanelPicture) {
                server_.catchUp();
                answer(http::status::ok, "image/jpeg",
                       server_.simulation_.station().livePicture(kPictureWidth, kPictureHeight));
            } else if (const PanelFile* const file = panelFile(path)) {
                answer(http::status::ok, file->type, std::string(file->content));
            } else {
                answer(http::status::not_found, "text/plain", "There is no such page.\n");
            }
        }

        void answer(http::status status, const char* type, std::string body) {
            response_.result(status);
            response_.version(11);
            response_.set(http::field::content_type, type);
            response_.set(http::field::cache_control, "no-store");
            response_.set("Content-Security-Policy", kContentPolicy);
            response_.set("X-Content-Type-Options", "nosniff");
            response_.set("Cross-Origin-Resource-Policy", "same-origin");
            response_.keep_alive(false);
            response_.body() = std::move(body);
            response_.prepare_payload();
            stream_.expires_after(kBeginning);
            http::async_write(
                stream_, response_, [self = shared_from_this()](error_code, std::size_t) {
                    error_code ignored;
                    self->stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
                });
        }

        Implementation& server_;
        beast::tcp_stream stream_;
        asio::steady_timer timer_;
        beast::flat_buffer buffer_;
        http::request_parser<http::string_body> parser_;
        Response response_;
    };

    struct Client {
        Peer peer;
        bool lost = false; // the station has closed the connection, unasked
    };

    /// A page of the panel.
    struct Viewer {
        Peer peer;
        std::string state;       // what it was told last
        std::uint64_t noted = 0; // how much of the log
    };

    // ----- Who comes ---------------------------------------------------------------------------

    void accept() {
        acceptor_.async_accept([this](error_code error, tcp::socket socket) {
            if (error == asio::error::operation_aborted) return;
            if (error) { // no descriptor is left, say
                acceptTimer_.expires_after(kNoMoreSockets);
                acceptTimer_.async_wait([this](error_code cancelled) {
                    if (!cancelled) accept();
                });
                return;
            }
            if (arrivals_ + clients_.size() + viewers_.size() < kMostConnections) {
                std::make_shared<Arrival>(*this, std::move(socket))->start();
            }
            accept();
        });
    }

    void beginFramed(tcp::socket socket) {
        auto connection = std::make_shared<FramedConnection>(std::move(socket));
        if (arrived(connection)) connection->start(); // else it ends here
    }

    /// @param arrival  counts as a connection until the new one does.
    void beginClient(beast::tcp_stream stream, const Request& request,
                     std::shared_ptr<Arrival> arrival) {
        catchUp();
        if (simulation_.isBooting()) return; // the stream ends here
        auto connection = std::make_shared<WebSocketConnection>(
            std::move(stream), WebSocketConnection::Messages::Binary);
        connection->start(request, [this, arrival = std::move(arrival),
                                    weak = std::weak_ptr<Connection>(connection)] {
            const Peer peer = weak.lock();
            if (peer && !arrived(peer)) peer->close(Connection::End::GoingAway);
        });
    }

    /// False when the station takes no client now.
    bool arrived(const Peer& connection) {
        catchUp();
        const SessionId session = simulation_.connect();
        if (session == 0) return false;
        clients_[session].peer = connection;
        connection->gone = [this, session] { left(session); };
        connection->received = [this, session](std::string_view text) {
            catchUp();
            simulation_.receive(session, text);
            goOn(session);
        };
        if (stopping_) connection->close(Connection::End::GoingAway);
        goOn();
        return true;
    }

    void left(SessionId session) {
        const auto client = clients_.find(session);
        const bool lost = client->second.lost;
        clients_.erase(client);
        catchUp();
        simulation_.disconnect(session);
        if (stopping_ || (options_.once && !lost && clients_.empty())) stop();
        goOn();
    }

    void beginPanel(beast::tcp_stream stream, const Request& request,
                    std::shared_ptr<Arrival> arrival) {
        auto connection = std::make_shared<WebSocketConnection>(
            std::move(stream), WebSocketConnection::Messages::Text);
        connection->start(request, [this, arrival = std::move(arrival),
                                    weak = std::weak_ptr<Connection>(connection)] {
            if (const Peer peer = weak.lock()) opened(peer);
        });
    }

    void opened(const Peer& page) {
        const std::uint64_t number = ++lastViewer_;
        viewers_[number].peer = page;
        page->received = [this, number](std::string_view text) {
            catchUp();
            const std::string answer = panel_.obey(text);
            if (!answer.empty()) viewers_.at(number).peer->send(answer);
            goOn();
        };
        page->gone = [this, number] {
            viewers_.erase(number);
            if (stopping_) stop();
        };
        if (stopping_) page->close(Connection::End::GoingAway);
        goOn();
    }

    // ----- What happens ------------------------------------------------------------------------

    void catchUp() {
        simulation_.advanceTo(
            std::chrono::duration_cast<Simulation::Milliseconds>(Clock::now() - begun_));
    }

    /// After whatever happened: sends what is due, and waits for what is due next.
    /// @param speaker  whose request it was; when his connection is closed, he has asked for it.
    void goOn(SessionId speaker = 0) {
        while (std::optional<Frame> frame = simulation_.takeFrame()) {
            const auto client = clients_.find(frame->session);
            if (client != clients_.end()) client->second.peer->send(std::move(frame->bytes));
        }
        for (auto& [session, client] : clients_) {
            if (simulation_.isOpen(session) || client.peer->isClosing()) continue;
            client.lost = session != speaker;
            client.peer->close(client.lost ? Connection::End::GoingAway : Connection::End::Normal);
        }
        tellPanels();
        const std::optional<Simulation::Milliseconds> next = simulation_.nextDue();
        if (!next || stopping_) {
            due_.cancel();
            return;
        }
        due_.expires_at(begun_ + *next);
        due_.async_wait([this](error_code error) {
            if (error) return;
            catchUp();
            goOn();
        });
    }

    /// Soon, and once for all that happens until then.
    void tellPanels() {
        if (viewers_.empty() || stopping_ || std::exchange(panelWaits_, true)) return;
        panelTimer_.expires_after(kPanelTick);
        panelTimer_.async_wait([this](error_code error) {
            panelWaits_ = false;
            if (error) return;
            const std::string state = panel_.state();
            bool busy = false;
            for (auto& [number, viewer] : viewers_) {
                if (!viewer.peer->isIdle()) {
                    busy = true;
                    continue;
                }
                if (std::exchange(viewer.state, state) != state) viewer.peer->send(state);
                if (viewer.noted == panel_.noted()) continue;
                viewer.peer->send(panel_.trafficSince(viewer.noted));
                viewer.noted = panel_.noted();
            }
            if (busy || simulation_.isBooting()) tellPanels();
        });
    }

    void awaitCommands() {
        commands_.async_wait(asio::posix::stream_descriptor::wait_read, [this](error_code error) {
            // A file can't be waited for, but is read at once.
            if (error && error != asio::error::operation_not_supported) return;
            if (readCommands()) awaitCommands();
        });
    }

    /// False at the end of the input, or when it can't be read.
    bool readCommands() {
        std::array<char, 4096> piece{};
        const ssize_t size = ::read(options_.commands, piece.data(), piece.size());
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) return true;
        if (size <= 0) return false;
        commandText_.append(piece.data(), static_cast<std::size_t>(size));
        catchUp();
        for (std::size_t end; (end = commandText_.find('\n')) != std::string::npos;) {
            obey(commandText_.substr(0, end));
            commandText_.erase(0, end + 1);
        }
        if (commandText_.size() > kLongestCommand) commandText_.clear();
        goOn();
        return true;
    }

    void obey(const std::string& line) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) return;
        const std::string fault = simulation_.command(line);
        if (fault.empty() || options_.complaints == nullptr) return;
        *options_.complaints << "error: " << shared::plainText(line) << ": " << fault << std::endl;
    }

    void stop() {
        acceptor_.close();
        acceptTimer_.cancel();
        signals_.cancel();
        due_.cancel();
        panelTimer_.cancel();
        goodbyeTimer_.cancel();
        if (!std::exchange(stopping_, true)) {
            for (const auto& [session, client] : clients_) {
                client.peer->close(Connection::End::GoingAway);
            }
            for (const auto& [number, viewer] : viewers_) {
                viewer.peer->close(Connection::End::GoingAway);
            }
        }
        if (clients_.empty() && viewers_.empty()) {
            io_.stop(); // who hasn't said what he wants isn't waited for, nor is the next command
            return;
        }
        goodbyeTimer_.expires_after(kGoodbye);
        goodbyeTimer_.async_wait([this](error_code error) {
            if (!error) io_.stop();
        });
    }

    Simulation& simulation_;
    const Options options_;
    Panel panel_;
    std::size_t arrivals_ = 0; // outlives the context, whose handlers hold arrivals
    asio::io_context io_{1};
    tcp::acceptor acceptor_;
    const unsigned short port_ = acceptor_.local_endpoint().port();
    asio::signal_set signals_;
    asio::steady_timer due_;
    asio::steady_timer panelTimer_;
    asio::steady_timer acceptTimer_;
    asio::steady_timer goodbyeTimer_;
    asio::posix::stream_descriptor commands_;
    std::string commandText_; // the line that isn't whole yet
    Clock::time_point begun_;
    std::map<SessionId, Client> clients_;
    std::map<std::uint64_t, Viewer> viewers_;
    std::uint64_t lastViewer_ = 0;
    bool panelWaits_ = false; // the timer runs
    bool stopping_ = false;
};

Server::Server(Simulation& simulation, const Options& options) try
    : implementation_(std::make_unique<Implementation>(simulation, options)) {
} catch (const boost::system::system_error& error) {
    throw std::runtime_error("can't listen on 127.0.0.1:" + std::to_string(options.port) + ": " +
                             error.code().message());
}

Server::~Server() = default;

unsigned short Server::port() const { return implementation_->port(); }

void Server::run() { implementation_->run(); }

} // namespace station
