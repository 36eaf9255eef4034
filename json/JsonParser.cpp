// SPDX-License-Identifier: MIT
#include "json/JsonParser.h"

#include "core/detail/CNumbers.h"
#include "core/detail/ListenerList.h"
#include "json/detail/PendingToken.h"
#include "json/detail/ReadingPlace.h"
#include "json/detail/TrackedMemory.h"

#include <boost/container/static_vector.hpp>
#include <yajl/yajl_parse.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <istream>
#include <new>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace json {

IJsonParserListener::~IJsonParserListener() = default;

// ----- Tokenizer ---------------------------------------------------------------------------------

namespace {

const char* const kOutOfMemory = "out of memory\n";

std::string beyond(const char* what, std::size_t limit) {
    return std::string("the text ") + what + " the limit of " + std::to_string(limit) + "\n";
}

} // namespace

/// The handle and what is known of the text that it reads, shared by the copies of a parser.
struct JsonParser::Tokenizer {
    Tokenizer() { renew(); }
    Tokenizer(const Tokenizer&) = delete;
    Tokenizer& operator=(const Tokenizer&) = delete;

    /// Begins a new text. The packaged tokenizer has no reset: a new handle with the same table,
    /// context and options is in the state that one would give.
    void renew() {
        auto fresh = std::make_unique<detail::TrackedMemory>();
        yajl_alloc_funcs functions = {&detail::TrackedMemory::allocate,
                                      &detail::TrackedMemory::reallocate,
                                      &detail::TrackedMemory::free, fresh.get()};
        handle = yajl_alloc(&callbacks, &functions, this);
        memory = std::move(fresh);
        yajl_config(handle, yajl_allow_comments, 1);
        yajl_config(handle, yajl_dont_validate_strings, 1);
        pending.clear();
        reading = detail::ReadingPlace();
        fault.reset();
        refusal.clear();
        bytes = 0;
        newKeys = 0;
        open = 0;
    }

    /// Hands bytes to the handle, behind those that were gathered.
    yajl_status parse(JsonParser& parser, std::string_view piece) {
        yajl_status status = handOnGathered(parser);
        heard = false;
        if (status == yajl_status_ok) status = run(parser, piece);
        if (status != yajl_status_ok) pending.clear(); // what follows a fault continues nothing
        return status;
    }

    yajl_status complete(JsonParser& parser) {
        const yajl_status status = handOnGathered(parser);
        if (status != yajl_status_ok) return status;
        return guard(parser, [this] { return yajl_complete_parse(handle); });
    }

    /// yajl's message on the fault in this piece.
    std::string message(JsonParser& parser, std::string_view piece) {
        std::string text;
        guard(parser, [&] {
            unsigned char* raw = yajl_get_error(handle, 0, bytes_of(piece), piece.size());
            text = reinterpret_cast<const char*>(raw);
            yajl_free_error(handle, raw);
            return yajl_status_ok;
        });
        return text;
    }

    /// Where the fault lies that the handle found in this piece, which came in that state. The
    /// tokenizer ends before a byte that doesn't go on with a token, behind one that begins none,
    /// at the begin of a number that is too large, and behind most tokens that may not stand there.
    TextPlace placeOf(const std::string& message, std::string_view piece,
                      detail::PendingToken::State before) const {
        const std::size_t end = std::min(yajl_get_bytes_consumed(handle), piece.size());
        const auto says = [&](const char* words) {
            return message.find(words) != std::string::npos;
        };
        if (says("overflow")) {
            return end == 0 ? reading.ofOpenToken() : reading.ofByte(piece, end);
        }
        const std::size_t comment = detail::PendingToken::restOfComment(before, piece);
        if (says("trailing garbage")) {
            if (completedAt != kNotYet) return reading.ofTokenFrom(piece, completedAt);
            if (reading.tokenIsOpen()) return reading.ofOpenToken();
            return reading.ofTokenFrom(piece, comment);
        }
        if (says("after key and value")) {
            return reading.ofTokenBehindValue(piece, end, comment, heard);
        }
        if (message.rfind("lexical error", 0) != 0) return reading.ofTokenBefore(piece, end);
        const bool behind = says("invalid char in json text");
        return reading.ofByte(piece, behind && end > 0 ? end - 1 : end);
    }

    /// The same for the fault that the end of the text was: only a number ends with it, and may
    /// then be out of place or too large.
    TextPlace placeOfEnd(JsonParser& parser) {
        if (!reading.tokenIsOpen()) return reading.here();
        const std::string why = message(parser, std::string_view());
        const bool stands =
            why.rfind("parse error", 0) != 0 || why.find("premature EOF") != std::string::npos;
        return stands ? reading.here() : reading.ofOpenToken();
    }

    /// The texts of the rest of this cycle are refused, with that message.
    bool refuse(std::string why) {
        refusal = std::move(why);
        return false;
    }

    enum class Event { Scalar, Key, Open, Close };

    template <Event Kind, auto Callback, typename... Args>
    static int forward(void* context, Args... args) {
        auto* self = static_cast<Tokenizer*>(context);
        try {
            if constexpr (Kind == Event::Open) {
                if (!self->mayOpen()) return 0;
                ++self->open;
            }
            if constexpr (Kind == Event::Key) {
                if (!self->mayIntern(args...)) return 0;
            }
            self->heard = true;
            const int goOn = Callback(self->target, args...);
            if constexpr (Kind == Event::Close) --self->open;
            if constexpr (Kind == Event::Scalar || Kind == Event::Close) {
                if (self->open == 0) self->completedAt = yajl_get_bytes_consumed(self->handle);
            }
            return goOn;
        } catch (...) {
            self->failure = std::current_exception();
            return 0; // ends the call of the tokenizer
        }
    }

    static const yajl_callbacks callbacks;
    static constexpr std::size_t kNotYet = static_cast<std::size_t>(-1);

    std::unique_ptr<detail::TrackedMemory> memory;
    yajl_handle handle = nullptr; // lies in the memory, and goes with it
    detail::PendingToken pending;
    detail::ReadingPlace reading;
    std::optional<TextPlace> fault;
    std::string refusal;               // empty while the text is read on
    std::size_t bytes = 0;             // of this text, as far as limits count them
    std::size_t newKeys = 0;           // the same
    std::size_t open = 0;              // containers
    std::size_t completedAt = kNotYet; // where in this piece the value came to its end
    bool heard = false;                // of a token that came to its end in this piece
    JsonParser* target = nullptr;
    std::exception_ptr failure;

private:
    static const unsigned char* bytes_of(std::string_view text) {
        return reinterpret_cast<const unsigned char*>(text.data());
    }

    yajl_status handOnGathered(JsonParser& parser) {
        if (pending.gathered().empty()) return yajl_status_ok;
        const std::string_view gathered(pending.gathered());
        const yajl_status status =
            guard(parser, [&] { return yajl_parse(handle, bytes_of(gathered), gathered.size()); });
        pending.handedOn();
        return status;
    }

    yajl_status run(JsonParser& parser, std::string_view piece) {
        completedAt = kNotYet;
        const yajl_status status =
            guard(parser, [&] { return yajl_parse(handle, bytes_of(piece), piece.size()); });
        if (status != yajl_status_ok) return status;
        if (completedAt != kNotYet) {
            pending.clear();
            piece.remove_prefix(std::min(completedAt, piece.size()));
        }
        pending.follow(piece);
        return status;
    }

    /// Runs a call of the tokenizer for the given parser. It reads reals by the C library, so that
    /// the decimal point must be one; and an exception must not pass through its frames, but for
    /// one of its own memory, which leaves it useless.
    template <typename Call>
    yajl_status guard(JsonParser& parser, Call call) {
        target = &parser;
        yajl_status status = yajl_status_error;
        try {
            const qx::detail::CNumericScope numbers;
            status = call();
        } catch (...) {
            failure = std::current_exception();
        }
        if (!failure) return status;
        refusal = kOutOfMemory;
        std::rethrow_exception(std::exchange(failure, nullptr));
    }

    bool mayOpen() {
        const std::size_t limit = target->limits_.depth;
        if (limit == 0 || open < limit) return true;
        return refuse(beyond("is nested deeper than", limit));
    }

    bool mayIntern(const unsigned char* text, std::size_t length) {
        const std::size_t limit = target->limits_.newKeys;
        if (limit == 0) return true;
        const std::string_view key(reinterpret_cast<const char*>(text), length);
        if (target->keyPool_->contains(key)) return true;
        if (newKeys == limit) return refuse(beyond("has more new keys than", limit));
        ++newKeys;
        return true;
    }
};

// Without a number callback the tokenizer converts numbers itself.
const yajl_callbacks JsonParser::Tokenizer::callbacks = {
    &forward<Event::Scalar, &JsonParser::cb_null>,
    &forward<Event::Scalar, &JsonParser::cb_boolean, int>,
    &forward<Event::Scalar, &JsonParser::cb_integer, long long>,
    &forward<Event::Scalar, &JsonParser::cb_double, double>,
    nullptr,
    &forward<Event::Scalar, &JsonParser::cb_string, const unsigned char*, std::size_t>,
    &forward<Event::Open, &JsonParser::cb_start_map>,
    &forward<Event::Key, &JsonParser::cb_map_key, const unsigned char*, std::size_t>,
    &forward<Event::Close, &JsonParser::cb_end_map>,
    &forward<Event::Open, &JsonParser::cb_start_array>,
    &forward<Event::Close, &JsonParser::cb_end_array>};

// ----- Stack -------------------------------------------------------------------------------------

namespace {

constexpr int kChunkBytes = 160;

JsonParser& parser_of(void* context) { return *static_cast<JsonParser*>(context); }

} // namespace

/// The open containers, outermost first, an open object followed by its pending key; the finished
/// value stays in the lowest slot. Slots keep their values until they are used again, and never
/// move: readers hold on to the result.
struct JsonParser::Stack {
    Stack() = default;
    Stack(const Stack& source)
        : first_(source.first_), row_(source.row_), used_(source.used_), depth_(source.depth_) {
        for (const std::unique_ptr<Row>& row : source.further_) {
            further_.push_back(std::make_unique<Row>(*row));
        }
        findTop();
    }
    Stack& operator=(const Stack&) = delete;

    Variant& claim() {
        if (top_ != lastMade_ && used_ != 0) { // the next slot of the row was made before
            ++used_;
            ++depth_;
            return *++top_;
        }
        if (used_ == kRowSlots) {
            if (row_ == further_.size()) further_.push_back(std::make_unique<Row>());
            ++row_;
            used_ = 0;
        }
        Row& row = rowAt(row_);
        if (used_ == row.size()) row.emplace_back();
        ++depth_;
        ++used_;
        findTop();
        return *top_;
    }
    Variant& top() { return *top_; }
    Variant& pop() {
        if (depth_ == 0) return emptySlot_;
        --depth_;
        if (--used_ != 0) return *top_--;
        Variant& popped = *top_;
        if (row_ > 0) {
            --row_;
            used_ = kRowSlots;
        }
        findTop();
        return popped;
    }
    void clear() noexcept {
        row_ = 0;
        used_ = 0;
        depth_ = 0;
        findTop();
    }

    std::uint64_t depth() const noexcept { return depth_; }
    std::size_t slotCount() const noexcept { return (1 + further_.size()) * kRowSlots; }

private:
    static constexpr std::size_t kRowSlots = 40;
    /// Slots are made when they are first claimed: most texts are not deep.
    using Row = boost::container::static_vector<Variant, kRowSlots>;

    Row& rowAt(std::size_t row) noexcept { return row == 0 ? first_ : *further_[row - 1]; }
    void findTop() noexcept {
        Row& row = rowAt(row_);
        top_ = used_ == 0 ? &emptySlot_ : &row[used_ - 1];
        lastMade_ = row.empty() ? nullptr : &row.back();
    }

    Row first_;
    std::vector<std::unique_ptr<Row>> further_;
    std::size_t row_ = 0;  // of the slot on top
    std::size_t used_ = 0; // slots of that row; 0 in an empty stack only
    std::uint64_t depth_ = 0;
    Variant emptySlot_;
    Variant* top_ = &emptySlot_;
    const Variant* lastMade_ = nullptr; // slot of that row
};

Variant& JsonParser::claim() {
    Variant& slot = stack_->claim();
    // A result that was bound to a schema writes into payloads that it shares.
    if (slot.isSticky() || slot.schema_) {
        slot.~Variant();
        ::new (static_cast<void*>(&slot)) Variant;
    }
    return slot;
}

bool JsonParser::pushValue(const Variant& value) {
    if (stack_->top().isList()) {
        stack_->top().listValue() << value; // sees whether the value holds that very list
        return true;
    }
    Variant copy(value);
    return takeValue(copy);
}

/// Hands the value's content to the stack; what is left of it may only be destroyed.
bool JsonParser::takeValue(Variant& value) {
    Stack& stack = *stack_;
    if (stack.depth() == 0) {
        claim() = value;
        return true;
    }
    if (stack.top().isString()) {
        const Object::Key& key = stack.pop().string_; // the slot keeps it
        if (!stack.top().isObject()) return false;
        stack.top().objectRef()->take_new(key, value);
        return true;
    }
    if (!stack.top().isList()) return false;
    stack.top().listRef()->takeLinked(value);
    return true;
}

bool JsonParser::popValue() {
    if (stack_->depth() <= 1) return stack_->depth() == 1;
    return pushValue(stack_->pop());
}

// Every callback answers 1, whatever became of its value: nothing is cancelled from here.

int JsonParser::cb_null(void* parser) {
    parser_of(parser).pushValue(Variant::Empty);
    return 1;
}

int JsonParser::cb_boolean(void* parser, int value) {
    parser_of(parser).pushValue(value != 0 ? Variant::True : Variant::False);
    return 1;
}

int JsonParser::cb_integer(void* parser, long long value) {
    Variant integer(static_cast<std::int64_t>(value));
    parser_of(parser).takeValue(integer);
    return 1;
}

int JsonParser::cb_double(void* parser, double value) {
    Variant real(value);
    parser_of(parser).takeValue(real);
    return 1;
}

int JsonParser::cb_string(void* parser, const unsigned char* text, std::size_t length) {
    Variant string(std::string_view(reinterpret_cast<const char*>(text), length));
    parser_of(parser).takeValue(string);
    return 1;
}

int JsonParser::cb_map_key(void* parser, const unsigned char* text, std::size_t length) {
    JsonParser& self = parser_of(parser);
    const Object::Key& key =
        self.keyPool_->intern(std::string_view(reinterpret_cast<const char*>(text), length));
    Variant& slot = self.claim();
    // As an assignment, but compares no texts: in the pool equal ones are one object.
    slot.markAssigned(slot.isString() && slot.string_ == key);
    slot.leaveType(Type::String);
    slot.string_ = key;
    return 1;
}

int JsonParser::cb_start_map(void* parser) {
    parser_of(parser).claim().convertToEmptyObject();
    return 1;
}

int JsonParser::cb_end_map(void* parser) {
    parser_of(parser).popValue();
    return 1;
}

int JsonParser::cb_start_array(void* parser) {
    parser_of(parser).claim().convertToEmptyList();
    return 1;
}

int JsonParser::cb_end_array(void* parser) { return cb_end_map(parser); }

// ----- Cycle -------------------------------------------------------------------------------------

JsonParser::JsonParser()
    : tokenizer_(std::make_shared<Tokenizer>()), stack_(std::make_shared<Stack>()),
      keyPool_(&Object::key_pool()) {}

JsonParser::JsonParser(const JsonParser& source)
    : tokenizer_(source.tokenizer_), stack_(std::make_shared<Stack>(*source.stack_)),
      keyPool_(source.keyPool_), error_(source.error_), errorPlace_(source.errorPlace_),
      limits_(source.limits_), listeners_(source.listeners_),
      sharedListeners_(source.sharedListeners_) {}

JsonParser& JsonParser::operator=(const JsonParser& source) {
    if (this == &source) return *this;
    JsonParser copy(source);
    tokenizer_.swap(copy.tokenizer_);
    stack_.swap(copy.stack_);
    shown_.reset();
    error_ = source.error_;
    errorPlace_ = source.errorPlace_;
    limits_ = source.limits_;
    listeners_.swap(copy.listeners_);
    sharedListeners_.swap(copy.sharedListeners_);
    return *this;
}

JsonParser::~JsonParser() = default;

bool JsonParser::parse(const char* text, int length) {
    if (text == nullptr) return feed("", 0);
    return feed(text, length < 0 ? std::strlen(text) : static_cast<std::size_t>(length));
}

bool JsonParser::parse(std::istream* in, int length) {
    if (in == nullptr || length == 0) return true;
    char chunk[kChunkBytes];
    while (!in->eof()) {
        in->read(chunk, length < 0 ? kChunkBytes : std::min(length, kChunkBytes));
        const int count = static_cast<int>(in->gcount());
        // A stream that failed before its end would never come to it.
        if (count == 0 && !in->good()) return true;
        if (!parse(chunk, count)) return false;
        if (length > 0) {
            length -= count;
            if (length == 0) return true;
        }
    }
    return true;
}

bool JsonParser::feed(const char* text, std::size_t length) {
    const std::string_view piece(text, length);
    const std::shared_ptr<Tokenizer> held(tokenizer_);
    if (!held->refusal.empty()) return fail(held->refusal, piece, 0, held->reading.here());
    if (limits_.bytes != 0 && length > limits_.bytes - std::min(held->bytes, limits_.bytes)) {
        held->refuse(beyond("is longer than", limits_.bytes));
        const std::size_t left = limits_.bytes - std::min(held->bytes, limits_.bytes);
        return fail(held->refusal, piece, left, held->reading.ofByte(piece, left));
    }
    held->bytes += length;
    const detail::PendingToken::State before = held->pending.state();
    if (held->pending.gather(piece)) {
        held->reading.pass(piece, held->pending);
        return true;
    }
    if (held->parse(*this, piece) == yajl_status_ok) {
        held->reading.follow(piece, held->pending);
        return true;
    }
    const std::string message = held->refusal.empty() ? held->message(*this, piece) : held->refusal;
    return fail(message, piece, yajl_get_bytes_consumed(held->handle),
                held->placeOf(message, piece, before));
}

/// Composes the error text and notifies; false. The input is shown raw, and of this piece only.
bool JsonParser::fail(const std::string& message, std::string_view piece, std::size_t offset,
                      const TextPlace& place) {
    if (!tokenizer_->fault) tokenizer_->fault = place;
    errorPlace_ = *tokenizer_->fault;
    offset = std::min(offset, piece.size());
    std::string fault(message);
    fault.append("--------------------------------------\n");
    fault.append(piece.substr(0, offset));
    fault.append("\n<<<<<<<< ").append(message).append(" <<<<<<<<\n");
    fault.append(piece.substr(offset));
    fault.append("\n--------------------------------------\n");
    error_ = fault;
    // A copy: a listener may reset the parser while it reads the text.
    const qx::IntrusiveString copy(lastError());
    notifyError(copy);
    return false;
}

const Variant& JsonParser::parseComplete() {
    const std::shared_ptr<Tokenizer> held(tokenizer_);
    if (held->refusal.empty() && held->complete(*this) == yajl_status_ok) {
        // A listener that begins another text gets another stack; all are shown the same value.
        const std::shared_ptr<Stack> shown(stack_);
        const Variant& result = shown->top();
        notifyResult(result);
        if (stack_ != shown) shown_ = shown;
        return result;
    }
    errorPlace_ = held->fault ? *held->fault : held->placeOfEnd(*this);
    // Intended: no message is shown, so that a text that ended too early has an empty one.
    // Held by JsonParser.ATextThatEndsTooEarlyGivesAnEmptyErrorText.
    error_.convertToString();
    const boost::intrusive_ptr<qx::IntrusiveString> text = std::as_const(error_).stringPtr();
    notifyError(*text);
    return error_;
}

void JsonParser::reset() {
    tokenizer_->renew();
    if (stack_.use_count() > 1) {
        stack_ = std::make_shared<Stack>();
    } else {
        stack_->clear();
        shown_.reset();
    }
    error_ = Variant();
    errorPlace_ = TextPlace();
}

std::size_t JsonParser::slotCount() const noexcept { return stack_->slotCount(); }

const qx::IntrusiveString& JsonParser::lastError() const { return error_.stringValue(); }

// ----- Listeners ---------------------------------------------------------------------------------

// Listeners may come while others are called, so that the lists are walked by index.

void JsonParser::notifyResult(const Variant& value) {
    for (std::size_t i = 0; i < listeners_.size(); ++i) {
        if (listeners_[i] != nullptr) listeners_[i]->handleParseResult(value);
    }
    for (std::size_t i = 0; i < sharedListeners_.size(); ++i) {
        const boost::shared_ptr<IJsonParserListener> listener = sharedListeners_[i];
        if (listener) listener->handleParseResult(value);
    }
}

void JsonParser::notifyError(const qx::IntrusiveString& text) {
    for (std::size_t i = 0; i < listeners_.size(); ++i) {
        if (listeners_[i] != nullptr) listeners_[i]->handleParseError(text);
    }
    for (std::size_t i = 0; i < sharedListeners_.size(); ++i) {
        const boost::shared_ptr<IJsonParserListener> listener = sharedListeners_[i];
        if (listener) listener->handleParseError(text);
    }
}

void JsonParser::registerListener(IJsonParserListener* listener) {
    qx::detail::add_once(listeners_, listener);
}

void JsonParser::registerListener(boost::shared_ptr<IJsonParserListener> listener) {
    qx::detail::add_once(sharedListeners_, std::move(listener));
}

void JsonParser::unregisterListener(IJsonParserListener* listener) {
    qx::detail::close_gap(listeners_, listener);
}

void JsonParser::unregisterListener(boost::shared_ptr<IJsonParserListener> listener) {
    qx::detail::close_gap(sharedListeners_, listener);
}

// ----- Whole texts -------------------------------------------------------------------------------

// Intended: a fault gives its text, which can't be told from a JSON text that was a string.
// Held by JsonParser.ATreeOfABadTextIsAStringWithTheErrorText.
Variant JsonParser::parseTree(const char* text, int length) {
    JsonParser parser;
    parser.parse(text, length);
    return parser.parseComplete();
}

Variant JsonParser::parseTree(std::istream* in, int length) {
    JsonParser parser;
    parser.parse(in, length);
    return parser.parseComplete();
}

Variant JsonParser::parseTree(const std::string& text) {
    std::istringstream in(text);
    return parseTree(&in, -1);
}

} // namespace json
