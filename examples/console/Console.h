// SPDX-License-Identifier: MIT
#pragma once

#include "console/Said.h"
#include "console/SaveFile.h"
#include "device/GatecastConversation.h"
#include "json/Variant.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace console {

/// A person's client of a door station: obeys lines of text, and prints what the device says.
///
/// It has no socket, no clock and no terminal: a program connects it to them (see
/// `WebSocketTransport`), a test drives it in process. Lines are obeyed one after another; the
/// next one begins when the device has answered all that the last one sent. A command that the
/// device doesn't answer is followed by the question for its version, whose answer tells that the
/// command has arrived.
///
/// Commands name a message by its number in the list that "mailbox" has printed last.
/// Threads: one at a time.
class Console : public qx::GatecastConversation {
public:
    using Words = std::vector<std::string>;
    /// What the first failure leaves behind for the shell that has called the program.
    enum ExitStatus {
        Good = 0,         ///< every command was understood and answered
        UsageFault = 1,   ///< a command makes no sense, or a file or value of this side is no good
        NoConnection = 2, ///< there is none, or it was lost
        DeviceFault = 3,  ///< the device refuses what was asked
        TimeOut = 4       ///< no answer, or too few events, in time
    };
    struct Settings {
        std::string phone = "console"; ///< the token by which the device knows this phone
        bool script = false; ///< repeat each command in the transcript, and end at a wrong one
        /// One command and out: the greeting isn't told, and what the device refuses is a failure.
        bool once = false;
        bool json = false;         ///< one object a line in the place of texts for a person
        bool traffic = false;      ///< tell each text that leaves and that arrives
        bool reconnects = false;   ///< a connection that is lost comes back
        std::string mailBox = "1"; ///< which mail box is read for the number of a message
        std::chrono::milliseconds patience{10'000}; ///< with the answers to one command
        /// Writes a file, and gives what went wrong; empty when nothing did.
        std::function<std::string(const std::string& name, const std::string& bytes)> save =
            saveFile;
    };
    /// Carries a request to the device. It must not give back the answer before it returns.
    using Send = std::function<void(const std::string& text)>;

    /// @param out, errors  must outlive the console. Each line is written at once.
    Console(Send send, std::ostream& out, std::ostream& errors, Settings settings);
    ~Console() override;

    // ----- What the program tells ----------------------------------------------------------------

    /// The connection stands, for the first time or again: opens, subscribes, registers.
    void connected();
    /// A line was typed. Blank ones and those that begin with "#" are skipped. While there is no
    /// connection, a command that needs one is refused.
    void enter(const std::string& line);
    /// The same for a line that is in words already.
    void obey(Words words);
    /// There will be no further line: quits when all are done.
    void endOfInput();
    /// A frame arrived.
    void receive(const std::string& frame);
    /// The command under way took too long.
    void deadlinePassed();
    /// Gives the command under way up; its answers are told when they come.
    void interrupt();
    /// Nothing comes any more, unless it reconnects: then until `connected`. The second time in a
    /// row and after `finished` it doesn't matter.
    void connectionLost(const std::string& reason);
    /// There is no connection, and won't be one.
    void unreachable(const std::string& text);

    // ----- What the program asks -----------------------------------------------------------------

    /// Whether a command waits for the device; a deadline then makes sense.
    bool waiting() const { return waiting_; }
    /// Changes with each command that waits.
    std::uint64_t commandsBegun() const { return commandsBegun_; }
    /// How long the command under way may take; none for one that waits for ever.
    std::optional<std::chrono::milliseconds> timeLimit() const { return timeLimit_; }
    /// Whether the connection is to be closed.
    bool finished() const { return finished_; }
    ExitStatus exitStatus() const { return status_; }
    /// What the last word of the line may become: commands, methods that the device has told of,
    /// messages of the list. A name that isn't printable ASCII isn't among them.
    std::vector<std::string> completions(const std::string& line) const;

    /// One row of the table of commands, for help and manual.
    struct Row {
        std::string name, parameters, meaning;
        bool alone; ///< makes sense as the only command
    };
    static std::vector<Row> table();

    /// Every response and event, after the device client has had it.
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override;
    /// A request that doesn't fit the device's catalogue; it is sent all the same.
    bool warningRequestValidation(const json::Request& request,
                                  json::Schema::ValidationResult result) override;

protected:
    void sendJsonText(const char* text, int size) override;
    void deviceRegistered(const qx::IntrusiveString& first, const qx::IntrusiveString& second,
                          const qx::IntrusiveString& third) override;
    void addresseesListed(std::map<std::string, std::string> addressees) override;
    void singleAddressee(const qx::IntrusiveString& first, const qx::IntrusiveString& second,
                         const qx::IntrusiveString& third) override;
    void showMessage(const qx::IntrusiveString& text) override;
    void mailBoxData(const json::List& result, int batch) override;
    void mailPreviewReady(std::int64_t key, boost::shared_ptr<std::string> image) override;
    void livePreviewReady(boost::shared_ptr<std::string> image) override;
    void contactRegistered(const qx::IntrusiveString& contactNumber,
                           const qx::IntrusiveString& name) override;
    void contactNumbersListed(std::map<std::string, std::string> contactNumbers) override;
    void singleContactNumber(const qx::IntrusiveString& contactNumber,
                             const qx::IntrusiveString& name) override;

private:
    /// A picture that was asked for, and the file that it is meant for.
    struct WantedPicture {
        std::int64_t key; // the record id of its message, or kLiveView
        std::string file;
    };
    /// What "watch" waits for.
    struct Watch {
        std::set<std::string> kinds; // empty for all
        std::optional<int> missing;  // how many events are still to come
    };
    /// What the device has said last to a request, for "check".
    struct Answer {
        int times = 0;
        std::optional<std::int64_t> error; // its code
        std::string errorText;
        json::Variant result;
    };
    /// One row of the table of commands. `run` is false when the words make no sense to it.
    struct Command {
        const char* name;
        const char* parameters;
        const char* meaning;
        std::size_t fewest;
        std::size_t most;
        unsigned int traits;
        bool (Console::*run)(const Words& words);
    };
    static const std::vector<Command>& commands();

    void advance();
    void begin(const Words& words);
    void awaitAnswers();
    void done();
    void await(std::optional<std::chrono::milliseconds> limit);
    void forgetRequests();
    void fail(ExitStatus status, const std::string& text, std::optional<std::int64_t> code = {});
    void tell(const std::string& line, const Said& said);
    void print(const std::string& line, const Said& said);
    void remark(const std::string& line, const Said& said);
    void tellTraffic(const char* type, const std::string& text, std::size_t attachment);
    void tellRegistered();
    void tellDeviceError(const json::Response& response);
    void record(const json::Request& request, const json::Response& response);
    void tellCheck();
    void tellChoice(const std::string& kind, const std::string& id, const std::string& name);
    void tellEvent(const json::Request& request, const json::Response& response);
    std::string showing() const;
    std::string completed(const std::string& beginning);
    void playMessage(const std::string& number, bool queueWhilePlaying);
    void takePicture(std::int64_t key, const std::string& image);
    void missPicture();
    bool savePicture(std::int64_t key, const std::string& file);
    const qx::MailBoxEntry* messageOf(const std::string& number);

    // One per command, in the order of the table.
    bool door(const Words&);
    bool light(const Words&);
    bool ring(const Words&);
    bool acknowledge(const Words&);
    bool click(const Words&);
    bool pan(const Words&);
    bool center(const Words&);
    bool zoom(const Words&);
    bool mode(const Words&);
    bool showLive(const Words&);
    bool startPlay(const Words&);
    bool queue(const Words&);
    bool stopForNow(const Words&);
    bool registerPhone(const Words&);
    bool mailBox(const Words&);
    bool seen(const Words&);
    bool erase(const Words&);
    bool preview(const Words&);
    bool snapshot(const Words&);
    bool status(const Words&);
    bool methods(const Words&);
    bool callMethod(const Words&);
    bool wait(const Words&);
    bool watch(const Words&);
    bool check(const Words&);
    bool validate(const Words&);
    bool help(const Words&);
    bool quit(const Words&);

    Send send_;
    std::ostream& out_;
    std::ostream& errors_;
    const Settings settings_;

    std::deque<Words> lines_;
    std::string command_; // the one under way, for messages
    bool connected_ = false;
    bool lost_ = false; // there was a connection, and it is told that there is none now
    bool waiting_ = false;
    bool greeting_ = false;
    bool listing_ = false;  // reads the mail box for a command that names a message
    bool checking_ = false; // gathers answers for the table of "check"
    bool inputEnded_ = false;
    bool finished_ = false;
    ExitStatus status_ = Good;
    std::uint64_t commandsBegun_ = 0;
    std::optional<std::chrono::milliseconds> timeLimit_;

    std::uint64_t sent_ = 0;             // requests, to see whether a command sent one
    std::uint64_t sentWithQuestion_ = 0; // when the question for the version had gone out
    std::int64_t question_ = 0;          // its id, 0 for none
    bool questionAnswered_ = false;
    std::optional<std::string> awaited_; // the text that "wait" waits for

    bool errorUnderWay_ = false; // the response under way is one
    bool messageShown_ = false;  // the device client has told it
    bool ringing_ = false;
    std::string registeredWith_;
    json::Variant catalogue_;                           // what "list_methods" answered
    std::map<unsigned int, qx::MailBoxEntry> messages_; // by sequence number
    bool listRead_ = false;                             // by `listing_`
    std::optional<WantedPicture> wanted_;
    std::optional<Watch> watch_;
    std::map<std::string, Answer> answers_; // by method, or by what was subscribed to
    std::string checkedPicture_;            // what "check" tells of it
};

} // namespace console
