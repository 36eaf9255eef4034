// SPDX-License-Identifier: MIT
#include "json/JsonPrinter.h"

#include "core/detail/CNumbers.h"

#include <yajl/yajl_gen.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <ostream>
#include <utility>
#include <vector>

namespace json {

namespace {

/// The generator corrupts memory past this many open levels.
constexpr std::size_t kDeepestLevel = 127;

/// Lengths go out as `int`; nothing longer is handed over in one call.
int cut_to_int(std::size_t length) {
    constexpr auto longest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return static_cast<int>(std::min(length, longest));
}

bool is_white_space(const std::string& text) {
    return text.find_first_not_of("\n\t\v\f\r ") == std::string::npos;
}

const unsigned char* bytes_of(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

} // namespace

// ----- Generator ---------------------------------------------------------------------------------

/// The generator and what it can't be trusted with: its depth, and exceptions of those it calls.
struct JsonPrinter::Generator {
    explicit Generator(JsonPrinter* owner) : printer(owner), handle(yajl_gen_alloc(nullptr)) {
        if (handle == nullptr) throw std::bad_alloc();
    }
    ~Generator() { yajl_gen_free(handle); }
    Generator(const Generator&) = delete;
    Generator& operator=(const Generator&) = delete;

    /// To be called once: the generator frees its buffer each time.
    void streamTo(yajl_print_t callback) {
        yajl_gen_config(handle, yajl_gen_print_callback, callback, this);
    }

    /// Runs a call of the generator; true when it printed something.
    template <typename Call>
    bool run(Call call) {
        if (suppressed > 0) return false;
        const bool wasBusy = std::exchange(busy, true);
        const yajl_gen_status status = call(handle);
        busy = wasBusy;
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
        return status == yajl_gen_status_ok;
    }

    /// Runs what belongs to others; an exception must not pass through the generator's frames.
    template <typename Call>
    void runForeign(Call call) noexcept {
        if (failure) return;
        try {
            call();
        } catch (...) {
            failure = std::current_exception();
        }
    }

    void restart() {
        yajl_gen_reset(handle, nullptr);
        openContainers.clear();
        suppressed = 0;
    }

    static void streamPiece(void* context, const char* text, std::size_t length) {
        auto* self = static_cast<Generator*>(context);
        self->runForeign([&] { printToStream(self->printer, text, length); });
    }

    static void handOverPiece(void* context, const char* text, std::size_t length) {
        auto* self = static_cast<Generator*>(context);
        JsonPrinter* printer = self->printer;
        self->runForeign(
            [&] { printer->printFunction(printer->printContext, text, cut_to_int(length)); });
    }

    JsonPrinter* printer;
    yajl_gen handle;
    std::vector<bool> openContainers; // true for an object
    std::size_t suppressed = 0;       // levels open below a container that printed as null
    bool busy = false;                // a text is under way
    std::exception_ptr failure;
};

// ----- Construction ------------------------------------------------------------------------------

JsonPrinter::JsonPrinter()
    : gen(new Generator(this)), delivery(Delivery::Memory), printFunction(NO_PRINT_FUNCTION),
      printContext(nullptr) {
    setIndent("\t");
}

JsonPrinter::JsonPrinter(std::ostream* out)
    : gen(new Generator(this)), delivery(Delivery::Stream), printFunction(NO_PRINT_FUNCTION),
      printContext(out) {
    gen->streamTo(&Generator::streamPiece);
    setIndent("\t");
}

JsonPrinter::JsonPrinter(PrintFunction function, void* context, bool buffered)
    : gen(new Generator(this)), delivery(Delivery::Memory), printFunction(function),
      printContext(context) {
    if (function != NO_PRINT_FUNCTION)
        delivery = buffered ? Delivery::WholeTexts : Delivery::Pieces;
    if (delivery == Delivery::Pieces) gen->streamTo(&Generator::handOverPiece);
    setIndent("\t");
}

JsonPrinter::JsonPrinter(const JsonPrinter& source)
    : gen(new Generator(this)), delivery(source.delivery), printFunction(source.printFunction),
      printContext(source.printContext), ignoresAutoValues(source.ignoresAutoValues) {
    if (delivery == Delivery::Stream) gen->streamTo(&Generator::streamPiece);
    if (delivery == Delivery::Pieces) gen->streamTo(&Generator::handOverPiece);
    setIndent(source.indent);
}

JsonPrinter& JsonPrinter::operator=(const JsonPrinter& source) {
    if (this == &source) return *this;
    JsonPrinter copy(source);
    gen.swap(copy.gen);
    gen->printer = this;
    delivery = copy.delivery;
    printFunction = copy.printFunction;
    printContext = copy.printContext;
    ignoresAutoValues = copy.ignoresAutoValues;
    setIndent(copy.indent);
    return *this;
}

JsonPrinter::~JsonPrinter() = default;

void JsonPrinter::setIndent(const std::string& text) {
    if (!is_white_space(text)) return;
    indent = text;
    yajl_gen_config(gen->handle, yajl_gen_indent_string, indent.c_str());
    yajl_gen_config(gen->handle, yajl_gen_beautify, indent.empty() ? 0 : 1);
}

// ----- Whole texts -------------------------------------------------------------------------------

void JsonPrinter::print(const Variant& value) {
    if (gen->busy) { // called from what this printer calls: the outer text must not get mixed in
        JsonPrinter(*this).print(value);
        return;
    }
    gen->restart();
    if (ignoresAutoValues) updateAutoValues(value);
    printVariant(value);
    if (delivery == Delivery::WholeTexts) deliver();
}

void JsonPrinter::deliver() {
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    if (length == 0) return;
    gen->busy = true;
    gen->runForeign([&] { printFunction(printContext, text, cut_to_int(length)); });
    gen->busy = false;
    yajl_gen_clear(gen->handle);
    if (gen->failure) std::rethrow_exception(std::exchange(gen->failure, nullptr));
}

// ----- Inside a text -----------------------------------------------------------------------------

void JsonPrinter::printVariant(const Variant& value) {
    if (skips(value)) return;
    switch (value.type()) {
    case Type::Null:
        gen->run(yajl_gen_null);
        break;
    case Type::Boolean:
        gen->run([&](yajl_gen handle) { return yajl_gen_bool(handle, value.booleanValue()); });
        break;
    case Type::Integer:
        gen->run([&](yajl_gen handle) { return yajl_gen_integer(handle, value.integerValue()); });
        break;
    case Type::Real:
        printReal(value.realValue());
        break;
    case Type::String:
        printString(value.stringValue());
        break;
    case Type::Object:
        printObject(value.objectValue());
        break;
    case Type::List:
        printList(value.listValue());
        break;
    }
}

void JsonPrinter::printReal(double value) {
    const qx::detail::CNumericScope numbers; // the generator formats reals by the C library
    gen->run([&](yajl_gen handle) { return yajl_gen_double(handle, value); });
}

void JsonPrinter::printString(const qx::IntrusiveString& text) {
    gen->run([&](yajl_gen handle) {
        return yajl_gen_string(handle, bytes_of(text.c_str()), text.length());
    });
}

// Recurses no deeper than the generator opens levels.
void JsonPrinter::printList(const List& list) {
    if (!open(false)) return;
    for (const Variant& element : list) {
        printVariant(element);
    }
    close(false);
}

// Recurses no deeper than the generator opens levels.
void JsonPrinter::printObject(const Object& object) {
    if (!open(true)) return;
    if (isPretty()) {
        std::vector<Object::Key> keys;
        object.sorted_keys(keys);
        for (const Object::Key& key : keys) {
            // Intended: a repeated key shows its first value each time.
            // Held by JsonPrinter.PrettyTextShowsTheFirstValueOfARepeatedKeyEachTime.
            printEntry(*key, object[key]);
        }
    } else {
        for (const auto& entry : object) {
            printEntry(*entry.first, entry.second);
        }
    }
    close(true);
}

void JsonPrinter::printEntry(const qx::IntrusiveString& key, const Variant& value) {
    if (skips(value)) return;
    printString(key);
    printVariant(value);
}

bool JsonPrinter::open(bool object) {
    if (gen->suppressed == 0 && gen->openContainers.size() < kDeepestLevel) {
        if (!gen->run(object ? yajl_gen_map_open : yajl_gen_array_open)) return false;
        gen->openContainers.push_back(object);
        return true;
    }
    gen->run(yajl_gen_null); // prints nothing when this lies below another such container
    return false;
}

void JsonPrinter::close(bool object) {
    if (gen->openContainers.empty() || gen->openContainers.back() != object) return;
    gen->run(object ? yajl_gen_map_close : yajl_gen_array_close);
    gen->openContainers.pop_back();
}

void JsonPrinter::openList() {
    const bool tooDeep = gen->suppressed > 0 || gen->openContainers.size() >= kDeepestLevel;
    open(false);
    if (tooDeep) ++gen->suppressed;
}

void JsonPrinter::openObject() {
    const bool tooDeep = gen->suppressed > 0 || gen->openContainers.size() >= kDeepestLevel;
    open(true);
    if (tooDeep) ++gen->suppressed;
}

void JsonPrinter::closeList() {
    if (gen->suppressed > 0) {
        --gen->suppressed;
    } else {
        close(false);
    }
}

void JsonPrinter::closeObject() {
    if (gen->suppressed > 0) {
        --gen->suppressed;
    } else {
        close(true);
    }
}

// ----- Buffer ------------------------------------------------------------------------------------

void JsonPrinter::reset() {
    yajl_gen_clear(gen->handle);
    gen->restart();
}

void JsonPrinter::reset(std::ostream* out) {
    reset();
    printContext = out;
}

const char* JsonPrinter::stringBuffer(std::size_t* length) {
    const unsigned char* text = nullptr; // stays so where the text isn't kept in memory
    std::size_t size = 0;
    yajl_gen_get_buf(gen->handle, &text, &size);
    if (length != nullptr) *length = size;
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

qx::IntrusiveString JsonPrinter::string() {
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    return qx::IntrusiveString(text, length);
}

void JsonPrinter::string(qx::IntrusiveString& out) {
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    out.assign(text, length);
}

qx::IntrusiveString* JsonPrinter::newString() {
    std::size_t length = 0;
    const char* text = stringBuffer(&length);
    return new qx::IntrusiveString(text, length);
}

void JsonPrinter::printToStream(void* context, const char* text, std::size_t length) {
    auto* out = static_cast<std::ostream*>(static_cast<JsonPrinter*>(context)->printContext);
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

// Intended: the walk goes on adding levels over a container that isn't empty and never comes back
// from it, which ends as a walk that used up all memory does.
// Held by JsonPrinter.IgnoringAutoValuesEndsInBadAllocForANonEmptyContainer.
void JsonPrinter::updateAutoValues(const Variant& root) {
    if (root.isList()) clear_marks_in_front(root.listValue());
    if (!root.isComposite() || root.size() == 0) return;
    if (root.dirty()) root.clearAutoValue();
    throw std::bad_alloc();
}

} // namespace json
