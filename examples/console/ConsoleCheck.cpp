// SPDX-License-Identifier: MIT
// What the console finds out for a person who builds or doubts a device: "check" and "validate".
#include "console/Console.h"

#include "console/SilentOutput.h"
#include "schema/Schema.h"
#include "shared/PlainText.h"
#include "json/JsonParser.h"

#include <algorithm>
#include <fstream>
#include <ostream>
#include <sstream>
#include <utility>

namespace console {

namespace {

constexpr std::size_t kWidestAnswer = 60; // characters of one answer in the table
constexpr const char* kNoMethod = "gatecast_check_no_such_method";

enum ErrorCode : std::int64_t {
    UnknownMethod = 3,
    UnknownPhone = 14,
    AddresseeGone = 18,
    SetupIncomplete = 19,
    RegisteredAlready = 20,
    OtherKindOfDevice = 21,
    Busy = 24
};

std::string counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// The content of the file, or the word itself if there is no such file.
std::string text_of(const std::string& word) {
    std::ifstream file(word, std::ios::binary);
    if (!file) return word;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A parsed text, or why it can't be parsed.
class ReadText : public json::IJsonParserListener {
public:
    explicit ReadText(const std::string& text) {
        json::JsonParser parser;
        parser.registerListener(this);
        parser.parse(text.data(), static_cast<int>(text.size()));
        parser.parseComplete();
    }
    void handleParseResult(const json::Variant& result) override {
        value = result;
        complete = true;
    }
    void handleParseError(const qx::IntrusiveString& message) override {
        fault = message.length() > 0 ? message.c_str() : "it ends too early";
    }

    json::Variant value;
    bool complete = false;
    std::string fault;
};

} // namespace

/// Keeps what the device has said last, under the name of what was asked.
void Console::record(const json::Request& request, const json::Response& response) {
    static const std::map<std::int64_t, std::string> subscribed = {
        {SubscribeDoor, "door"}, {SubscribeLight, "light"}, {SubscribeDevice, "registration"}};
    const std::int64_t id = response.referenceId().integerValue();
    const auto name = subscribed.find(id);
    const std::string key = name != subscribed.end() ? name->second : request.methodName().c_str();
    // Without a request nothing was asked, and what a bell says is no answer to a registration.
    if (key.empty() || (id == SubscribeDevice && response.firstResult() == "bell")) return;
    Answer& answer = answers_[key];
    ++answer.times;
    answer.error.reset();
    if (response.isError()) answer.error = response.errorCode();
    answer.errorText = response.errorMessage().c_str();
    answer.result = response.result();
}

bool Console::check(const Words&) {
    checking_ = true;
    checkedPicture_.clear();
    for (const char* asked : {"mailboxdata", "preview_live", "live", "pause", kNoMethod,
                              "list_addressees", "list_contact_numbers"}) {
        answers_.erase(asked);
    }
    // What the greeting has asked is answered already. Nothing here moves or opens anything.
    call0(versionMajor == 0 ? "list_contact_numbers" : "list_addressees");
    messages_.clear();
    readMailBox(settings_.mailBox);
    previewKeyByRequest.clear(); // an image that never came blocks none now
    previewRequestByKey.clear();
    downloadLivePreviewImage(320, 240, false);
    live();
    call0(kNoMethod);
    pause();
    return true;
}

/// The table, one row for each thing that was asked.
void Console::tellCheck() {
    checking_ = false;
    int unanswered = 0;
    int different = 0;
    const auto row = [&](const std::string& name, const std::string& answered, bool good) {
        const bool silent = answered.empty();
        unanswered += silent ? 1 : 0;
        different += silent || good ? 0 : 1;
        const char* const verdict = silent ? "no answer" : good ? "ok" : "differs";
        std::string text = shared::plainText(answered);
        if (text.size() > kWidestAnswer) text = text.substr(0, kWidestAnswer - 3) + "...";
        std::string line = name;
        line.resize(16, ' ');
        line += text;
        line.resize(std::max<std::size_t>(line.size() + 1, 16 + kWidestAnswer + 2), ' ');
        print(
            line + verdict,
            Said("check").with("asked", name).with("answered", answered).with("verdict", verdict));
    };
    /// Judges an answer that isn't an error; an error is good if its code is one of these.
    using Judge = std::function<std::pair<std::string, bool>(const json::Variant& result)>;
    const auto answer = [&](const std::string& name, const std::string& key, const Judge& judge,
                            const std::set<std::int64_t>& fine = {}) {
        const auto found = answers_.find(key);
        if (found == answers_.end()) {
            row(name, "", false);
        } else if (found->second.error) {
            const std::int64_t code = *found->second.error;
            row(name, "error " + std::to_string(code) + ": " + found->second.errorText,
                fine.count(code) != 0);
        } else {
            const auto [text, good] = judge(found->second.result);
            row(name, text, good);
        }
    };

    answer("version", "version", [](const json::Variant& result) {
        const bool good =
            result["version_major"].isInteger() && result["version_minor"].isInteger();
        return std::pair("protocol " + std::to_string(result["version_major"].integerValue()) +
                             "." + std::to_string(result["version_minor"].integerValue()),
                         good);
    });
    answer("methods", "list_methods", [&](const json::Variant& result) {
        const std::size_t told = result.listValue().size();
        return std::pair(counted(told, "method") + ", " + std::to_string(methodNames.size()) +
                             " taken over",
                         told > 0 && methodNames.size() >= told);
    });
    answer("registration", "registration",
           [&](const json::Variant& result) {
               const bool registered = !registeredWith_.empty();
               return std::pair(registered ? "registered with " + registeredWith_
                                           : "unknown answer",
                                registered && result.isList());
           },
           {UnknownPhone, AddresseeGone, SetupIncomplete, RegisteredAlready});
    const bool firstKind = versionMajor == 0;
    answer(firstKind ? "contact numbers" : "addressees",
           firstKind ? "list_contact_numbers" : "list_addressees",
           [](const json::Variant& result) {
               const std::size_t size = result.listValue().size();
               return std::pair(std::to_string(size) + (size == 1 ? " entry" : " entries"),
                                result.isList());
           },
           {UnknownMethod, OtherKindOfDevice});
    const auto status = [](const json::Variant& result) {
        const json::Variant& first = result.listValue()[0];
        qx::IntrusiveString text;
        first.print(text);
        return std::pair(first.isString() ? std::string(first.charsValue()) : text.c_str(),
                         !first.isNull());
    };
    answer("door", "door", status);
    answer("light", "light", status);
    answer("mail box", "mailboxdata", [&](const json::Variant& result) {
        return std::pair(counted(messages_.size(), "message") + " in " +
                             std::to_string(mailBoxBatch) +
                             (mailBoxBatch == 1 ? " batch" : " batches"),
                         result.isList());
    });
    answer("picture", "preview_live", [&](const json::Variant&) {
        const bool came = !checkedPicture_.empty();
        return std::pair(came ? checkedPicture_ : "an answer without a picture",
                         came && checkedPicture_.find("no JPEG") == std::string::npos);
    });
    answer("live view", "live",
           [](const json::Variant& result) {
               qx::IntrusiveString text;
               result.print(text);
               return std::pair(std::string(text.c_str()), true);
           },
           {Busy});
    answer("pause", "pause", [](const json::Variant& result) {
        qx::IntrusiveString text;
        result.print(text);
        return std::pair(std::string(text.c_str()), true);
    });
    answer(
        "unknown method", kNoMethod,
        [](const json::Variant&) { return std::pair(std::string("an answer, no error"), false); },
        {UnknownMethod});

    if (different > 0) {
        fail(DeviceFault, "check: " + counted(static_cast<std::size_t>(different), "answer") +
                              " not as expected");
    } else if (unanswered > 0) {
        fail(TimeOut, "check: " + counted(static_cast<std::size_t>(unanswered), "question") +
                          " without an answer");
    }
}

bool Console::validate(const Words& words) {
    const ReadText schemaText(text_of(words[1]));
    const ReadText valueText(text_of(words[2]));
    for (const auto& [name, reader] : {std::pair("schema", &schemaText), {"value", &valueText}}) {
        if (reader->complete && reader->fault.empty()) continue;
        fail(UsageFault,
             std::string("the ") + name + " is no JSON: " + shared::plainText(reader->fault));
        return true;
    }
    if (!schemaText.value.isObject()) {
        fail(UsageFault, "the schema is no object");
        return true;
    }
    boost::intrusive_ptr<json::Schema> schema;
    {
        const SilentOutput silence;
        schema = new json::Schema(schemaText.value, qx::Url());
    }
    const json::Schema::ValidationResult result = schema->validate(valueText.value);
    std::ostringstream path;
    path << result.path;
    if (result.ok()) {
        print("valid", Said("validation").with("valid", true));
        return true;
    }
    const std::string message = json::Schema::ValidationResult::message(result.code).c_str();
    Said said("validation");
    said.with("valid", false).with("code", result.code).with("path", path.str());
    print("not valid: " + shared::plainText(message) +
              (path.str().empty() ? "" : " at " + shared::plainText(path.str())),
          said.with("text", message));
    if (status_ == Good) status_ = UsageFault;
    if (settings_.script || settings_.once) finished_ = true;
    return true;
}

} // namespace console
