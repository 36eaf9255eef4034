// SPDX-License-Identifier: MIT
// The console at a terminal: history, completion, events over the prompt, and Control-C.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// A program of this build, and what it prints.
class Child {
public:
    Child() = default;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        if (file_ >= 0) ::close(file_);
    }

    /// At a terminal of its own; the home directory is where it keeps its history.
    template <typename... Words>
    void start(const std::string& home, const char* program, Words... words) {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = 200;
        pid_ = ::forkpty(&file_, nullptr, nullptr, &size);
        ASSERT_GE(pid_, 0);
        if (pid_ > 0) return;
        ::setenv("HOME", home.c_str(), 1);
        ::setenv("TERM", "dumb", 1);
        ::execl(program, program, words..., nullptr);
        ::_exit(127);
    }
    void type(const std::string& text) {
        ASSERT_EQ(static_cast<ssize_t>(text.size()), ::write(file_, text.data(), text.size()));
    }
    /// Whether the text appears, within a minute; what stands before it is forgotten.
    bool shows(const std::string& text) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        for (;;) {
            const std::size_t at = shown_.find(text);
            if (at != std::string::npos) {
                shown_.erase(0, at + text.size());
                return true;
            }
            if (std::chrono::steady_clock::now() > deadline) return false;
            if (!read()) return false;
        }
    }
    /// What follows up to the end of the line.
    std::string restOfLine() {
        while (shown_.find('\n') == std::string::npos) {
            if (!read()) break;
        }
        return shown_.substr(0, shown_.find_first_of("\r\n"));
    }
    const std::string& shown() const { return shown_; }
    int status() {
        while (read()) {
        }
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    bool read() {
        pollfd file{file_, POLLIN, 0};
        if (::poll(&file, 1, 60'000) <= 0) return false;
        char piece[4096];
        const ssize_t size = ::read(file_, piece, sizeof piece);
        if (size <= 0) return false;
        shown_.append(piece, static_cast<std::size_t>(size));
        return true;
    }
    pid_t pid_ = -1;
    int file_ = -1;
    std::string shown_;
};

class ShellTest : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/gatecast-shell-XXXXXX";
        ASSERT_NE(nullptr, ::mkdtemp(name));
        home = name;
        station.start(home, GATECAST_STATION, "--port", "0");
        ASSERT_TRUE(station.shows("listening on 127.0.0.1:"));
        port = station.restOfLine();
    }
    void TearDown() override {
        ::unlink((home + "/.gatecast_history").c_str());
        ::rmdir(home.c_str());
    }
    void open(Child& shell) {
        shell.start(home, GATECAST_CONSOLE, "--port", port.c_str(), "--patience", "60");
        ASSERT_TRUE(shell.shows("gatecast> ")) << shell.shown();
    }

    std::string home;
    std::string port;
    Child station;
};

} // namespace

TEST_F(ShellTest, CompletesCommands) {
    Child shell;
    open(shell);
    shell.type("doo\t\n");
    EXPECT_TRUE(shell.shows("door: door_open")) << shell.shown();
}

TEST_F(ShellTest, CompletesTheDevicesOwnMethods) {
    Child shell;
    open(shell);
    shell.type("call ptz_zo\t[3, false]\n");
    EXPECT_TRUE(shell.shows("ptz_zoom: [0,0,3]")) << shell.shown();
}

TEST_F(ShellTest, RemembersTheLinesOfEarlierDays) {
    {
        Child shell;
        open(shell);
        shell.type("light\n");
        ASSERT_TRUE(shell.shows("light: on")) << shell.shown();
        ASSERT_TRUE(shell.shows("gatecast> "));
        shell.type("\x04");
        EXPECT_EQ(0, shell.status());
    }
    Child shell;
    open(shell);
    shell.type("\x10\n"); // Control-P: the line before
    EXPECT_TRUE(shell.shows("light: off")) << shell.shown();
}

TEST_F(ShellTest, PrintsEventsInThePlaceOfThePrompt) {
    Child shell;
    open(shell);
    shell.type("stat");
    ASSERT_TRUE(shell.shows("stat")) << shell.shown();
    Child other;
    other.start(home, GATECAST_CONSOLE, "--port", port.c_str(), "--phone", "other", "light");
    EXPECT_EQ(0, other.status());
    ASSERT_TRUE(shell.shows("\r\x1b[Klight: on")) << shell.shown();
    ASSERT_TRUE(shell.shows("gatecast> stat"))
        << "and what was typed is there again: " << shell.shown();
    shell.type("us\n");
    EXPECT_TRUE(shell.shows("light      on")) << shell.shown();
}

TEST_F(ShellTest, GivesACommandUpAtControlC) {
    Child shell;
    open(shell);
    shell.type("watch door\n");
    ASSERT_TRUE(shell.shows("watch door\r\n")) << shell.shown();
    Child other;
    other.start(home, GATECAST_CONSOLE, "--port", port.c_str(), "--phone", "other", "door");
    EXPECT_EQ(0, other.status());
    ASSERT_TRUE(shell.shows("door: door_open")) << shell.shown();
    shell.type("\x03");
    ASSERT_TRUE(shell.shows("gatecast> ")) << shell.shown();
    shell.type("half a line");
    ASSERT_TRUE(shell.shows("half a line"));
    shell.type("\x03"); // drops what was typed
    ASSERT_TRUE(shell.shows("gatecast> ")) << shell.shown();
    shell.type("quit\n");
    EXPECT_EQ(0, shell.status());
}
