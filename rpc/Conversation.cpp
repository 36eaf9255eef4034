// SPDX-License-Identifier: MIT
#include "rpc/Conversation.h"

#include "core/Mutex.h"
#include "core/detail/ListenerList.h"
#include "core/detail/NeverDestroyed.h"
#include "rpc/detail/Attachments.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <limits>
#include <utility>

namespace json {

namespace {

constexpr std::size_t kFirstBuckets = 11;
constexpr const char* kListMethods = "list_methods";

/// Calls every listener, the raw ones first, and combines their answers with AND. A callback may
/// add to the lists or let go of a shared listener.
template <typename Raw, typename Shared, typename Call>
bool notify_all(const Raw& rawListeners, const Shared& sharedListeners, const Call& notify) {
    bool all = true;
    for (std::size_t i = 0; i < rawListeners.size(); ++i) {
        IResponseListener* const listener = rawListeners[i];
        if (listener != nullptr && !notify(*listener)) all = false;
    }
    for (std::size_t i = 0; i < sharedListeners.size(); ++i) {
        const boost::shared_ptr<IResponseListener> listener = sharedListeners[i];
        if (listener && !notify(*listener)) all = false;
    }
    return all;
}

int length_of(const char* text) {
    constexpr std::size_t most = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(std::strlen(text), most));
}

} // namespace

/// The span in which a request leaves in pieces.
class Conversation::PiecesScope {
public:
    explicit PiecesScope(Conversation& conversation) : conversation_(conversation) {
        conversation_.inPieces_ = true;
    }
    ~PiecesScope() {
        conversation_.inPieces_ = false;
        conversation_.waiting_.clear(); // of no use behind a text that was cut off
    }
    PiecesScope(const PiecesScope&) = delete;
    PiecesScope& operator=(const PiecesScope&) = delete;

private:
    Conversation& conversation_;
};

Conversation::Conversation(bool wholeDocuments)
    : pendingRequests(kFirstBuckets),
      jsonPrinter(&Conversation::printJsonText, static_cast<void*>(this), wholeDocuments),
      wholeDocuments_(wholeDocuments) {
    pendingRequests.max_load_factor(1.0F);
    jsonPrinter.setIndent("");
    jsonPrinter.setIgnoreAutoValues(false);
    jsonParser.registerListener(static_cast<IJsonParserListener*>(this));
    registerListener(static_cast<IResponseListener*>(this));
}

Conversation::~Conversation() = default;

void Conversation::open() {
    const qx::MutexLocker lock(mutex(), true);
    const auto entry = pendingRequests.find(ListMethodsRefId);
    if (entry == pendingRequests.end() || entry->second.request.empty()) {
        call(kListMethods, Variant::EmptyList, ListMethodsRefId, true);
    } else {
        repeat(ListMethodsRefId);
    }
}

void Conversation::close() { call("quit", Variant::EmptyList, NO_ID, false); }

const Request& Conversation::call(const qx::IntrusiveString& method, const Variant& params,
                                  long long id, bool keepAfterResponse) {
    const bool automatic = id == AUTO_ID;
    const qx::MutexLocker lock(mutex(), true);
    // Intended: a fixed id uses up a number too.
    // Held by Conversation.CountsAnIdOnEveryCallAlsoUnderAFixedId.
    ++lastId;
    if (automatic) id = lastId;

    PendingRequest& pending = pendingRequests[id];
    pending.keepAfterResponse = keepAfterResponse;
    pending.request.setup(method, params, id);
    if (pendingLimit_ != 0) forgetBeyondLimit(id);

    // Listeners and the transport may overwrite or erase the entry.
    const Request request = pending.request;
    const Schema::ValidationResult result = request.validateArgs();
    if (result.code != Schema::NoError && result.code != Schema::SchemaNotFound) {
        notifyValidationWarning(request, result);
    }
    sendRequest(request);
    return storedOr(id, request);
}

const Request& Conversation::call0(const qx::IntrusiveString& method, const Variant& id,
                                   bool keepAfterResponse) {
    return call(method, Variant::EmptyList, id.integerValue(), keepAfterResponse);
}

const Request& Conversation::call2(const qx::IntrusiveString& method, const Variant& a,
                                   const Variant& b, long long id, bool keepAfterResponse) {
    Variant params = Variant::newList();
    params << a << b;
    return call(method, params, id, keepAfterResponse);
}

const Request& Conversation::call3(const qx::IntrusiveString& method, const Variant& a,
                                   const Variant& b, const Variant& c, long long id,
                                   bool keepAfterResponse) {
    Variant params = Variant::newList();
    params << a << b << c;
    return call(method, params, id, keepAfterResponse);
}

const Request& Conversation::subscribe(const qx::IntrusiveString& method, const Variant& params,
                                       long long id) {
    return call(method, params, id, true);
}

const Request& Conversation::subscribe0(const qx::IntrusiveString& method, const Variant& id) {
    return call0(method, id, true);
}

const Request& Conversation::subscribe2(const qx::IntrusiveString& method, const Variant& a,
                                        const Variant& b, long long id) {
    return call2(method, a, b, id, true);
}

const Request& Conversation::repeat(long long id) {
    const qx::MutexLocker lock(mutex(), true);
    // Intended: an unknown id leaves a blank entry behind.
    // Held by Conversation.LeavesABlankEntryWhenItIsToRepeatAnUnknownId.
    const Request request = pendingRequests[id].request;
    if (!request.empty()) sendRequest(request);
    return storedOr(id, request);
}

/// A request that is sent from inside the transport never gets into the text under way: whole texts
/// are with the transport already, and the printer sends a nested one by itself; behind pieces a
/// request waits for the last of them.
void Conversation::sendRequest(const Request& request) {
    if (wholeDocuments_) {
        jsonPrinter.print(request);
        return;
    }
    if (inPieces_) {
        waiting_.push_back(request);
        return;
    }
    const PiecesScope scope(*this);
    jsonPrinter.print(request);
    while (!waiting_.empty()) {
        const Request next = waiting_.front();
        waiting_.pop_front();
        jsonPrinter.print(next);
    }
}

void Conversation::forgetBeyondLimit(std::int64_t newest) {
    std::size_t count = 0;
    auto oldest = pendingRequests.end();
    for (auto entry = pendingRequests.begin(); entry != pendingRequests.end(); ++entry) {
        if (entry->second.keepAfterResponse) continue;
        ++count;
        if (entry->first == newest) continue;
        if (oldest == pendingRequests.end() || entry->first < oldest->first) oldest = entry;
    }
    if (count > pendingLimit_ && oldest != pendingRequests.end()) pendingRequests.erase(oldest);
}

const Request& Conversation::storedOr(std::int64_t id, const Request& sent) {
    const auto entry = pendingRequests.find(id);
    if (entry != pendingRequests.end()) return entry->second.request;
    answered_ = sent;
    return answered_;
}

void Conversation::readJsonText(const char* text, int size, bool complete) {
    if (textOver_) {
        jsonParser.reset();
        ++textsBegun_;
    }
    // What a listener feeds from inside is a text of its own; so is what follows an exception.
    textOver_ = true;
    const std::uint64_t thisText = textsBegun_;
    static_cast<void>(jsonParser.parse(text, size));
    if (textsBegun_ != thisText) return;
    textOver_ = complete;
    if (complete) static_cast<void>(jsonParser.parseComplete());
}

void Conversation::setBinaryAttachment(const char* data, int size) {
    attachmentData = data;
    attachmentSize = size;
}

void Conversation::registerListener(IResponseListener* listener) {
    qx::detail::add_once(responseListeners, listener);
}

void Conversation::registerListener(boost::shared_ptr<IResponseListener> listener) {
    qx::detail::add_once(sharedResponseListeners, std::move(listener));
}

void Conversation::unregisterListener(IResponseListener* listener) {
    qx::detail::close_gap(responseListeners, listener);
}

void Conversation::unregisterListener(boost::shared_ptr<IResponseListener> listener) {
    qx::detail::close_gap(sharedResponseListeners, listener);
}

void Conversation::setLimits(const Limits& limits) {
    const qx::MutexLocker lock(mutex(), true);
    jsonParser.setLimits(limits.text);
    pendingLimit_ = limits.pendingRequests;
}

std::size_t Conversation::pendingRequestCount() const {
    const qx::MutexLocker lock(mutex(), true);
    return pendingRequests.size();
}

const qx::Url& Conversation::methodSchemaUrl() {
    static const qx::detail::NeverDestroyed<qx::Url> url(Schema::applicationSchemaBaseUrl() /
                                                         "rpc/method.json");
    return *url;
}

void Conversation::printJsonText(void* context, const char* text, int size) {
    if (size < 0) size = length_of(text);
    if (size > 0) static_cast<Conversation*>(context)->sendJsonText(text, size);
}

bool Conversation::notifyValidationWarning(const Request& request,
                                           Schema::ValidationResult result) {
    return notify_all(responseListeners, sharedResponseListeners, [&](IResponseListener& listener) {
        return listener.warningRequestValidation(request, result);
    });
}

bool Conversation::notifyResponse(const Request& request, const Response& response,
                                  Schema::ValidationResult result) {
    return notify_all(responseListeners, sharedResponseListeners, [&](IResponseListener& listener) {
        return listener.handleResponse(request, response, result);
    });
}

void Conversation::handleParseResult(const Variant& value) {
    const qx::MutexLocker lock(mutex(), true);
    // A listener that feeds overwrites the parser's value, and one that calls may overwrite or
    // erase the entry: both are copied before anyone is told.
    Response response(value);
    const std::int64_t id = response.referenceId().integerValue();
    // Intended: the attachment stays for the responses that follow, until it is set to null.
    // Held by ConversationReceiving.KeepsTheAttachmentUntilItIsSetToNull.
    if (attachmentData != nullptr) {
        const auto size = static_cast<unsigned int>(std::max(attachmentSize, std::int32_t{0}));
        detail::add_binary_attachment(response.objectValue(), attachmentData, size);
    }
    const Request request = pendingRequests[id].request;
    // Intended: a response without an id is always checked, one to an unknown id never.
    // Held by ConversationReceiving.ChecksAResponseWithoutAnIdAlsoWhenNothingIsStored.
    const bool checked = id == NO_ID || !request.empty();
    const Schema::ValidationResult result =
        checked ? response.validateResult(request.methodName()) : Schema::ValidationResult();
    notifyResponse(request, response, result);

    // Intended: the flag that counts is the one that a listener may have set meanwhile.
    // Held by ConversationReentry.TheKeepFlagIsReadAfreshAfterTheListeners.
    const auto entry = pendingRequests.find(id);
    if (entry != pendingRequests.end() && !entry->second.keepAfterResponse) {
        pendingRequests.erase(entry);
    }
}

void Conversation::handleParseError(const qx::IntrusiveString&) {}

bool Conversation::warningRequestValidation(const Request& request,
                                            Schema::ValidationResult result) {
    std::cerr << "warning: json validation failed\n";
    if (request) std::cerr << request << '\n';
    // Intended: silent in practice, since only a failed result is warned of.
    // Held by Conversation.TheOwnWarningShowsTheResultOnlyWhenItIsNoError.
    if (result.code == Schema::NoError) std::cerr << result << '\n';
    return true;
}

bool Conversation::handleResponse(const Request& request, const Response& response,
                                  Schema::ValidationResult) {
    if (request.methodName() == kListMethods && !response.isError()) {
        importMethods(response.resultList());
    }
    return true;
}

} // namespace json
