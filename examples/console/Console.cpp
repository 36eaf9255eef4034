// SPDX-License-Identifier: MIT
#include "console/Console.h"

#include "console/SilentOutput.h"
#include "shared/PlainText.h"
#include "shared/UtcTime.h"
#include "json/JsonParser.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <iterator>
#include <locale>
#include <set>
#include <sstream>
#include <utility>

namespace console {

namespace {

constexpr long long kSubscribeView = 105; // behind the ids that the device client uses itself
constexpr int kPictureWidth = 320;
constexpr int kPictureHeight = 240;
constexpr std::int64_t kLiveView = -1;        // where messages are told apart by record id
constexpr std::size_t kMostMessages = 10'000; // of one list
constexpr std::size_t kAnyNumber = 1000;      // of words
constexpr double kLongestWatch = 1e9;         // seconds
constexpr const char* kEventKinds[] = {"door", "light", "view", "bell", "registration"};

// Traits of a command.
constexpr unsigned int kNeedsDevice = 1;  // can't be obeyed without a connection
constexpr unsigned int kAlone = 2;        // makes sense as the only command
constexpr unsigned int kNamesMessage = 4; // by its number, as its first word

/// A device's text as one line that can't steer the terminal.
std::string plain(const std::string& text) { return shared::plainText(text); }

std::string json_text(const json::Variant& value) {
    qx::IntrusiveString text;
    value.print(text);
    return plain(text.c_str());
}

/// A text as it is, an object as its sorted members, everything else as JSON.
std::string readable(const json::Variant& value) {
    if (value.isString()) return plain(value.charsValue());
    if (!value.isObject()) return value.isNull() ? "nothing" : json_text(value);
    std::vector<json::Object::Key> keys;
    value.objectValue().sorted_keys(keys);
    std::string text;
    for (const json::Object::Key& key : keys) {
        const json::Variant& member = value[*key];
        text += (text.empty() ? "" : ", ") + plain(key->c_str()) + " ";
        text += member.isString() ? plain(member.charsValue()) : json_text(member);
    }
    return text;
}

std::string words_from(const std::vector<std::string>& words, std::size_t first) {
    std::string text;
    for (std::size_t i = first; i < words.size(); ++i) {
        text += (i == first ? "" : " ") + words[i];
    }
    return text;
}

template <typename Number>
std::optional<Number> number(const std::string& word) {
    const char* begin = word.c_str();
    const char* const end = begin + word.size();
    if (*begin == '+' && begin[1] != '-') ++begin;
    Number value{};
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::string parameters_of(const json::Variant& record) {
    std::string text;
    for (const json::Variant& parameter : record["params"].listValue()) {
        text += (text.empty() ? "" : ", ") + readable(parameter["type"]);
    }
    return text;
}

} // namespace

Console::Console(Send send, std::ostream& out, std::ostream& errors, Settings settings)
    : send_(std::move(send)), out_(out), errors_(errors), settings_(std::move(settings)) {}

Console::~Console() = default;

// ----- What the program tells --------------------------------------------------------------------

void Console::connected() {
    connected_ = true;
    if (!waiting_) command_ = "the greeting";
    greeting_ = true;
    tell("connected", Said("connection").with("state", "connected"));
    open();
    setupSubscriptions(settings_.phone);
    subscribe2("subscription", "view", true, kSubscribeView);
    awaitAnswers();
}

void Console::enter(const std::string& line) {
    std::istringstream stream(line);
    obey(Words{std::istream_iterator<std::string>(stream), {}});
}

void Console::obey(Words words) {
    if (finished_ && !connected_) {
        fail(NoConnection, plain(words_from(words, 0)) + ": there is no connection");
        return;
    }
    lines_.push_back(std::move(words));
    advance();
}

void Console::endOfInput() {
    inputEnded_ = true;
    advance();
}

void Console::receive(const std::string& frame) {
    if (settings_.traffic) {
        const std::size_t text = std::min(frame.find('\0'), frame.size());
        const std::size_t attachment = frame.size() - std::min(text + 1, frame.size());
        tellTraffic("received", frame.substr(0, text), attachment);
    }
    receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(frame.data()),
                            static_cast<unsigned int>(frame.size()));
    if (std::exchange(questionAnswered_, false)) {
        // What has arrived may have made the device client ask further.
        if (sent_ != sentWithQuestion_) {
            awaitAnswers();
        } else {
            done();
        }
    }
    advance();
}

void Console::deadlinePassed() {
    if (!waiting_) return;
    const std::optional<Watch> watch = std::exchange(watch_, std::nullopt);
    awaited_.reset();
    wanted_.reset();
    question_ = 0;
    greeting_ = false;
    const bool checking = checking_;
    done();
    if (watch && watch->missing) {
        fail(TimeOut,
             command_ + ": " + std::to_string(*watch->missing) + " more should have come in time");
    } else if (!watch && !checking) {
        fail(TimeOut, command_ + ": the device didn't answer in time");
    }
    advance();
}

void Console::interrupt() {
    if (!waiting_) return;
    awaited_.reset();
    wanted_.reset();
    watch_.reset();
    checking_ = false;
    greeting_ = false;
    question_ = 0;
    done();
    advance();
}

void Console::connectionLost(const std::string& reason) {
    if (finished_ || lost_) return;
    connected_ = false;
    const std::string text = "the connection is lost: " + plain(reason);
    if (!settings_.reconnects) {
        finished_ = true;
        fail(NoConnection, text);
        return;
    }
    lost_ = true;
    remark(text, Said("connection").with("state", "lost").with("reason", reason));
    forgetRequests();
    if (watch_ || !waiting_) return; // who watches goes on when it is back
    checking_ = false;
    done();
    fail(NoConnection, command_ + ": the connection is lost");
    advance();
}

void Console::unreachable(const std::string& text) {
    finished_ = true;
    fail(NoConnection, plain(text));
}

/// No answer to what has been asked will come by a new connection.
void Console::forgetRequests() {
    question_ = 0;
    greeting_ = false;
    awaited_.reset();
    wanted_.reset();
    previewKeyByRequest.clear();
    previewRequestByKey.clear();
    for (auto row = pendingRequests.begin(); row != pendingRequests.end();) {
        row = row->second.keepAfterResponse ? std::next(row) : pendingRequests.erase(row);
    }
}

// ----- One line after another --------------------------------------------------------------------

void Console::advance() {
    while (!finished_ && !waiting_ && !lines_.empty()) {
        const Words words = std::move(lines_.front());
        lines_.pop_front();
        begin(words);
    }
    if (!finished_ && !waiting_ && inputEnded_) quit({});
}

void Console::begin(const Words& words) {
    if (words.empty() || words[0].empty() || words[0][0] == '#') return;
    command_ = plain(words_from(words, 0));
    if (settings_.script) print("> " + command_, Said("command").with("text", command_));

    const auto found = std::find_if(commands().begin(), commands().end(),
                                    [&](const Command& row) { return row.name == words[0]; });
    if (found == commands().end()) {
        fail(UsageFault, "there is no command \"" + plain(words[0]) + "\"; \"help\" lists them");
        return;
    }
    if ((found->traits & kNeedsDevice) != 0 && !connected_) {
        fail(NoConnection, command_ + ": there is no connection");
        return;
    }
    const bool namesMessage =
        (found->traits & kNamesMessage) != 0 && words.size() > 1 && words[1] != "-o";
    if (settings_.once && namesMessage && !std::exchange(listRead_, true)) {
        listing_ = true;
        lines_.push_front(words);
        mailBox({"mailbox", settings_.mailBox});
        awaitAnswers();
        return;
    }
    const std::uint64_t sentBefore = sent_;
    const std::size_t parameters = words.size() - 1;
    if (parameters < found->fewest || parameters > found->most || !(this->*found->run)(words)) {
        const std::string rest = found->parameters;
        fail(UsageFault, "usage: " + std::string(found->name) + (rest.empty() ? "" : " " + rest));
    } else if (sent_ != sentBefore && !finished_) {
        awaitAnswers();
    } else {
        missPicture(); // an earlier request for it is still unanswered
    }
}

/// Asks for the version: the device answers in order, so its answer comes behind all others.
void Console::awaitAnswers() {
    if (!waiting_) await(settings_.patience);
    question_ = call0("version").referenceId();
    sentWithQuestion_ = sent_;
}

void Console::await(std::optional<std::chrono::milliseconds> limit) {
    waiting_ = true;
    timeLimit_ = limit;
    ++commandsBegun_;
}

void Console::done() {
    listing_ = false;
    if (std::exchange(greeting_, false)) {
        if (std::exchange(lost_, false) && settings_.once) {
            remark("connected again", Said("connection").with("state", "connected"));
        }
        if (watch_) return; // the greeting was that of a new connection
    }
    waiting_ = false;
    if (checking_) tellCheck();
    missPicture();
}

void Console::fail(ExitStatus status, const std::string& text, std::optional<std::int64_t> code) {
    Said said("error");
    said.with("status", static_cast<int>(status));
    if (code) said.with("code", *code);
    remark("error: " + text, said.with("text", text));
    if (status_ == Good) status_ = status;
    if (settings_.script || settings_.once) finished_ = true;
}

void Console::tell(const std::string& line, const Said& said) {
    const bool watched =
        watch_ && !greeting_ &&
        (watch_->kinds.empty()
             ? std::count(std::begin(kEventKinds), std::end(kEventKinds), said.type()) != 0
             : watch_->kinds.count(said.type()) != 0);
    const bool unasked = settings_.once && (greeting_ || listing_ || (watch_ && !watched));
    if (!unasked && !checking_) print(line, said);
    if (watched && watch_->missing && --*watch_->missing <= 0) {
        watch_.reset();
        done();
    }
    if (awaited_ && line.find(*awaited_) != std::string::npos) {
        awaited_.reset();
        done();
    }
}

void Console::print(const std::string& line, const Said& said) {
    out_ << (settings_.json ? said.text() : line) << std::endl;
}

/// What isn't a result: to the error output, or for programs among the other objects.
void Console::remark(const std::string& line, const Said& said) {
    (settings_.json ? out_ : errors_) << (settings_.json ? said.text() : line) << std::endl;
}

void Console::tellTraffic(const char* type, const std::string& text, std::size_t attachment) {
    std::string line = (type == std::string("sent") ? "> " : "< ") + shared::escapedText(text);
    Said said(type);
    said.with("text", text);
    if (attachment > 0) {
        line += " + " + std::to_string(attachment) + " bytes";
        said.with("attachment", attachment);
    }
    remark(line, said);
}

// ----- What the device says ----------------------------------------------------------------------

void Console::sendJsonText(const char* text, int size) {
    ++sent_;
    const std::string request(text, static_cast<std::size_t>(size));
    if (settings_.traffic) tellTraffic("sent", request, 0);
    send_(request);
}

bool Console::handleResponse(const json::Request& request, const json::Response& response,
                             json::Schema::ValidationResult result) {
    record(request, response);
    errorUnderWay_ = response.isError();
    messageShown_ = false;
    std::optional<SilentOutput> silence;
    if (request.methodName() == "list_methods") silence.emplace();
    const bool good = GatecastConversation::handleResponse(request, response, result);
    silence.reset();
    errorUnderWay_ = false;
    const std::int64_t id = response.referenceId().integerValue();
    if (question_ != 0 && id == question_) {
        question_ = 0;
        questionAnswered_ = true;
    } else if (!response.isError()) {
        tellEvent(request, response);
    } else if (!messageShown_) {
        tellDeviceError(response);
    }
    return good;
}

void Console::tellDeviceError(const json::Response& response) {
    const std::int64_t code = response.errorCode();
    const std::string text = plain(response.errorMessage().c_str());
    const std::string line = "device error " + std::to_string(code) + ": " + text;
    if (settings_.once && !greeting_ && !checking_) {
        fail(DeviceFault, line, code);
    } else {
        tell(line, Said("device_error").with("code", code).with("text", text));
    }
}

bool Console::warningRequestValidation(const json::Request& request,
                                       json::Schema::ValidationResult result) {
    std::ostringstream fault;
    fault << result.message(result.code) << " at " << result.path;
    const std::string text = plain(request.methodName().c_str()) +
                             " isn't called as the device has described it: " + plain(fault.str());
    tell("warning: " + text, Said("warning").with("text", text));
    return true;
}

void Console::tellEvent(const json::Request& request, const json::Response& response) {
    const std::int64_t id = response.referenceId().integerValue();
    const std::string method = request.methodName();
    const json::Variant& first = response.firstResult();
    if (id == SubscribeDoor) {
        tell("door: " + readable(first), Said("door").with("value", first));
    } else if (id == SubscribeLight) {
        const bool on = first.booleanValue();
        tell(on ? "light: on" : "light: off", Said("light").with("on", on));
    } else if (id == kSubscribeView) {
        const json::List& view = response.resultList();
        tell("view: " + readable(view[0]) + " to the right, " + readable(view[1]) + " up, zoom " +
                 readable(view[2]),
             Said("view").with("right", view[0]).with("up", view[1]).with("zoom", view[2]));
    } else if (id == SubscribeDevice) {
        // A registration is told by the device client. (What isn't a string equals no text, and
        // differs from none.)
        if (!(first == "bell")) return;
        ringing_ = response.resultList()[1].booleanValue();
        tell(ringing_ ? "bell: ringing" : "bell: silent", Said("bell").with("ringing", ringing_));
    } else if (id == ListMethodsRefId) {
        catalogue_ = response.result();
    } else if (method == "version") {
        tell("protocol: " + std::to_string(versionMajor) + "." + std::to_string(versionMinor),
             Said("protocol").with("major", versionMajor).with("minor", versionMinor));
    } else if (id == SubscribeMailBox || method == "preview_message" || method == "preview_live" ||
               method == "list_addressees" || method == "list_contact_numbers") {
        return; // told by an operation of its own
    } else {
        const std::string name = method.empty() ? "event " + std::to_string(id) : plain(method);
        Said said(method.empty() ? "event" : "answer");
        if (!method.empty()) said.with("method", method);
        tell(name + ": " + readable(response.result()),
             said.with("id", id).with("result", response.result()));
    }
}

void Console::deviceRegistered(const qx::IntrusiveString&, const qx::IntrusiveString& second,
                               const qx::IntrusiveString& third) {
    registeredWith_ = plain(second.c_str()) + " (" + plain(third.c_str()) + ")";
    tellRegistered();
}

void Console::contactRegistered(const qx::IntrusiveString&, const qx::IntrusiveString& name) {
    registeredWith_ = plain(name.c_str());
    tellRegistered();
}

void Console::tellRegistered() {
    tell("registered with " + registeredWith_, Said("registration").with("with", registeredWith_));
}

void Console::addresseesListed(std::map<std::string, std::string> addressees) {
    for (const auto& [id, name] : addressees) {
        tellChoice("addressee", id, name);
    }
}

void Console::singleAddressee(const qx::IntrusiveString& first, const qx::IntrusiveString& second,
                              const qx::IntrusiveString& third) {
    tellChoice("addressee", first, std::string(second.c_str()) + " (" + third.c_str() + ")");
}

void Console::contactNumbersListed(std::map<std::string, std::string> contactNumbers) {
    for (const auto& [number, name] : contactNumbers) {
        tellChoice("contact", number, name);
    }
}

void Console::singleContactNumber(const qx::IntrusiveString& contactNumber,
                                  const qx::IntrusiveString& name) {
    tellChoice("contact", contactNumber, name);
}

void Console::tellChoice(const std::string& kind, const std::string& id, const std::string& name) {
    tell(kind + " " + plain(id) + ": " + plain(name), Said(kind).with("id", id).with("name", name));
}

void Console::showMessage(const qx::IntrusiveString& text) {
    // The only command of a program tells what the device refuses by its code.
    if (settings_.once && errorUnderWay_ && !greeting_) return;
    messageShown_ = true;
    tell("message: " + plain(text.c_str()), Said("message").with("text", plain(text.c_str())));
}

void Console::mailBoxData(const json::List& result, int batch) {
    if (!errorUnderWay_ || !settings_.once) {
        tell("mail box, batch " + std::to_string(batch) + ": " + std::to_string(result.size()) +
                 (result.size() == 1 ? " message" : " messages"),
             Said("mail_box").with("batch", batch).with("messages", result.size()));
    }
    for (const json::Variant& row : result) {
        const qx::MailBoxEntry entry(row);
        if (messages_.size() < kMostMessages) messages_[entry.sequenceNo()] = entry;
        const std::string time = shared::utcTime(entry.timestamp());
        const double seconds = row["length_ds"].realValue() / 10;
        const bool seen = row["message_seen"].booleanValue();
        std::ostringstream line;
        line.imbue(std::locale::classic());
        line << "message " << entry.sequenceNo() << ": " << (time.empty() ? "no time" : time)
             << ", " << readable(row["name_sender"]) << ", " << seconds << " s, "
             << (seen ? "seen" : "new");
        tell(line.str(), Said("mail")
                             .with("number", entry.sequenceNo())
                             .with("time", time)
                             .with("sender", row["name_sender"])
                             .withNumber("seconds", seconds)
                             .with("seen", seen));
    }
}

void Console::mailPreviewReady(std::int64_t key, boost::shared_ptr<std::string> image) {
    takePicture(key, *image);
}

void Console::livePreviewReady(boost::shared_ptr<std::string> image) {
    takePicture(kLiveView, *image);
}

void Console::takePicture(std::int64_t key, const std::string& image) {
    const bool picture = image.compare(0, 2, "\xFF\xD8") == 0;
    if (checking_) {
        checkedPicture_ =
            std::to_string(image.size()) + (picture ? " bytes of JPEG" : " bytes, but no JPEG");
        return;
    }
    if (!wanted_ || wanted_->key != key) {
        tell("a picture of " + std::to_string(image.size()) + " bytes came unasked",
             Said("picture").with("bytes", image.size()));
        return;
    }
    const std::string file = std::move(wanted_->file);
    wanted_.reset();
    if (!picture) {
        fail(DeviceFault, command_ + ": what came is no JPEG picture");
        return;
    }
    const std::string fault = settings_.save(file, image);
    if (fault.empty()) {
        tell("saved: " + plain(file), Said("saved").with("file", file).with("bytes", image.size()));
    } else {
        fail(UsageFault, "can't write " + plain(file) + ": " + fault);
    }
}

void Console::missPicture() {
    if (!wanted_) return;
    wanted_.reset();
    if (settings_.once && status_ != Good) return; // the device has said why
    fail(DeviceFault, command_ + ": no picture came");
}

std::string Console::showing() const {
    static const char* const what[] = {"nothing", "nothing", "live view", "?", "recording"};
    static const char* const how[] = {"", " (asked for)", " (paused)", " (pause asked for)"};
    const int low = playbackMode & 15;
    return (low <= 4 ? what[low] : "?") + std::string(how[(playbackMode >> 4) & 3]);
}

/// The message of the last list; null, and an error told, when the list doesn't have it.
const qx::MailBoxEntry* Console::messageOf(const std::string& word) {
    const std::optional<unsigned int> wanted = number<unsigned int>(word);
    const auto found = wanted ? messages_.find(*wanted) : messages_.end();
    if (found != messages_.end()) return &found->second;
    fail(UsageFault, "there is no message \"" + plain(word) + "\" in the list; " +
                         (settings_.once ? "mail box " + plain(settings_.mailBox) + " was read"
                                         : "\"mailbox\" reads it"));
    return nullptr;
}

// ----- The commands ------------------------------------------------------------------------------

const std::vector<Console::Command>& Console::commands() {
    constexpr unsigned int device = kNeedsDevice;
    constexpr unsigned int both = kNeedsDevice | kAlone;
    constexpr unsigned int message = kNeedsDevice | kAlone | kNamesMessage;
    static const std::vector<Command> table = {
        {"door", "", "open the door", 0, 0, both, &Console::door},
        {"light", "", "turn the light on or off", 0, 0, both, &Console::light},
        {"ring", "", "press the bell button (simulated stations only)", 0, 0, both, &Console::ring},
        {"ack", "[no]", "answer the bell, or refuse", 0, 1, both, &Console::acknowledge},
        {"click", "X Y [zoom]", "centre the view on a point, in thousandths", 2, 3, both,
         &Console::click},
        {"pan", "X Y", "turn the camera by steps to the right and up", 2, 2, both, &Console::pan},
        {"center", "", "turn the camera to the middle", 0, 0, both, &Console::center},
        {"zoom", "N", "set the zoom; +N and -N change it by steps", 1, 1, both, &Console::zoom},
        {"mode", "NAME", "choose how the picture is shown", 1, 1, both, &Console::mode},
        {"live", "", "show the live view", 0, 0, device, &Console::showLive},
        {"play", "[N | START END]", "go on, play message N, or a span of seconds", 0, 2, device,
         &Console::startPlay},
        {"queue", "N", "play message N after what plays", 1, 1, device, &Console::queue},
        {"pause", "", "pause what is shown, or go on to a queued message", 0, 0, device,
         &Console::stopForNow},
        {"register", "ID NAME", "add this phone to an entry of the address book", 2, kAnyNumber,
         both, &Console::registerPhone},
        {"mailbox", "[ID]", "list the messages of a mail box, the first by default", 0, 1, both,
         &Console::mailBox},
        {"seen", "N [no]", "mark message N as seen, or as new", 1, 2, message, &Console::seen},
        {"delete", "N", "delete message N", 1, 1, message, &Console::erase},
        {"preview", "[N] -o FILE", "save the picture of message N, or one of the live view", 2,
         kAnyNumber, message, &Console::preview},
        {"snapshot", "FILE", "save a picture of the live view", 1, kAnyNumber, both,
         &Console::snapshot},
        {"status", "", "tell what is known of the device", 0, 0, kAlone, &Console::status},
        {"methods", "[METHOD]", "list the device's methods, or describe one", 0, 1, kAlone,
         &Console::methods},
        {"call", "METHOD [LIST]", "call any method with a JSON list of parameters", 1, kAnyNumber,
         both, &Console::callMethod},
        {"wait", "[TEXT]", "wait for the next line from the device that has the text", 0,
         kAnyNumber, device, &Console::wait},
        {"watch", "[-C N] [-W S] [KIND]...",
         "wait for events: door, light, view, bell, registration", 0, kAnyNumber, both,
         &Console::watch},
        {"check", "", "tell how the device answers the usual exchange", 0, 0, both,
         &Console::check},
        {"validate", "SCHEMA VALUE", "check a JSON value; each is a file, or the text itself", 2, 2,
         kAlone, &Console::validate},
        {"help", "", "list the commands", 0, 0, 0, &Console::help},
        {"quit", "", "end the connection", 0, 0, 0, &Console::quit},
    };
    return table;
}

std::vector<Console::Row> Console::table() {
    std::vector<Row> rows;
    for (const Command& command : commands()) {
        const bool alone = (command.traits & kAlone) != 0;
        rows.push_back({command.name, command.parameters, command.meaning, alone});
    }
    return rows;
}

std::vector<std::string> Console::completions(const std::string& line) const {
    std::istringstream stream(line);
    Words words{std::istream_iterator<std::string>(stream), {}};
    if (line.empty() || line.back() == ' ' || line.back() == '\t') words.emplace_back();
    std::set<std::string> choices;
    if (words.size() == 1) {
        for (const Command& command : commands())
            choices.insert(command.name);
    } else if (words[0] == "watch") {
        choices.insert(std::begin(kEventKinds), std::end(kEventKinds));
    } else if (words.size() == 2 && (words[0] == "call" || words[0] == "methods")) {
        for (const qx::IntrusiveString& name : methodNames)
            choices.insert(name.c_str());
    } else if (words.size() == 2) {
        static const std::set<std::string> ofMessages = {"play", "queue", "seen", "delete",
                                                         "preview"};
        if (ofMessages.count(words[0]) != 0) {
            for (const auto& row : messages_)
                choices.insert(std::to_string(row.first));
        }
    }
    std::vector<std::string> found;
    for (const std::string& choice : choices) {
        const bool safe =
            std::all_of(choice.begin(), choice.end(), [](char c) { return c > 0x20 && c < 0x7F; });
        if (safe && choice.compare(0, words.back().size(), words.back()) == 0) {
            found.push_back(choice);
        }
    }
    return found;
}

bool Console::door(const Words&) {
    triggerDoor();
    return true;
}

bool Console::light(const Words&) {
    triggerLight();
    return true;
}

bool Console::ring(const Words&) {
    call0("ring", NO_ID);
    return true;
}

bool Console::acknowledge(const Words& words) {
    if (words.size() == 2 && words[1] != "no") return false;
    acknowledgeBell(words.size() == 1);
    return true;
}

bool Console::click(const Words& words) {
    const std::optional<int> x = number<int>(words[1]);
    const std::optional<int> y = number<int>(words[2]);
    if (!x || !y || (words.size() == 4 && words[3] != "zoom")) return false;
    ptzClick(*x, *y, words.size() == 4);
    return true;
}

bool Console::pan(const Words& words) {
    const std::optional<int> x = number<int>(words[1]);
    const std::optional<int> y = number<int>(words[2]);
    if (!x || !y) return false;
    ptzPan(*x, *y, true);
    return true;
}

bool Console::center(const Words&) {
    ptzPan(0, 0, false);
    return true;
}

bool Console::zoom(const Words& words) {
    const std::optional<int> zoom = number<int>(words[1]);
    if (!zoom) return false;
    ptzZoom(*zoom, words[1][0] == '+' || words[1][0] == '-');
    return true;
}

bool Console::mode(const Words& words) {
    setDisplayMode(words[1]);
    return true;
}

bool Console::showLive(const Words&) {
    live();
    return true;
}

bool Console::startPlay(const Words& words) {
    if (words.size() == 1) {
        play();
        return true;
    }
    if (words.size() == 3) {
        const std::optional<double> start = number<double>(words[1]);
        const std::optional<double> end = number<double>(words[2]);
        if (!start || !end) return false;
        play(*start, *end, false);
        return true;
    }
    playMessage(words[1], false);
    return true;
}

bool Console::queue(const Words& words) {
    playMessage(words[1], true);
    return true;
}

void Console::playMessage(const std::string& number, bool queueWhilePlaying) {
    const qx::MailBoxEntry* const entry = messageOf(number);
    if (entry == nullptr) return;
    const std::size_t queued = playQueue.size();
    play(*entry, queueWhilePlaying, false);
    if (playQueue.size() != queued) {
        tell("queued: \"pause\" goes on to it", Said("queued").with("message", number));
    }
}

bool Console::stopForNow(const Words&) {
    pause();
    return true;
}

bool Console::registerPhone(const Words& words) {
    addDevice(settings_.phone, words_from(words, 2), words[1]);
    return true;
}

bool Console::mailBox(const Words& words) {
    const std::string id = words.size() == 2 ? words[1] : "1";
    if (!number<int>(id)) return false;
    messages_.clear();
    readMailBox(id);
    return true;
}

bool Console::seen(const Words& words) {
    if (words.size() == 3 && words[2] != "no") return false;
    const qx::MailBoxEntry* const entry = messageOf(words[1]);
    if (entry != nullptr) markMessageSeen(*entry, words.size() == 2);
    return true;
}

bool Console::erase(const Words& words) {
    const qx::MailBoxEntry* const entry = messageOf(words[1]);
    if (entry == nullptr) return true;
    deleteMessage(*entry);
    messages_.erase(entry->sequenceNo());
    return true;
}

bool Console::preview(const Words& words) {
    const bool ofMessage = words[1] != "-o";
    const std::size_t rest = ofMessage ? 2 : 1;
    const std::size_t file = rest < words.size() && words[rest] == "-o" ? rest + 1 : rest;
    if (file >= words.size()) return false;
    if (!ofMessage) return savePicture(kLiveView, words_from(words, file));
    const qx::MailBoxEntry* const entry = messageOf(words[1]);
    if (entry == nullptr) return true;
    const std::int64_t key = std::max<std::int64_t>(entry->recordId(), 0); // below 0: the live view
    return savePicture(key, words_from(words, file));
}

bool Console::snapshot(const Words& words) { return savePicture(kLiveView, words_from(words, 1)); }

bool Console::savePicture(std::int64_t key, const std::string& file) {
    wanted_ = WantedPicture{key, file};
    if (key == kLiveView) {
        downloadLivePreviewImage(kPictureWidth, kPictureHeight, false);
        return true;
    }
    const boost::shared_ptr<std::string> image =
        downloadMailPreviewImage(key, kPictureWidth, kPictureHeight, true);
    if (image) mailPreviewReady(key, image); // it was there already
    return true;
}

bool Console::status(const Words&) {
    const DoorAndLightStatus& now = doorAndLightStatus();
    const std::string light = now.lightOn ? "on" : "off";
    std::ostringstream table;
    table << "protocol   " << versionMajor << "." << versionMinor << "\n"
          << "registered " << (registeredWith_.empty() ? "no" : "with " + registeredWith_) << "\n"
          << "door       " << (now.doorStatusKnown ? plain(now.doorStatus.c_str()) : "?") << "\n"
          << "light      " << (now.lightStatusKnown ? light : "?") << "\n"
          << "bell       " << (ringing_ ? "ringing" : "silent") << "\n"
          << "showing    " << showing();
    Said said("status");
    said.with("major", versionMajor).with("minor", versionMinor);
    said.with("registered", registeredWith_);
    said.with("door", now.doorStatusKnown ? json::Variant(now.doorStatus) : json::Variant());
    said.with("light", now.lightStatusKnown ? json::Variant(now.lightOn) : json::Variant());
    print(table.str(), said.with("ringing", ringing_).with("showing", showing()));
    return true;
}

bool Console::methods(const Words& words) {
    const json::Variant& catalogue = catalogue_;
    const std::string wanted = words.size() == 2 ? completed(words[1]) : std::string();
    if (words.size() == 2 && wanted.empty()) return true;
    bool told = false;
    if (words.size() == 1 || settings_.json) {
        for (const json::Variant& record : catalogue.listValue()) {
            if (!wanted.empty() && !(record["method"] == wanted)) continue;
            told = true;
            print(readable(record["method"]) + "(" + parameters_of(record) +
                      "): " + readable(record["description"]),
                  Said("method").with("record", record));
        }
    } else {
        std::stringstream help;
        printMethodHelp(help, wanted);
        for (std::string line; std::getline(help, line); told = true) {
            const std::size_t text = std::min(line.find_first_not_of('\t'), line.size());
            std::replace(line.begin(), line.end(), '\t', ' ');
            out_ << std::string(4 * text, ' ') << plain(line.substr(text)) << std::endl;
        }
    }
    if (wanted.empty() || told) return true;
    const std::string none = "the device has told of no such method";
    if (settings_.once) {
        fail(UsageFault, none);
    } else {
        tell(none, Said("message").with("text", none));
    }
    return true;
}

/// The method that the beginning of its name stands for. A name that the device has told of stands
/// for itself, and so does one that no name begins with; "" where several do, and they are told.
std::string Console::completed(const std::string& beginning) {
    std::set<std::string> candidates; // a catalogue that came twice has its names twice
    for (const qx::IntrusiveString& name : methodNames) {
        const std::string method = name.c_str();
        if (method == beginning) return method;
        if (method.compare(0, beginning.size(), beginning) == 0) candidates.insert(method);
    }
    if (candidates.empty()) return beginning;
    if (candidates.size() == 1) return *candidates.begin();
    std::string all;
    for (const std::string& method : candidates) {
        all += (all.empty() ? "" : ", ") + plain(method);
    }
    const std::string text = plain(beginning) + " begins several methods: " + all;
    if (settings_.once) {
        fail(UsageFault, text);
    } else {
        tell(text, Said("message").with("text", text));
    }
    return std::string();
}

bool Console::callMethod(const Words& words) {
    json::Variant parameters = json::Variant::newList();
    if (words.size() > 2) {
        parameters = json::JsonParser::parseTree(words_from(words, 2));
        if (!parameters.isList()) return false; // a text that doesn't parse gives no list either
    }
    const std::string method = completed(words[1]);
    if (!method.empty()) call(method, parameters);
    return true;
}

bool Console::wait(const Words& words) {
    awaited_ = words_from(words, 1);
    await(settings_.patience);
    return true;
}

bool Console::watch(const Words& words) {
    Watch watch;
    std::optional<std::chrono::milliseconds> limit;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const bool last = i + 1 == words.size();
        if (words[i] == "-C" && !last) {
            watch.missing = number<int>(words[++i]);
            if (!watch.missing || *watch.missing < 1) return false;
        } else if (words[i] == "-W" && !last) {
            const std::optional<double> seconds = number<double>(words[++i]);
            if (!seconds || !(*seconds > 0 && *seconds <= kLongestWatch)) return false;
            limit = std::chrono::milliseconds(static_cast<std::int64_t>(*seconds * 1000));
        } else if (std::count(std::begin(kEventKinds), std::end(kEventKinds), words[i]) != 0) {
            watch.kinds.insert(words[i]);
        } else {
            return false;
        }
    }
    if (watch.kinds.count("bell") != 0 && registeredWith_.empty()) {
        const std::string text = "this phone isn't registered, and hears no bell";
        remark("note: " + text, Said("note").with("text", text));
    }
    watch_ = watch;
    // A script that makes the event itself must know that it will be heard.
    if (settings_.once) remark("watching", Said("watching"));
    await(limit);
    return true;
}

bool Console::help(const Words&) {
    for (const Command& command : commands()) {
        std::string usage = std::string(command.name) + " " + command.parameters;
        usage.resize(std::max<std::size_t>(usage.size(), 31), ' ');
        print("    " + usage + " " + command.meaning, Said("command")
                                                          .with("name", command.name)
                                                          .with("parameters", command.parameters)
                                                          .with("meaning", command.meaning));
    }
    return true;
}

bool Console::quit(const Words&) {
    if (connected_) close();
    finished_ = true;
    return true;
}

} // namespace console
