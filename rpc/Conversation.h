// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "core/SignalPublisher.h"
#include "core/Url.h"
#include "rpc/IResponseListener.h"
#include "rpc/Request.h"
#include "rpc/Response.h"
#include "schema/Schema.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/Variant.h"

#include <boost/shared_ptr.hpp>
#include <boost/unordered_map.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <iosfwd>
#include <vector>

namespace json {

/// The client engine of the remote procedure calls: sends requests, matches what comes back.
///
/// It owns no socket and no thread. Requests leave through `sendJsonText`, which the application
/// supplies; the text that arrives is fed to `readJsonText`. Nothing waits and nothing times out.
/// \code
/// class Client : public json::Conversation {
///     void sendJsonText(const char* text, int size) override { socket.write(text, size); }
///     bool handleResponse(const json::Request& request, const json::Response& response,
///                         json::Schema::ValidationResult result) override;
/// };
/// \endcode
/// \code
/// Client client;
/// client.call("trigger", "door");                            // its answer comes under the id 1000
/// client.call2("ptz_pan", 3, -1, json::Conversation::NO_ID); // no answer is expected
/// client.subscribe("subscription", "door", 101);             // answered again and again
/// \endcode
///
/// A request stays in the table of pending requests until its response arrives, or for good when
/// it is to be kept: that is a subscription. A response to an id that isn't in the table is
/// delivered with a null request, so a second answer to a plain call is too.
///
/// The transport may feed an answer from inside `sendJsonText`, and a listener may call and feed
/// from inside a callback. In pieces (see the constructor) a request sent from inside
/// `sendJsonText` goes out behind the one under way.
/// An exception of the transport or of a listener passes through, the lock released, and the
/// conversation goes on with the next text. A request whose response a listener threw at stays
/// pending; what was waiting behind a request whose transport threw isn't sent.
///
/// Threads: locked inside; listeners run under the lock; one thread at a time feeds text.
/// The lock holds for the calls, `repeat`, `open`, `close` and the handling of a response;
/// everything else is for one thread at a time:
/// one thread feeds, and listeners are registered while no response is under way. The lock is the
/// recursive one of `qx::SignalPublisher`. What all conversations share (the pool of keys, the
/// registry of schemas) is locked too, so that each may have a thread of its own. A call shares the
/// payload of its parameters with the caller's value: let no other thread use that value meanwhile.
class GATECAST_EXPORT Conversation : public qx::SignalPublisher,
                                     public virtual IJsonParserListener,
                                     public virtual IResponseListener {
public:
    /// @name Reference ids
    /// @{
    static constexpr std::int64_t AUTO_ID = -1;         ///< allocate the next id, from 1000 on
    static constexpr std::int64_t NO_ID = 0;            ///< send no "id": no answer is expected
    static constexpr std::int64_t ListMethodsRefId = 1; ///< the id of "list_methods"
    /// @}

    /// What a peer may make this object keep at most; 0 sets no limit. See `setLimits`.
    struct Limits {
        JsonParser::Limits text;         ///< of each text that is fed
        std::size_t pendingRequests = 0; ///< of the table, subscriptions not counted
    };

    /// @param wholeDocuments  true: one call of `sendJsonText` per request, with its whole text;
    ///     false: the text reaches `sendJsonText` in pieces as it is generated.
    /// The object is its own first listener: each response reaches its own `handleResponse`
    /// before any other.
    explicit Conversation(bool wholeDocuments = true);
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    // The order of the virtual operations is ABI, from the destructor to `handleResponse`.
    /// Sends nothing.
    ~Conversation() override;

    // ----- Sending ---------------------------------------------------------------------------
    //
    // `method` is taken from a `const char*` as well. A list of parameters is sent as it is, any
    // other value as the only parameter. `id` is `AUTO_ID`, `NO_ID` or an id of the caller's; a
    // request replaces the pending one of the same id, and those without an id share one place.
    // A request that fails validation is warned about and sent all the same.
    //
    // The result is the stored request, good until its entry is erased: by its response, unless
    // it is kept. If that came before the call returned, the result can be read until the next
    // operation on the conversation. Warning: another thread that feeds may erase it at any time.

    /// Sends "list_methods" under `ListMethodsRefId` and keeps it, or sends it again.
    void open();
    /// Sends "quit" without an id. Everything else stays as it is; no answer is awaited.
    void close();

    /// Sends a request. With `keepAfterResponse` it receives any number of responses.
    const Request& call(const qx::IntrusiveString& method, const Variant& params,
                        long long id = AUTO_ID, bool keepAfterResponse = false);
    /// The same without parameters. Warning: the second argument is the id, whatever its type.
    const Request& call0(const qx::IntrusiveString& method, const Variant& id = AUTO_ID,
                         bool keepAfterResponse = false);
    /// The same with two or three parameters.
    /// @{
    const Request& call2(const qx::IntrusiveString& method, const Variant& a, const Variant& b,
                         long long id = AUTO_ID, bool keepAfterResponse = false);
    const Request& call3(const qx::IntrusiveString& method, const Variant& a, const Variant& b,
                         const Variant& c, long long id = AUTO_ID, bool keepAfterResponse = false);
    /// @}
    /// As `call`, `call0` and `call2`, kept after the response.
    /// @{
    const Request& subscribe(const qx::IntrusiveString& method, const Variant& params,
                             long long id = AUTO_ID);
    const Request& subscribe0(const qx::IntrusiveString& method, const Variant& id = AUTO_ID);
    const Request& subscribe2(const qx::IntrusiveString& method, const Variant& a, const Variant& b,
                              long long id = AUTO_ID);
    /// @}
    /// Sends the stored request of the id once more, as it stands: it isn't validated again.
    /// Bad input: an unknown id sends nothing, and leaves a blank entry in the table.
    const Request& repeat(long long id);

    // ----- Receiving -------------------------------------------------------------------------

    /// Feeds a piece of a JSON text, up to its NUL when `size` is negative. With `complete` the
    /// text ends here and its response is delivered, on this thread. The next piece starts a new
    /// text, whether this one was good or bad; a text that doesn't parse is dropped.
    virtual void readJsonText(const char* text, int size, bool complete);
    /// Carries the bytes to the peer, in order. They live for the length of the call. Called with
    /// the lock held and never with a size below 1.
    virtual void sendJsonText(const char* text, int size) = 0;
    /// The binary block that belongs to the text now being read: every response gets it appended
    /// to its "binary-attachment-list" until it is set to null. It isn't copied: the caller keeps
    /// it alive for the length of the `readJsonText` call.
    /// Bad input: a negative size attaches an empty block.
    virtual void setBinaryAttachment(const char* data, int size);
    /// The block that was set, null without one. Not owned.
    const char* binaryAttachment() const { return attachmentData; }
    /// In bytes.
    int binaryAttachmentSize() const { return attachmentSize; }

    // ----- Listeners -------------------------------------------------------------------------
    //
    // Listeners by raw pointer aren't owned and must live until the conversation is gone. They are
    // called first, in order of registration, then the shared ones.

    /// Appends the listener unless it is in its list.
    /// @{
    void registerListener(IResponseListener* listener);
    void registerListener(boost::shared_ptr<IResponseListener> listener);
    /// @}
    /// Moves the listeners behind this one to the front by one place. Warning: the list keeps its
    /// length. The listener in the last place is never taken out, and after the removal of another
    /// one the last stays in its place too: by raw pointer it is then called twice, in the shared
    /// list its old place is empty. A listener that is to fall silent must do so itself.
    /// @{
    void unregisterListener(IResponseListener* listener);
    void unregisterListener(boost::shared_ptr<IResponseListener> listener);
    /// @}

    // ----- Limits ----------------------------------------------------------------------------

    /// Sets limits for a peer that isn't trusted; a new conversation has none. A text beyond one
    /// doesn't parse. Where a call would make the table too long, the request with the lowest id
    /// that isn't to be kept is forgotten: its response arrives like a second one.
    void setLimits(const Limits& limits);
    /// How many requests are pending, subscriptions included. Locked inside.
    std::size_t pendingRequestCount() const;

    /// The schema of one entry of the answer to "list_methods": base/rpc/method.json
    static const qx::Url& methodSchemaUrl();

    // ----- The peer's methods ------------------------------------------- MethodCatalogue.cpp
    //
    // The answer to "list_methods" makes two schemas of each of its entries, one of the arguments
    // and one of the result. They are registered for the whole process; from then on
    // `Request::validateArgs`, `Request::appendArg` and `Response::validateResult` judge by them.

    /// Writes the help of one method: its name, the types of its arguments, its description, and
    /// each argument with its bounds. Nothing for a method that no answer told of.
    void printMethodHelp(std::ostream& out, const qx::IntrusiveString& method) const;
    /// The same for all methods, in order of arrival; one that was told of twice comes twice.
    void printMethodHelp(std::ostream& out) const;

protected:
    /// A request that is still of interest. A null `request` is a blank: its id was never sent.
    struct PendingRequest {
        Request request;                ///< what was sent
        bool keepAfterResponse = false; ///< whether further responses are expected
    };
    /// An id is its own hash: its bucket is the id modulo the number of buckets.
    struct IdHash {
        /// The id itself.
        std::size_t operator()(std::int64_t id) const { return static_cast<std::size_t>(id); }
    };

    // ----- Hooks for subclasses --------------------------------------------------------------

    /// What the printer calls with each text: hands it to `sendJsonText` of the context, a
    /// `Conversation*`. A negative size means up to the NUL. An empty text isn't sent.
    static void printJsonText(void* context, const char* text, int size);

    /// Tells every listener of a request that failed validation. True when all of them said so.
    virtual bool notifyValidationWarning(const Request& request, Schema::ValidationResult result);
    /// Hands a response to every listener. True when all of them said so.
    virtual bool notifyResponse(const Request& request, const Response& response,
                                Schema::ValidationResult result);

    /// The parser's: a text is complete. Matches it to its request and delivers it.
    void handleParseResult(const Variant& value) override;
    /// The parser's: a text doesn't parse. Nothing happens.
    void handleParseError(const qx::IntrusiveString& message) override;
    /// The object's own: writes the request to `std::cerr`. True.
    bool warningRequestValidation(const Request& request, Schema::ValidationResult result) override;
    /// The object's own: takes the answer to "list_methods" over and writes the help of all methods
    /// to `std::cout`. True. A subclass that overrides it calls it first.
    bool handleResponse(const Request& request, const Response& response,
                        Schema::ValidationResult result) override;

    /// Takes over one entry of the answer to "list_methods": keeps the name, registers the schemas
    /// of arguments and result. False if either wasn't taken, and for an entry that its schema at
    /// `methodSchemaUrl` refuses: that one is told on `std::cerr` and stays unknown.
    bool importMethodSchema(const Variant& entry);
    /// Writes the help of one argument: the label, its description if wanted, its values or types,
    /// then what else its schema says. Bad input: a null schema takes nothing, "void".
    void printArgHelp(std::ostream& out, const qx::IntrusiveString& label,
                      boost::intrusive_ptr<Schema> schema, bool withDescription) const;

    // ----- Data ------------------------------------------------------------------------------

    boost::unordered_map<std::int64_t, PendingRequest, IdHash> pendingRequests; ///< by id
    std::int64_t lastId = 999;                         ///< moves on every call, not on `repeat`
    std::vector<IResponseListener*> responseListeners; ///< not owned
    std::vector<boost::shared_ptr<IResponseListener>>
        sharedResponseListeners;                  ///< owned together with the application
    JsonParser jsonParser;                        ///< reads incoming text
    JsonPrinter jsonPrinter;                      ///< prints outgoing requests
    const char* attachmentData = nullptr;         ///< not owned
    std::int32_t attachmentSize = 0;              ///< in bytes
    std::vector<qx::IntrusiveString> methodNames; ///< the peer's methods, in order of arrival

private:
    class PiecesScope;

    void sendRequest(const Request& request);
    void forgetBeyondLimit(std::int64_t newest);
    void importMethods(const List& entries);
    const Request& storedOr(std::int64_t id, const Request& sent);

    const bool wholeDocuments_;
    std::size_t pendingLimit_ = 0;
    bool inPieces_ = false;        // a request is on its way in pieces
    std::deque<Request> waiting_;  // what is to follow it
    Request answered_;             // the result of a call whose entry is gone already
    bool textOver_ = false;        // the next piece belongs to a new text
    std::uint64_t textsBegun_ = 0; // tells a text from one that a listener feeds meanwhile
};

} // namespace json
