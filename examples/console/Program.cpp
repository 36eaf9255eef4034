// SPDX-License-Identifier: MIT
#include "console/Program.h"

#ifdef GATECAST_WITH_LIBEDIT
#include "console/Shell.h"
#endif
#include "transports/TcpTransport.h"
#include "transports/WebSocketTransport.h"

#include <boost/asio.hpp>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <streambuf>
#include <string>
#include <utility>

#include <unistd.h>

namespace console {

namespace {

namespace asio = boost::asio;
using boost::system::error_code;

/// An output that tells before its first byte since `silence`: a prompt may be in the way.
class TellingBuffer : public std::streambuf {
public:
    TellingBuffer(std::streambuf* target, std::function<void()> before)
        : target_(target), before_(std::move(before)) {}

protected:
    int_type overflow(int_type c) override {
        before_();
        return c == traits_type::eof() ? 0 : target_->sputc(traits_type::to_char_type(c));
    }
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        before_();
        return target_->sputn(text, size);
    }
    int sync() override { return target_->pubsync(); }

private:
    std::streambuf* target_;
    std::function<void()> before_;
};

template <typename Transport>
class Program {
public:
    Program(const Way& way, const Console::Settings& settings)
        : way_(way), patience_(settings.patience), transport_(io_, way.host, way.port),
          console_([this](const std::string& text) { transport_.send(text); }, out_, errors_,
                   settings) {
        transport_.connected = [this] { connected(); };
        transport_.received = [this](const std::string& update) {
            console_.receive(update);
            goOn();
        };
        transport_.lost = [this](const std::string& why) {
            lost(why);
            goOn();
        };
    }

    Console::ExitStatus run() {
        input_.assign(way_.input);
        startShell();
        transport_.start();
        expect(patience_);
        while (!console_.finished() && io_.run_one() > 0) {
        }
        timer_.cancel();
        signals_.cancel();
        input_.cancel();
        hidePrompt();
        transport_.stop();
        io_.run_for(patience_);
        input_.release(); // it isn't ours to close
        return console_.exitStatus();
    }

private:
    void connected() {
        const bool first = !std::exchange(reached_, true);
        if (first) timer_.cancel();
        console_.connected();
        if (first && !way_.command.empty()) {
            console_.obey(way_.command);
            console_.endOfInput();
        }
        goOn();
    }

    void lost(const std::string& why) {
        if (reached_) {
            console_.connectionLost(why);
        } else {
            console_.unreachable("can't connect to " + way_.host + ":" + way_.port + ": " + why);
        }
    }

    void expect(std::chrono::milliseconds time) {
        timer_.expires_after(time);
        timer_.async_wait([this](error_code error) {
            if (error) return;
            if (!reached_) {
                lost("no answer in time");
            } else {
                console_.deadlinePassed();
            }
            goOn();
        });
    }

    /// After whatever happened: watch the time, or take a line.
    void goOn() {
        if (console_.finished() || !reached_) return;
        if (!console_.waiting()) {
            timer_.cancel();
            watched_ = 0;
            if (way_.command.empty()) awaitLine();
        } else if (std::exchange(watched_, console_.commandsBegun()) != watched_) {
            timer_.cancel();
            if (console_.timeLimit()) expect(*console_.timeLimit());
        }
    }

    // ----- Lines -------------------------------------------------------------------------------

    void awaitLine() {
        showPrompt();
        if (std::exchange(awaitingLine_, true)) return;
        input_.async_wait(asio::posix::descriptor_base::wait_read, [this](error_code error) {
            awaitingLine_ = false;
            // A file can't be waited for: it is always ready.
            if (error && error != asio::error::operation_not_supported) return;
            if (!readShell()) {
                std::array<char, 4096> piece;
                const ssize_t count = ::read(way_.input, piece.data(), piece.size());
                take(piece.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
            }
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
            console_.enter(typed_.substr(0, end));
            typed_.erase(0, end + 1);
        }
        if (size == 0) console_.endOfInput();
    }

    // ----- The terminal ------------------------------------------------------------------------

#ifdef GATECAST_WITH_LIBEDIT
    void startShell() {
        if (!way_.terminal || ::isatty(STDOUT_FILENO) == 0) return;
        const char* const home = std::getenv("HOME");
        shell_ = std::make_unique<Shell>(
            home == nullptr ? std::string() : std::string(home) + "/.gatecast_history",
            [this](const std::string& line) { return console_.completions(line); },
            [this](const std::optional<std::string>& line) {
                if (line) {
                    console_.enter(*line);
                } else {
                    console_.endOfInput();
                }
            });
        awaitSignal();
    }
    void awaitSignal() {
        signals_.add(SIGINT);
        signals_.async_wait([this](error_code error, int) {
            if (error) return;
            if (console_.waiting()) {
                console_.interrupt();
            } else {
                shell_->drop();
            }
            awaitSignal();
            goOn();
        });
    }
    bool readShell() {
        if (!shell_) return false;
        asio::posix::descriptor_base::bytes_readable there;
        error_code error;
        input_.io_control(there, error);
        if (error || there.get() == 0) return false; // the terminal has gone
        shell_->read();
        return true;
    }
    void showPrompt() {
        if (shell_) shell_->show();
    }
    void hidePrompt() {
        if (shell_) shell_->hide();
    }
    std::unique_ptr<Shell> shell_;
#else
    void startShell() {}
    bool readShell() { return false; }
    void showPrompt() {}
    void hidePrompt() {}
#endif

    const Way way_;
    const std::chrono::milliseconds patience_;
    asio::io_context io_{1};
    Transport transport_;
    asio::steady_timer timer_{io_};
    asio::signal_set signals_{io_};
    asio::posix::stream_descriptor input_{io_};
    TellingBuffer outBuffer_{std::cout.rdbuf(), [this] { hidePrompt(); }};
    TellingBuffer errorBuffer_{std::cerr.rdbuf(), [this] { hidePrompt(); }};
    std::ostream out_{&outBuffer_};
    std::ostream errors_{&errorBuffer_};
    Console console_;
    std::string typed_;         // an unfinished line
    std::uint64_t watched_ = 0; // the command that the timer belongs to, 0 for none
    bool awaitingLine_ = false;
    bool reached_ = false; // the station, once
};

} // namespace

Console::ExitStatus runConsole(const Way& way, const Console::Settings& settings) {
    if (way.tcp) return Program<transports::TcpTransport>(way, settings).run();
    return Program<transports::WebSocketTransport>(way, settings).run();
}

} // namespace console
