// SPDX-License-Identifier: MIT
#include "json/JsonPrinter.h"

#include "core/detail/CNumbers.h"
#include "json/TreeIterator.h"
#include "json/detail/TrackedMemory.h"

#include <yajl/yajl_gen.h>

#include <algorithm>
#include <bitset>
#include <exception>
#include <limits>
#include <locale.h>
#include <ostream>
#include <utility>
#include <vector>

namespace json {

namespace {

const char* const kFirstIndent = "\t";

/// The generator corrupts memory past this many open levels, and after one close too many.
constexpr std::size_t kDeepestLevel = 127;

/// Lengths go out as `int`; nothing longer is handed over in one call.
int cut_to_int(std::size_t length) {
    constexpr auto longest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return static_cast<int>(std::min(length, longest));
}

const unsigned char* bytes_of(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

} // namespace

// ----- Generator ---------------------------------------------------------------------------------

/// The generator and what it can't be trusted with: its depth, the text of its indent, and what is
/// thrown by those it calls. It frees its buffer whenever a callback is set, so one is set once.
struct JsonPrinter::Generator {
    /// Where the pieces of a text go; without a callback they gather in the buffer.
    struct Sink {
        yajl_print_t callback = nullptr;
        PrintFunction function = NO_PRINT_FUNCTION;
        void* context = nullptr;
    };

    Generator(JsonPrinter& owner, const Sink& pieces, const std::string& firstIndent)
        : printer(&owner), sink(pieces), indent(firstIndent) {
        renew();
    }
    Generator(const Generator&) = delete;
    Generator& operator=(const Generator&) = delete;

    void setIndent(std::string text) {
        if (handle == nullptr) renew();
        // A text that is refused leaves the generator without any.
        if (yajl_gen_config(handle, yajl_gen_indent_string, text.c_str()) != 0) indent.swap(text);
        configureIndent();
    }

    /// Begins a new text behind what the buffer holds.
    void restart() {
        if (handle == nullptr) renew();
        yajl_gen_reset(handle, nullptr);
        depth = 0;
        suppressed = 0;
    }

    void clear() noexcept {
        if (handle != nullptr) yajl_gen_clear(handle);
    }

    /// Runs a call of the generator, unless the text is given up already.
    template <typename Call>
    void run(Call call) {
        if (suppressed > 0) return;
        guard(call);
        throwFailure();
    }

    /// The same for the begin of a container, which the generator counts even if its piece failed.
    bool open(bool object) {
        if (suppressed > 0) return false;
        const yajl_gen_status status = guard(object ? yajl_gen_map_open : yajl_gen_array_open);
        if (status == yajl_gen_status_ok) isObject[depth++] = object;
        throwFailure();
        return status == yajl_gen_status_ok;
    }

    void throwFailure() {
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
    }

    /// A generator whose memory ran out is useless, and so is what it had gathered: nothing more is
    /// printed until the next text begins.
    template <typename Call>
    yajl_gen_status guard(Call call) {
        if (handle == nullptr) return yajl_gen_in_error_state;
        try {
            return call(handle);
        } catch (...) {
            handle = nullptr;
            memory.freeAll();
            throw;
        }
    }

    void renew() {
        yajl_alloc_funcs functions = {&detail::TrackedMemory::allocate,
                                      &detail::TrackedMemory::reallocate,
                                      &detail::TrackedMemory::free, &memory};
        try {
            handle = yajl_gen_alloc(&functions);
        } catch (...) {
            memory.freeAll();
            throw;
        }
        if (sink.callback != nullptr) {
            yajl_gen_config(handle, yajl_gen_print_callback, sink.callback, this);
        }
        configureIndent();
    }

    void configureIndent() {
        yajl_gen_config(handle, yajl_gen_indent_string, indent.c_str());
        yajl_gen_config(handle, yajl_gen_beautify, indent.empty() ? 0 : 1);
    }

    bool isFull() const { return depth >= kDeepestLevel; }

    static void streamPiece(void* context, const char* text, std::size_t length);
    static void handOverPiece(void* context, const char* text, std::size_t length);

    JsonPrinter* printer;
    detail::TrackedMemory memory;
    yajl_gen handle = nullptr; // lies in the memory, and goes with it
    Sink sink;
    std::string indent;                  // the generator points at its text
    std::bitset<kDeepestLevel> isObject; // of each open container, else it is a list
    std::size_t depth = 0;               // open containers
    std::size_t suppressed = 0;          // levels open below a container that printed as null
    locale_t application = nullptr;      // what a real is printed in the "C" locale in place of
    std::exception_ptr failure;
};

/// The span in which a piece of a text is with a print function or a stream. They see the locale of
/// the application, and the text goes on with the same generator and stream, whatever they do.
class JsonPrinter::CallOut {
public:
    explicit CallOut(Generator& running)
        : printer_(*running.printer), generator_(printer_.generator_),
          printFunction_(printer_.printFunction_), printContext_(printer_.printContext_),
          locale_(::uselocale(running.application)) {}
    ~CallOut() {
        printer_.generator_ = generator_;
        printer_.printFunction_ = printFunction_;
        printer_.printContext_ = printContext_;
        if (generator_->application != nullptr) ::uselocale(locale_);
    }
    CallOut(const CallOut&) = delete;
    CallOut& operator=(const CallOut&) = delete;

    /// Keeps what is thrown: an exception must not pass through the generator's frames.
    template <typename Call>
    static void run(void* context, Call call) noexcept {
        auto& running = *static_cast<Generator*>(context);
        if (running.failure) return;
        try {
            const CallOut span(running);
            call(running);
        } catch (...) {
            running.failure = std::current_exception();
        }
    }

private:
    JsonPrinter& printer_;
    const std::shared_ptr<Generator> generator_;
    const PrintFunction printFunction_;
    void* const printContext_;
    const locale_t locale_;
};

void JsonPrinter::Generator::streamPiece(void* context, const char* text, std::size_t length) {
    CallOut::run(context,
                 [&](const Generator& running) { printToStream(running.printer, text, length); });
}

void JsonPrinter::Generator::handOverPiece(void* context, const char* text, std::size_t length) {
    CallOut::run(context, [&](const Generator& running) {
        running.sink.function(running.sink.context, text, cut_to_int(length));
    });
}

/// The generator to write with: another one of the same form while that of a text under way is in
/// the hands of a print function or a stream.
JsonPrinter::Generator& JsonPrinter::generator() {
    if (generator_.use_count() > 1) {
        generator_ = std::make_shared<Generator>(*this, generator_->sink, generator_->indent);
    }
    return *generator_;
}

// ----- Construction ------------------------------------------------------------------------------

JsonPrinter::JsonPrinter()
    : generator_(std::make_shared<Generator>(*this, Generator::Sink(), kFirstIndent)) {}

JsonPrinter::JsonPrinter(std::ostream* out) : printContext_(out) {
    Generator::Sink sink;
    sink.callback = &Generator::streamPiece;
    generator_ = std::make_shared<Generator>(*this, sink, kFirstIndent);
}

JsonPrinter::JsonPrinter(PrintFunction function, void* context, bool buffered) {
    Generator::Sink sink;
    if (function != NO_PRINT_FUNCTION && !buffered) {
        sink = {&Generator::handOverPiece, function, context};
    } else {
        printFunction_ = function;
        printContext_ = context;
    }
    generator_ = std::make_shared<Generator>(*this, sink, kFirstIndent);
}

JsonPrinter::JsonPrinter(const JsonPrinter& source)
    : generator_(
          std::make_shared<Generator>(*this, source.generator_->sink, source.generator_->indent)),
      printFunction_(source.printFunction_), printContext_(source.printContext_),
      ignoreAutoValues_(source.ignoreAutoValues_) {}

JsonPrinter& JsonPrinter::operator=(const JsonPrinter& source) {
    if (this == &source) return *this;
    generator_ =
        std::make_shared<Generator>(*this, source.generator_->sink, source.generator_->indent);
    printFunction_ = source.printFunction_;
    printContext_ = source.printContext_;
    ignoreAutoValues_ = source.ignoreAutoValues_;
    return *this;
}

JsonPrinter::~JsonPrinter() = default;

void JsonPrinter::setIndent(const std::string& text) { generator().setIndent(text); }

bool JsonPrinter::isPretty() const noexcept { return !generator_->indent.empty(); }

// ----- Whole texts -------------------------------------------------------------------------------

void JsonPrinter::print(const Variant& value) {
    generator().restart();
    try {
        if (ignoreAutoValues_) updateAutoValues(value);
        write(generator(), value);
    } catch (...) {
        // The next text isn't to be handed over behind the rest of this one.
        if (printFunction_ != NO_PRINT_FUNCTION) generator_->clear();
        throw;
    }
    if (printFunction_ != NO_PRINT_FUNCTION) deliver();
}

void JsonPrinter::deliver() {
    struct Clearing {
        ~Clearing() { printer.generator_->clear(); }
        JsonPrinter& printer;
    } const clearing{*this};
    const std::shared_ptr<Generator> held(generator_); // the function may print through us
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    if (length == 0) return;
    printFunction_(printContext_, text, cut_to_int(length));
    const_cast<char*>(text)[length] = '\0';
}

// ----- Inside a text -----------------------------------------------------------------------------

void JsonPrinter::printVariant(const Variant& value) { write(generator(), value); }
void JsonPrinter::printList(const List& list) { writeList(generator(), list); }
void JsonPrinter::printObject(const Object& object) { writeObject(generator(), object); }
void JsonPrinter::printString(const qx::IntrusiveString& text) { writeString(generator(), text); }

// The generator stays the same for a whole text, also where those that it calls print through us.
void JsonPrinter::write(Generator& running, const Variant& value) {
    if (skips(value)) return;
    switch (value.type()) {
    case Type::Null:
        running.run(yajl_gen_null);
        break;
    case Type::Boolean:
        running.run([&](yajl_gen handle) { return yajl_gen_bool(handle, value.booleanValue()); });
        break;
    case Type::Integer:
        running.run(
            [&](yajl_gen handle) { return yajl_gen_integer(handle, value.integerValue()); });
        break;
    case Type::Real:
        writeReal(running, value.realValue());
        break;
    case Type::String:
        writeString(running, value.stringValue());
        break;
    case Type::Object:
        writeObject(running, value.objectValue());
        break;
    case Type::List:
        writeList(running, value.listValue());
        break;
    }
}

void JsonPrinter::writeReal(Generator& running, double value) {
    running.application = ::uselocale(nullptr);
    struct Ending {
        ~Ending() { running.application = nullptr; }
        Generator& running;
    } const ending{running};
    const qx::detail::CNumericScope numbers; // the generator formats reals by the C library
    // Intended: a NaN or an infinity is refused and prints nothing.
    // Held by JsonPrinter.ANumberThatJsonHasNoTextForPrintsNothing.
    running.run([&](yajl_gen handle) { return yajl_gen_double(handle, value); });
}

void JsonPrinter::writeString(Generator& running, const qx::IntrusiveString& text) {
    running.run([&](yajl_gen handle) {
        return yajl_gen_string(handle, bytes_of(text.c_str()), text.length());
    });
}

// Recurses no deeper than the generator opens levels.
void JsonPrinter::writeList(Generator& running, const List& list) {
    if (!open(running, false)) return;
    for (const Variant& element : list) {
        write(running, element);
    }
    closeLevel(running, false);
}

// Recurses no deeper than the generator opens levels.
void JsonPrinter::writeObject(Generator& running, const Object& object) {
    if (!open(running, true)) return;
    // Intended: keys are sorted in indented text only.
    // Held by JsonPrinter.SortsKeysInPrettyTextOnly.
    if (isPretty()) {
        std::vector<Object::Key> keys;
        object.sorted_keys(keys);
        for (const Object::Key& key : keys) {
            // Intended: a repeated key shows its first value each time.
            // Held by JsonPrinter.PrettyTextShowsTheFirstValueOfARepeatedKeyEachTime.
            writeEntry(running, *key, object[key]);
        }
    } else {
        for (const auto& entry : object) {
            writeEntry(running, *entry.first, entry.second);
        }
    }
    closeLevel(running, true);
}

void JsonPrinter::writeEntry(Generator& running, const qx::IntrusiveString& key,
                             const Variant& value) {
    if (skips(value)) return;
    writeString(running, key);
    write(running, value);
}

/// Opens a container. Where it would lie too deep it prints as null, and where it has no place it
/// prints nothing: false for both.
bool JsonPrinter::open(Generator& running, bool object) {
    if (!running.isFull()) return running.open(object);
    running.run(yajl_gen_null);
    return false;
}

/// Opens a container for the caller to fill. What he prints into one that became null is dropped,
/// up to its end.
void JsonPrinter::openLevel(bool object) {
    Generator& running = generator();
    const bool tooDeep = running.isFull();
    open(running, object);
    if (tooDeep) ++running.suppressed;
}

void JsonPrinter::closeLevel(Generator& running, bool object) {
    if (running.suppressed > 0) {
        --running.suppressed;
        return;
    }
    if (running.depth == 0 || running.isObject[running.depth - 1] != object) return;
    --running.depth;
    running.run(object ? yajl_gen_map_close : yajl_gen_array_close);
}

void JsonPrinter::openList() { openLevel(false); }
void JsonPrinter::closeList() { closeLevel(generator(), false); }
void JsonPrinter::openObject() { openLevel(true); }
void JsonPrinter::closeObject() { closeLevel(generator(), true); }

// ----- Buffer ------------------------------------------------------------------------------------

void JsonPrinter::reset() {
    Generator& running = generator();
    running.clear();
    running.restart();
}

void JsonPrinter::reset(std::ostream* out) {
    reset();
    printContext_ = out;
}

const char* JsonPrinter::stringBuffer(std::size_t* length) const {
    const unsigned char* text = nullptr; // stays so where the text isn't kept in memory
    std::size_t size = 0;
    if (generator_->handle != nullptr) yajl_gen_get_buf(generator_->handle, &text, &size);
    if (length != nullptr) *length = size;
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

qx::IntrusiveString JsonPrinter::string() const {
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    return qx::IntrusiveString(text, length);
}

void JsonPrinter::string(qx::IntrusiveString& out) const {
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    out.assign(text, length);
}

qx::IntrusiveString* JsonPrinter::newString() const {
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    return new qx::IntrusiveString(text, length);
}

void JsonPrinter::printToStream(void* context, const char* text, std::size_t length) {
    auto* out = static_cast<std::ostream*>(static_cast<JsonPrinter*>(context)->printContext_);
    if (out != nullptr) out->write(text, static_cast<std::streamsize>(length));
}

// ----- Auto values -------------------------------------------------------------------------------

namespace {

/// Leaves the mark on the auto values at the end of the list only: what stands in front of a value
/// that is printed must be printed too, to keep its position.
void clear_marks_in_front(const List& list) {
    bool printed = false;
    for (std::size_t i = list.size(); i-- > 0;) {
        const Variant& element = list[i];
        if (!element.autoValue()) printed = true;
        if (printed) element.clearAutoValue();
    }
}

} // namespace

// Intended: the walk stays on the root and, over a container that isn't empty, adds levels until
// memory runs out.
// Held by JsonMemory.IgnoringAutoValuesUsesUpAllMemoryForAContainerThatIsNotEmpty.
void JsonPrinter::updateAutoValues(const Variant& root) {
    for (TreeIterator it(root); !it.empty(); ++it) {
        if (it->isList()) clear_marks_in_front(it->listValue());
        if (!it->dirty()) continue;
        for (int level = it.depth() - 2; level >= 0; --level) {
            it[level].clearAutoValue();
        }
    }
}

} // namespace json
