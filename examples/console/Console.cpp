// SPDX-License-Identifier: MIT
#include "console/Console.h"

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

/// Keeps standard and error output silent while it lives: the library prints there what it learns
/// of methods, in the device's own words. This console prints that when it is asked, made plain.
class SilentOutput {
public:
    SilentOutput() : out_(std::cout.rdbuf(nullptr)), errors_(std::cerr.rdbuf(nullptr)) {}
    ~SilentOutput() {
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(errors_);
    }
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

private:
    std::streambuf* out_;
    std::streambuf* errors_;
};

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
    tell("connected");
    command_ = "the greeting";
    open();
    setupSubscriptions(settings_.phone);
    subscribe2("subscription", "view", true, kSubscribeView);
    awaitAnswers();
}

void Console::enter(const std::string& line) {
    if (finished_ && !connected_) {
        fail(plain(line) + ": there is no connection");
        return;
    }
    lines_.push_back(line);
    advance();
}

void Console::endOfInput() {
    inputEnded_ = true;
    advance();
}

void Console::receive(const std::string& frame) {
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
    awaited_.reset();
    wanted_.reset();
    question_ = 0;
    done();
    fail(command_ + ": the device didn't answer in time");
    advance();
}

void Console::connectionLost(const std::string& reason) {
    if (finished_) return;
    connected_ = false;
    finished_ = true;
    fail("the connection is lost: " + plain(reason));
}

// ----- One line after another --------------------------------------------------------------------

void Console::advance() {
    while (!finished_ && !waiting_ && !lines_.empty()) {
        const std::string line = std::move(lines_.front());
        lines_.pop_front();
        begin(line);
    }
    if (!finished_ && !waiting_ && inputEnded_) quit({});
}

void Console::begin(const std::string& line) {
    std::istringstream stream(line);
    const Words words{std::istream_iterator<std::string>(stream), {}};
    if (words.empty() || words[0][0] == '#') return;
    command_ = plain(words_from(words, 0));
    if (settings_.script) out_ << "> " << command_ << std::endl;

    const auto found = std::find_if(commands().begin(), commands().end(),
                                    [&](const Command& row) { return row.name == words[0]; });
    if (found == commands().end()) {
        fail("there is no command \"" + plain(words[0]) + "\"; \"help\" lists them");
        return;
    }
    if (found->needsDevice && !connected_) {
        fail(command_ + ": there is no connection");
        return;
    }
    const std::uint64_t sentBefore = sent_;
    const std::size_t parameters = words.size() - 1;
    if (parameters < found->fewest || parameters > found->most || !(this->*found->run)(words)) {
        const std::string rest = found->parameters;
        fail("usage: " + std::string(found->name) + (rest.empty() ? "" : " " + rest));
    } else if (sent_ != sentBefore && !finished_) {
        awaitAnswers();
    } else {
        missPicture(); // an earlier request for it is still unanswered
    }
}

/// Asks for the version: the device answers in order, so its answer comes behind all others.
void Console::awaitAnswers() {
    if (!std::exchange(waiting_, true)) ++commandsBegun_;
    question_ = call0("version").referenceId();
    sentWithQuestion_ = sent_;
}

void Console::done() {
    waiting_ = false;
    missPicture();
}

void Console::fail(const std::string& text) {
    errors_ << "error: " << text << std::endl;
    failed_ = true;
    if (settings_.script) finished_ = true;
}

void Console::tell(const std::string& line) {
    out_ << line << std::endl;
    if (awaited_ && line.find(*awaited_) != std::string::npos) {
        awaited_.reset();
        done();
    }
}

// ----- What the device says ----------------------------------------------------------------------

void Console::sendJsonText(const char* text, int size) {
    ++sent_;
    send_(std::string(text, static_cast<std::size_t>(size)));
}

bool Console::handleResponse(const json::Request& request, const json::Response& response,
                             json::Schema::ValidationResult result) {
    messageShown_ = false;
    std::optional<SilentOutput> silence;
    if (request.methodName() == "list_methods") silence.emplace();
    const bool good = GatecastConversation::handleResponse(request, response, result);
    silence.reset();
    const std::int64_t id = response.referenceId().integerValue();
    if (question_ != 0 && id == question_) {
        question_ = 0;
        questionAnswered_ = true;
    } else if (!response.isError()) {
        tellEvent(request, response);
    } else if (!messageShown_) {
        tell("device error " + std::to_string(response.errorCode()) + ": " +
             plain(response.errorMessage().c_str()));
    }
    return good;
}

bool Console::warningRequestValidation(const json::Request& request,
                                       json::Schema::ValidationResult result) {
    std::ostringstream fault;
    fault << result.message(result.code) << " at " << result.path;
    tell("warning: " + plain(request.methodName().c_str()) +
         " isn't called as the device has described it: " + plain(fault.str()));
    return true;
}

void Console::tellEvent(const json::Request& request, const json::Response& response) {
    const std::int64_t id = response.referenceId().integerValue();
    const std::string method = request.methodName();
    const json::Variant& first = response.firstResult();
    if (id == SubscribeDoor) {
        tell("door: " + readable(first));
    } else if (id == SubscribeLight) {
        tell(first.booleanValue() ? "light: on" : "light: off");
    } else if (id == kSubscribeView) {
        const json::List& view = response.resultList();
        tell("view: " + readable(view[0]) + " to the right, " + readable(view[1]) + " up, zoom " +
             readable(view[2]));
    } else if (id == SubscribeDevice) {
        // A registration is told by the device client. (What isn't a string equals no text, and
        // differs from none.)
        if (!(first == "bell")) return;
        ringing_ = response.resultList()[1].booleanValue();
        tell(ringing_ ? "bell: ringing" : "bell: silent");
    } else if (id == ListMethodsRefId) {
        catalogue_ = response.result();
    } else if (method == "version") {
        tell("protocol: " + std::to_string(versionMajor) + "." + std::to_string(versionMinor));
    } else if (id == SubscribeMailBox || method == "preview_message" || method == "preview_live" ||
               method == "list_addressees" || method == "list_contact_numbers") {
        return; // told by an operation of its own
    } else {
        const std::string name = method.empty() ? "event " + std::to_string(id) : plain(method);
        tell(name + ": " + readable(response.result()));
    }
}

void Console::deviceRegistered(const qx::IntrusiveString&, const qx::IntrusiveString& second,
                               const qx::IntrusiveString& third) {
    registeredWith_ = plain(second.c_str()) + " (" + plain(third.c_str()) + ")";
    tell("registered with " + registeredWith_);
}

void Console::contactRegistered(const qx::IntrusiveString&, const qx::IntrusiveString& name) {
    registeredWith_ = plain(name.c_str());
    tell("registered with " + registeredWith_);
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
    tell(kind + " " + plain(id) + ": " + plain(name));
}

void Console::showMessage(const qx::IntrusiveString& text) {
    messageShown_ = true;
    tell("message: " + plain(text.c_str()));
}

void Console::mailBoxData(const json::List& result, int batch) {
    tell("mail box, batch " + std::to_string(batch) + ": " + std::to_string(result.size()) +
         (result.size() == 1 ? " message" : " messages"));
    for (const json::Variant& row : result) {
        const qx::MailBoxEntry entry(row);
        if (messages_.size() < kMostMessages) messages_[entry.sequenceNo()] = entry;
        const std::string time = shared::utcTime(entry.timestamp());
        std::ostringstream line;
        line.imbue(std::locale::classic());
        line << "message " << entry.sequenceNo() << ": " << (time.empty() ? "no time" : time)
             << ", " << readable(row["name_sender"]) << ", " << row["length_ds"].realValue() / 10
             << " s, " << (row["message_seen"].booleanValue() ? "seen" : "new");
        tell(line.str());
    }
}

void Console::mailPreviewReady(std::int64_t key, boost::shared_ptr<std::string> image) {
    takePicture(key, *image);
}

void Console::livePreviewReady(boost::shared_ptr<std::string> image) {
    takePicture(kLiveView, *image);
}

void Console::takePicture(std::int64_t key, const std::string& image) {
    if (!wanted_ || wanted_->key != key) {
        tell("a picture of " + std::to_string(image.size()) + " bytes came unasked");
        return;
    }
    const std::string file = std::move(wanted_->file);
    wanted_.reset();
    if (image.compare(0, 2, "\xFF\xD8") != 0) {
        fail(command_ + ": what came is no JPEG picture");
        return;
    }
    const std::string fault = settings_.save(file, image);
    if (fault.empty()) {
        tell("saved: " + plain(file));
    } else {
        fail("can't write " + plain(file) + ": " + fault);
    }
}

void Console::missPicture() {
    if (!wanted_) return;
    wanted_.reset();
    fail(command_ + ": no picture came");
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
    fail("there is no message \"" + plain(word) + "\" in the list; \"mailbox\" reads it");
    return nullptr;
}

// ----- The commands ------------------------------------------------------------------------------

const std::vector<Console::Command>& Console::commands() {
    static const std::vector<Command> table = {
        {"door", "", "open the door", 0, 0, true, &Console::door},
        {"light", "", "turn the light on or off", 0, 0, true, &Console::light},
        {"ring", "", "press the bell button (simulated stations only)", 0, 0, true, &Console::ring},
        {"ack", "[no]", "answer the bell, or refuse", 0, 1, true, &Console::acknowledge},
        {"click", "X Y [zoom]", "centre the view on a point, in thousandths", 2, 3, true,
         &Console::click},
        {"pan", "X Y", "turn the camera by steps to the right and up", 2, 2, true, &Console::pan},
        {"center", "", "turn the camera to the middle", 0, 0, true, &Console::center},
        {"zoom", "N", "set the zoom; +N and -N change it by steps", 1, 1, true, &Console::zoom},
        {"mode", "NAME", "choose how the picture is shown", 1, 1, true, &Console::mode},
        {"live", "", "show the live view", 0, 0, true, &Console::showLive},
        {"play", "[N | START END]", "go on, play message N, or a span of seconds", 0, 2, true,
         &Console::startPlay},
        {"queue", "N", "play message N after what plays", 1, 1, true, &Console::queue},
        {"pause", "", "pause what is shown, or go on to a queued message", 0, 0, true,
         &Console::stopForNow},
        {"register", "ID NAME", "add this phone to an entry of the address book", 2, kAnyNumber,
         true, &Console::registerPhone},
        {"mailbox", "[ID]", "list the messages of a mail box, the first by default", 0, 1, true,
         &Console::mailBox},
        {"seen", "N [no]", "mark message N as seen, or as new", 1, 2, true, &Console::seen},
        {"delete", "N", "delete message N", 1, 1, true, &Console::erase},
        {"preview", "N FILE", "save the picture of message N", 2, kAnyNumber, true,
         &Console::preview},
        {"snapshot", "FILE", "save a picture of the live view", 1, kAnyNumber, true,
         &Console::snapshot},
        {"status", "", "tell what is known of the device", 0, 0, false, &Console::status},
        {"methods", "[METHOD]", "list the device's methods, or describe one", 0, 1, false,
         &Console::methods},
        {"call", "METHOD [LIST]", "call any method with a JSON list of parameters", 1, kAnyNumber,
         true, &Console::callMethod},
        {"wait", "[TEXT]", "wait for the next line from the device that has the text", 0,
         kAnyNumber, true, &Console::wait},
        {"help", "", "list the commands", 0, 0, false, &Console::help},
        {"quit", "", "end the connection", 0, 0, false, &Console::quit},
    };
    return table;
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
    if (playQueue.size() != queued) tell("queued: \"pause\" goes on to it");
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
    const qx::MailBoxEntry* const entry = messageOf(words[1]);
    if (entry == nullptr) return true;
    const std::int64_t key = std::max<std::int64_t>(entry->recordId(), 0); // below 0: the live view
    wanted_ = WantedPicture{key, words_from(words, 2)};
    const boost::shared_ptr<std::string> image =
        downloadMailPreviewImage(key, kPictureWidth, kPictureHeight, true);
    if (image) mailPreviewReady(key, image); // it was there already
    return true;
}

bool Console::snapshot(const Words& words) {
    wanted_ = WantedPicture{kLiveView, words_from(words, 1)};
    downloadLivePreviewImage(kPictureWidth, kPictureHeight, false);
    return true;
}

bool Console::status(const Words&) {
    const DoorAndLightStatus& now = doorAndLightStatus();
    const std::string light = now.lightOn ? "on" : "off";
    out_ << "protocol   " << versionMajor << "." << versionMinor << "\n"
         << "registered " << (registeredWith_.empty() ? "no" : "with " + registeredWith_) << "\n"
         << "door       " << (now.doorStatusKnown ? plain(now.doorStatus.c_str()) : "?") << "\n"
         << "light      " << (now.lightStatusKnown ? light : "?") << "\n"
         << "bell       " << (ringing_ ? "ringing" : "silent") << "\n"
         << "showing    " << showing() << std::endl;
    return true;
}

bool Console::methods(const Words& words) {
    if (words.size() == 2) {
        const std::string method = completed(words[1]);
        if (method.empty()) return true;
        std::stringstream help;
        printMethodHelp(help, method);
        if (help.str().empty()) tell("the device has told of no such method");
        for (std::string line; std::getline(help, line);) {
            const std::size_t text = std::min(line.find_first_not_of('\t'), line.size());
            std::replace(line.begin(), line.end(), '\t', ' ');
            out_ << std::string(4 * text, ' ') << plain(line.substr(text)) << std::endl;
        }
        return true;
    }
    const json::Variant& catalogue = catalogue_;
    for (const json::Variant& record : catalogue.listValue()) {
        out_ << readable(record["method"]) << "(" << parameters_of(record)
             << "): " << readable(record["description"]) << std::endl;
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
    tell(plain(beginning) + " begins several methods: " + all);
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
    waiting_ = true;
    ++commandsBegun_;
    return true;
}

bool Console::help(const Words&) {
    for (const Command& command : commands()) {
        std::string usage = std::string(command.name) + " " + command.parameters;
        usage.resize(std::max<std::size_t>(usage.size(), 32), ' ');
        out_ << "    " << usage << command.meaning << std::endl;
    }
    return true;
}

bool Console::quit(const Words&) {
    if (connected_) close();
    finished_ = true;
    return true;
}

} // namespace console
