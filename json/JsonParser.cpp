// SPDX-License-Identifier: MIT
#include "json/JsonParser.h"

#include "core/detail/CNumbers.h"
#include "core/detail/ListenerList.h"

#include <yajl/yajl_parse.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <exception>
#include <istream>
#include <new>
#include <sstream>
#include <string_view>
#include <utility>

namespace json {

IJsonParserListener::~IJsonParserListener() = default;

// ----- Tokenizer ---------------------------------------------------------------------------------

/// The handle and its table, shared by the copies of a parser. The packaged tokenizer has no reset:
/// a new handle with the same table, context and options is in the state that one would give.
struct JsonParser::Tokenizer {
    Tokenizer() { renew(); }
    ~Tokenizer() { yajl_free(handle); }
    Tokenizer(const Tokenizer&) = delete;
    Tokenizer& operator=(const Tokenizer&) = delete;

    void renew() {
        yajl_handle fresh = yajl_alloc(&callbacks, nullptr, this);
        if (fresh == nullptr) throw std::bad_alloc();
        yajl_config(fresh, yajl_allow_comments, 1);
        yajl_config(fresh, yajl_dont_validate_strings, 1);
        if (handle != nullptr) yajl_free(handle);
        handle = fresh;
    }

    /// Runs a call of the tokenizer for the given parser. It reads reals by the C library, so that
    /// the decimal point must be one; and an exception must not pass through its frames.
    template <typename Call>
    yajl_status run(JsonParser& parser, Call call) {
        target = &parser;
        yajl_status status;
        {
            const qx::detail::CNumericScope numbers;
            status = call(handle);
        }
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
        return status;
    }

    template <auto Callback, typename... Args>
    static int forward(void* context, Args... args) {
        auto* self = static_cast<Tokenizer*>(context);
        try {
            return Callback(self->target, args...);
        } catch (...) {
            self->failure = std::current_exception();
            return 0; // ends the call of the tokenizer
        }
    }

    /// yajl's message on the fault in this piece.
    std::string message(const char* text, std::size_t length) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(text);
        const auto release = [this](unsigned char* raw) { yajl_free_error(handle, raw); };
        const std::unique_ptr<unsigned char, decltype(release)> raw(
            yajl_get_error(handle, 0, bytes, length), release);
        if (!raw) throw std::bad_alloc();
        return reinterpret_cast<const char*>(raw.get());
    }

    static const yajl_callbacks callbacks;

    yajl_handle handle = nullptr;
    JsonParser* target = nullptr;
    std::exception_ptr failure;
};

// Without a number callback the tokenizer converts numbers itself.
const yajl_callbacks JsonParser::Tokenizer::callbacks = {
    &forward<&JsonParser::cb_null>,
    &forward<&JsonParser::cb_boolean, int>,
    &forward<&JsonParser::cb_integer, long long>,
    &forward<&JsonParser::cb_double, double>,
    nullptr,
    &forward<&JsonParser::cb_string, const unsigned char*, std::size_t>,
    &forward<&JsonParser::cb_start_map>,
    &forward<&JsonParser::cb_map_key, const unsigned char*, std::size_t>,
    &forward<&JsonParser::cb_end_map>,
    &forward<&JsonParser::cb_start_array>,
    &forward<&JsonParser::cb_end_array>};

// ----- Stack -------------------------------------------------------------------------------------

namespace {

constexpr std::size_t kFirstSlots = 40;
constexpr int kChunkBytes = 160;

JsonParser& parser_of(void* context) { return *static_cast<JsonParser*>(context); }

} // namespace

/// The open containers, outermost first, an open object followed by its pending key; the finished
/// value stays in the lowest slot. Slots keep their values until they are used again.
struct JsonParser::Stack {
    Variant& claim() {
        while (depth >= slots.size()) {
            slots.push_back(Variant::Empty);
        }
        return slots[depth++];
    }
    Variant& top() { return depth == 0 ? emptySlot : slots[depth - 1]; }
    Variant& pop() { return depth == 0 ? emptySlot : slots[--depth]; }

    std::deque<Variant> slots{kFirstSlots}; // slots never move: readers hold on to the result
    std::uint64_t depth = 0;
    Variant emptySlot;
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
    if (stack_->depth == 0) {
        claim() = value;
        return true;
    }
    if (stack_->top().isString()) {
        // Through the const access: the key must stay the pooled object.
        const Object::Key key = std::as_const(stack_->pop()).stringPtr();
        if (!stack_->top().isObject()) return false;
        stack_->top().objectValue().insert_new(key, value);
        return true;
    }
    if (!stack_->top().isList()) return false;
    stack_->top().listValue() << value;
    return true;
}

bool JsonParser::popValue() {
    if (stack_->depth <= 1) return stack_->depth == 1;
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
    parser_of(parser).pushValue(Variant::fromInteger(value));
    return 1;
}

int JsonParser::cb_double(void* parser, double value) {
    parser_of(parser).pushValue(Variant::fromReal(value));
    return 1;
}

int JsonParser::cb_string(void* parser, const unsigned char* text, std::size_t length) {
    parser_of(parser).pushValue(
        Variant(std::string_view(reinterpret_cast<const char*>(text), length)));
    return 1;
}

int JsonParser::cb_map_key(void* parser, const unsigned char* text, std::size_t length) {
    JsonParser& self = parser_of(parser);
    const std::string_view key(reinterpret_cast<const char*>(text), length);
    self.claim() = self.keyPool_->intern(key);
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
      keyPool_(source.keyPool_), error_(source.error_), listeners_(source.listeners_),
      sharedListeners_(source.sharedListeners_) {}

JsonParser& JsonParser::operator=(const JsonParser& source) {
    if (this == &source) return *this;
    JsonParser copy(source);
    tokenizer_.swap(copy.tokenizer_);
    stack_.swap(copy.stack_);
    shown_.reset();
    error_ = source.error_;
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
    const std::shared_ptr<Tokenizer> held(tokenizer_);
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const yajl_status status =
        held->run(*this, [&](yajl_handle handle) { return yajl_parse(handle, bytes, length); });
    if (status == yajl_status_ok) return true;
    storeFault(text, length);
    // A copy: a listener may reset the parser while it reads the text.
    const qx::IntrusiveString fault(lastError());
    notifyError(fault);
    return false;
}

void JsonParser::storeFault(const char* text, std::size_t length) {
    const std::string message = tokenizer_->message(text, length);
    const std::size_t offset = std::min(yajl_get_bytes_consumed(tokenizer_->handle), length);

    // The input is shown raw, and of the current piece only.
    std::string fault(message);
    fault.append("--------------------------------------\n");
    fault.append(text, offset);
    fault.append("\n<<<<<<<< ").append(message).append(" <<<<<<<<\n");
    fault.append(text + offset, length - offset);
    fault.append("\n--------------------------------------\n");
    error_ = fault;
}

const Variant& JsonParser::parseComplete() {
    const std::shared_ptr<Tokenizer> held(tokenizer_);
    const yajl_status status = held->run(*this, yajl_complete_parse);
    if (status == yajl_status_ok) {
        // A listener that begins another text gets another stack; all are shown the same value.
        const std::shared_ptr<Stack> shown(stack_);
        const Variant& result = shown->top();
        notifyResult(result);
        if (stack_ != shown) shown_ = shown;
        return result;
    }
    // Intended: no message is asked for, so that a text that ended too early has an empty one.
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
        stack_->depth = 0;
        shown_.reset();
    }
    error_ = Variant();
}

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
