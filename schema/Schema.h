// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveObject.h"
#include "core/IntrusiveString.h"
#include "core/PooledStringMap.h"
#include "core/Url.h"
#include "json/Path.h"
#include "json/Variant.h"

#include <boost/intrusive_ptr.hpp>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <vector>

namespace json {

/// One node of a schema tree, counted: the loaded form of one JSON object that says what a value
/// may be, after JSON Schema draft 03 with changes of its own (see docs/schemas.md).
///
/// A schema is held through `boost::intrusive_ptr<json::Schema>`. `NullPtr` means that nothing may
/// stand at a place, `EmptyPtr` that anything may. Loading never fails: a keyword of the wrong form
/// is ignored. References stay URLs and are looked up at each use, so that a document may refer to
/// one that is imported later.
/// \code
/// json::Schema::import(json::JsonParser::parseTree(
///     R"({"id":"http://example.com/volume","type":"integer","minimum":0,"maximum":11})"));
/// const auto volume = json::Schema::resolve("http://example.com/volume", qx::Url());
/// volume->validate(json::Variant(12)).ok(); // false
/// volume->validationResult().code;          // json::Schema::ValueOutOfBounds
/// \endcode
/// Every node with an "id" is registered for the whole process while its document loads.
/// Threads: any thread may resolve, import and `check`; `validate` and `autoValue` one at a time.
/// The registry is locked inside. `validate` and `autoValue` leave their result in the schema, so
/// that values bound to the same schema, or to parts of it, are for one thread too.
class GATECAST_EXPORT Schema : public qx::IntrusiveObject {
public:
    /// A set of kinds of value: bit n stands for the `json::Type` of number n.
    using TypeSet = std::bitset<8>;

    /// What went wrong in a check. The numbers are printed and don't change.
    enum ValidationCode : std::int32_t {
        NoError = 0,                       ///< a pass
        SchemaNotFound = 1,                ///< a reference leads nowhere
        WrongDataType = 2,                 ///< "type", "disallow"
        InvalidValue = 3,                  ///< "enum"
        ValueOutOfBounds = 4,              ///< "minimum", "maximum"
        ValueNotDivisible = 5,             ///< "divisibleBy"
        StringLengthOutOfBounds = 6,       ///< "minLength", "maxLength"
        RequiredValueMissing = 7,          ///< "required", "optional"
        DependentValueMissing = 8,         ///< "dependencies"
        UnknownStringFormat = 9,           ///< "format": a word without a test
        InvalidProperty = 10,              ///< "additionalProperties"
        ArrayIndexOutOfBounds = 11,        ///< "minItems", "maxItems"
        SchemaNotDefinedForArrayItem = 12, ///< "additionalItems"
        ArrayItemsNotUnique = 13,          ///< "uniqueItems"
        MalformedDateOrTime = 14,          ///< never raised
        RegularExpressionMismatch = 15,    ///< never raised
        MalformedIpAddress = 16,           ///< "format"
        MalformedUri = 17                  ///< "format"
    };

    /// The words of the keyword "format". The numbers are printed and don't change.
    enum StringFormat : std::int32_t {
        UnknownFormat = 0,     ///< absent, or any other word
        RegexFormat = 1,       ///< "regex"
        DateTimeFormat = 2,    ///< "date-time"
        DateFormat = 3,        ///< "date"
        TimeFormat = 4,        ///< "time"
        UtcMillisecFormat = 5, ///< "utc-millisec"
        IpAddressFormat = 6,   ///< "ip-address"
        Ipv6Format = 7,        ///< "ipv6"
        ColorFormat = 8,       ///< "color"
        StyleFormat = 9,       ///< "style"
        PhoneFormat = 10,      ///< "phone"
        UriFormat = 11,        ///< "uri"
        EmailFormat = 12,      ///< "email"
        HostNameFormat = 13,   ///< "host-name"
        UtcSecondFormat = 14,  ///< "utc-second"
        Base64Format = 15,     ///< "base64"
        EncryptedFormat = 16   ///< "encrypted"
    };

    /// The outcome of a check: the first fault found. A value that can be copied freely.
    ///
    /// `schema` and `rootSchema` don't own: they may be read only as long as the schemas live. The
    /// values share the payloads of what was checked and are bound to no schema.
    struct GATECAST_EXPORT ValidationResult {
        std::int32_t code = NoError;        ///< a `ValidationCode`
        const Schema* schema = nullptr;     ///< the node that found the fault, null when valid
        Variant value;                      ///< the value at fault
        Variant detail;                     ///< an extra that depends on the code
        const Schema* rootSchema = nullptr; ///< the schema whose `validate` was called
        Variant rootValue;                  ///< the value handed to it
        Path path;                          ///< where in `rootValue` the fault lies

        /// A pass.
        ValidationResult() = default;
        /// A fault without a place, or a pass with `NoError`.
        ValidationResult(std::int32_t faultCode) : code(faultCode) {}

        /// Whether the code is `NoError`.
        bool ok() const noexcept { return code == NoError; }
        /// The same as `ok`.
        explicit operator bool() const noexcept { return ok(); }

        /// The text of a code, empty for an unknown one. The reference lives to the end of the
        /// process.
        static const qx::IntrusiveString& message(std::int32_t code);
    };

    /// @name Shared schemas
    /// They can be used from static objects of an application, before and after `main`.
    /// @{
    static const boost::intrusive_ptr<Schema>& NullPtr;  ///< null
    static const Schema& Empty;                          ///< stands for "no schema"
    static const boost::intrusive_ptr<Schema>& EmptyPtr; ///< no constraints; not `Empty`
    /// @}
    /// All seven kinds.
    static constexpr TypeSet AnyType{0x7F};

    // ----- Construction ------------------------------------------------------------- Schema.cpp
    //
    // Loading registers every child that has an "id", children first; the schema itself is
    // registered by `import` only.

    /// No constraints.
    Schema();
    /// Shares the very object that the value holds, so that keywords which are read live follow
    /// its changes. Relative URLs of the document are taken against `context`.
    /// Bad input: a value that is no Object gives a schema without constraints.
    Schema(const Variant& value, const qx::Url& context);
    /// From JSON text; `length` bytes, or up to the NUL when it is negative.
    /// Bad input: a text that doesn't parse gives a schema without constraints.
    /// @{
    explicit Schema(std::istream* stream);
    explicit Schema(const std::string& text);
    explicit Schema(const char* text, int length = -1);
    /// @}
    /// Share the definition and the children; the last result and the last default aren't copied.
    /// @{
    Schema(const Schema& other);
    Schema& operator=(const Schema& other);
    /// @}
    /// Loads the value's object into this schema. Warning: what an earlier document put into
    /// `items`, "extends", complex types, properties and dependencies remains; build a new schema
    /// where that isn't wanted.
    Schema& operator=(const Variant& value);

    // The order of the virtual operations is ABI.
    virtual ~Schema();

    // ----- The document: what loading made of it ------------------------------------ Schema.cpp

    /// Whether the definition has no entries.
    bool empty() const;
    /// The schema document of this node.
    const Object& definition() const { return *definition_; }
    /// "id" as the document wrote it.
    const qx::Url& url() const { return id_; }
    /// The URL against which relative URLs of this node are taken; empty at a root.
    const qx::Url& urlContext() const { return context_; }
    /// "id" made absolute: the URL under which `import` registers the schema. A relative id without
    /// a context stays as it is; a node without an id has the URL of its context.
    qx::Url absoluteUrl() const;
    /// "$ref": what this node stands for in `validate`, `at`, `property` and `autoValue`. The other
    /// accessors don't look through it.
    const qx::Url& ref() const { return ref_; }
    /// "extends", in document order.
    const std::vector<qx::Url>& extendedSchemas() const { return extended_; }
    /// The kinds that "type" names, `AnyType` without it. Empty when it names none: then every
    /// value fails.
    TypeSet types() const { return types_; }
    /// The schemas that "type" lists.
    const std::vector<boost::intrusive_ptr<Schema>>& complexTypes() const { return complexTypes_; }
    /// "format" as a number.
    StringFormat stringFormat() const { return stringFormat_; }
    /// "enum", empty without it.
    const List& values() const;

    // ----- The document: keywords that are read anew each time ---------------------- Schema.cpp

    /// Whole numbers: a bound of 2.5 acts as 2. Without the keyword the widest bound.
    /// @{
    std::int64_t minimum() const;
    std::int64_t maximum() const;
    /// @}
    /// 0 means that nothing is tested.
    std::int64_t divisibleBy() const;
    /// Without the keyword 0 and the largest number. A negative number counts as a very large one.
    /// @{
    std::uint64_t minItems() const;
    std::uint64_t maxItems() const;
    std::uint64_t minStringLength() const;
    std::uint64_t maxStringLength() const;
    /// @}
    /// Empty without the keyword. The reference lives until the document is changed.
    /// @{
    const qx::IntrusiveString& description() const;
    const qx::IntrusiveString& title() const;
    const qx::IntrusiveString& format() const;
    /// @}
    /// "default", null without it.
    const Variant& defaultValue() const;
    /// "required" if it is a Boolean, else "optional" negated if that is one, else false.
    bool isRequired() const;
    /// False without the keyword; any value counts as the Boolean that it reads as.
    /// @{
    bool exclusiveMinimum() const;
    bool exclusiveMaximum() const;
    bool uniqueItems() const;
    /// @}

    // ----- Places below ---------------------------------------------------- SchemaRegistry.cpp

    /// Schema of the element at the index: the positional one, or the last one for every index
    /// past the end where additional items are allowed. Null if nothing may stand there, and when
    /// "$ref" leads nowhere.
    boost::intrusive_ptr<Schema> at(std::size_t index) const;
    /// The same; a negative index counts as a very large one.
    template <typename T, detail::RequireNumber<T> = 0>
    boost::intrusive_ptr<Schema> operator[](T index) const {
        return at(static_cast<std::size_t>(index));
    }
    /// Schema of the property, null if nothing may stand there, and when "$ref" leads nowhere.
    /// Properties of extended schemas count as additional ones.
    /// @{
    boost::intrusive_ptr<Schema> property(const qx::IntrusiveString& key) const;
    boost::intrusive_ptr<Schema>
    property(const boost::intrusive_ptr<qx::IntrusiveString>& key) const;
    boost::intrusive_ptr<Schema> operator[](const char* key) const { return property(key); }
    boost::intrusive_ptr<Schema> operator[](const qx::IntrusiveString& key) const {
        return property(key);
    }
    boost::intrusive_ptr<Schema>
    operator[](const boost::intrusive_ptr<qx::IntrusiveString>& key) const {
        return property(key);
    }
    /// @}

    // ----- The registry ---------------------------------------------------- SchemaRegistry.cpp
    //
    // One for the process: schemas by the whole text of their absolute URL. Entries are replaced,
    // never removed. Each entry made is told on `std::cout`, each failure on `std::cerr`.

    /// The registered schema of the URL, made absolute against the context unless that is empty.
    /// Null when there is none; nothing is fetched.
    static boost::intrusive_ptr<Schema> resolve(const qx::Url& url, const qx::Url& context);
    /// Registers the schema under the URL, over an older one with a warning.
    static void import(const qx::Url& url, boost::intrusive_ptr<Schema> schema);
    /// Registers the schema under its `absoluteUrl`; false, with a warning, if that is empty.
    /// Bad input: a null pointer gives false.
    static bool import(boost::intrusive_ptr<Schema> schema);
    /// Loads and registers a document, or each of a list of them up to the first that fails. A
    /// document is checked first if the schema of its `metaSchemaUrl` is registered.
    /// Bad input: a value that is neither a List nor an Object gives false.
    static bool import(const Variant& value);
    /// The same from JSON text, read to the end of the stream.
    static bool import(std::istream* stream);
    /// How many URLs are registered; they stay to the end of the process.
    static std::size_t registeredCount();
    /// `http://schemas.gatecast.example`: the system's own schema URLs are joined under it.
    static const qx::Url& applicationSchemaBaseUrl();
    /// What "$schema" says, else `http://json-schema.org/draft-03/schema#`.
    static qx::Url metaSchemaUrl(const Variant& value);

    // ----- Checks ------------------------------------------------------------- SchemaCheck.cpp

    /// Checks the value and stops at the first fault. The reference is to a field of this schema
    /// that its next check overwrites. After a pass `path` may still hold steps of an alternative
    /// that failed. The value may lie in the last result.
    /// Warning: a text that isn't base64 under that format passes; see docs/schemas.md.
    /// Bad input: a null pointer counts as `Variant::Empty`. A reference to a schema that is
    /// looking at this very value already, and would come back for ever, is reported as
    /// `SchemaNotFound` with its URL; of the schemas that "type" lists only that one fails.
    /// @{
    const ValidationResult& validate(const Variant& value) const;
    const ValidationResult& validate(const Variant* value) const;
    /// @}
    /// The same check, whose result isn't left in this schema: several threads may run it at once
    /// on a schema that nobody changes.
    ValidationResult check(const Variant& value) const;
    /// The result as the last `validate` left it.
    const ValidationResult& validationResult() const { return result_; }

    // ----- Defaults -------------------------------------------------------- SchemaDefaults.cpp

    /// A plausible value for a place where there is none; it need not satisfy the schema. It is
    /// built anew by each call and lives until the next one on this schema: copy it to keep it.
    /// A default past 128 levels or 131,072 elements, entries and blanks is cut short.
    const Variant& autoValue() const;

protected:
    // ----- The document ------------------------------------------------------------- Schema.cpp

    /// Work of loading that waits for its turn, so that deep documents need no deep stack.
    class Loading;

    /// The definition's value of the key; what the definition answers for a missing key, null as a
    /// rule.
    const Variant& prop(const char* key) const { return definition()[key]; }
    /// The definition's value of the key, `defaultValue` when it is missing.
    const Variant& prop(const char* key, const Variant& defaultValue) const;
    /// Whether the definition has the key.
    bool containsProp(const char* key) const { return definition().contains(key); }
    /// Loads the definition. Nothing is cleared before.
    void init();
    /// Takes over what `other` has loaded, its definition apart.
    void init_from(const Schema& other);
    /// The kinds that a "type" or "disallow" names; objects in a list become schemas in `complex`
    /// unless that is null. With `loading` they are loaded later.
    TypeSet parse_types(const Variant& value, std::vector<boost::intrusive_ptr<Schema>>* complex,
                        Loading* loading = nullptr) const;
    /// A schema in the context of this one, registered if it has an id and `shouldImport` says so.
    /// With `loading` it is loaded and registered later.
    boost::intrusive_ptr<Schema> create_child(const Variant& value, bool shouldImport,
                                              Loading* loading = nullptr) const;

    // ----- Names --------------------------------------------------------------- SchemaNames.cpp

    /// The kind of the name, all of them for "any", none for an unknown one.
    static TypeSet type_from_string(const qx::IntrusiveString& name);
    /// The number of the word, `UnknownFormat` for an unknown one.
    static StringFormat parse_format(const qx::IntrusiveString& name);
    /// "any", "void" for none, else the names joined by ",".
    /// @{
    static std::string string_from_type(Type type);
    static std::string string_from_types(const TypeSet& types);
    /// @}

    // ----- The registry ---------------------------------------------------- SchemaRegistry.cpp

    /// Schemas by their names or URLs.
    using SchemaMap = qx::PooledStringMap<boost::intrusive_ptr<Schema>>;
    /// The registry itself, without its lock.
    /// @{
    static SchemaMap& global_schemas();
    static const SchemaMap& const_global_schemas() { return global_schemas(); }
    /// @}

    // ----- Checks ------------------------------------------------------------- SchemaCheck.cpp

    /// The parts of a check: true for a pass; a fault is left in `result`.
    /// @{
    bool validate(const Variant& value, ValidationResult* result) const;
    bool validateType(const Variant& value, ValidationResult* result) const;
    bool validateValue(const Variant& value, ValidationResult* result) const;
    bool validateArray(const Variant& value, ValidationResult* result) const;
    bool validateBounds(const Variant& value, ValidationResult* result) const;
    bool validateString(const Variant& value, ValidationResult* result) const;
    bool validateFormat(StringFormat format, const Variant& value, ValidationResult* result) const;
    /// @}

    // ----- Defaults -------------------------------------------------------- SchemaDefaults.cpp

    /// The parts of `autoValue`: of a property, and of a schema whose kind is Object, List, String
    /// or Integer.
    /// @{
    const Variant& autoPropertyValue(const qx::IntrusiveString& key) const;
    const Variant& autoObjectValue() const;
    const Variant& autoListValue() const;
    const Variant& autoStringValue() const;
    std::int64_t autoIntegerValue() const;
    /// @}

private:
    friend void intrusive_ptr_release(Schema* schema);
    friend class Variant;

    class Check;
    struct Bounds;
    void check(const Variant& value, ValidationResult& result) const;

    using Key = boost::intrusive_ptr<qx::IntrusiveString>;
    struct Unloaded {}; // names the constructor that leaves `init` to the caller

    Schema(Unloaded, boost::intrusive_ptr<Object> definition, const qx::Url& context);

    const Variant& keyword(const Key& key) const;
    const qx::IntrusiveString& text(const Key& key) const;
    static const qx::IntrusiveString& text(const Variant& value);
    static std::uint64_t count(const Variant& value);
    std::int64_t number(const Key& key, std::int64_t without) const;
    bool missingKeywordsAreNull() const;
    Bounds bounds() const;
    Bounds askedBounds() const;
    void loadKeywords(Loading& loading);
    /// Whether `at` and `property` answer `EmptyPtr` for every place. For values.
    /// @{
    bool leavesElementsFree() const { return items_.empty() && additionalItems_ && ref_.empty(); }
    bool leavesPropertiesFree() const {
        return properties_.empty() && additionalAllowed_ && !additionalSchema_ && ref_.empty();
    }
    /// @}
    static boost::intrusive_ptr<Schema> registered(const qx::Url& url);
    const Schema* referred(boost::intrusive_ptr<Schema>& held) const;
    bool report(ValidationResult& result, ValidationCode code, const Variant& value,
                const Variant& detail = Variant::Empty) const;
    bool keepsBounds(const Bounds& bounds, const Variant& value, ValidationResult& result) const;
    bool keepsLength(const Bounds& bounds, const Variant& value, ValidationResult& result) const;
    bool allowsType(const Variant& value) const;
    bool reportWrongType(const Variant& value, ValidationResult& result) const;
    const Variant& autoValueOfType() const;
    template <typename K>
    boost::intrusive_ptr<Schema> propertyOf(const K& key) const;
    /// What this node itself says, its references aside.
    /// @{
    const boost::intrusive_ptr<Schema>& ownElement(std::size_t index) const;
    const boost::intrusive_ptr<Schema>& ownAdditionalProperty() const;
    /// @}
    /// Whether no other schema is asked about a value that holds nothing.
    bool standsAlone() const { return ref_.empty() && extended_.empty() && complexTypes_.empty(); }

    boost::intrusive_ptr<Object> definition_; // shared with the document
    mutable ValidationResult result_;
    qx::Url id_;
    qx::Url context_;
    qx::Url ref_;
    std::vector<qx::Url> extended_;
    TypeSet types_;
    std::vector<boost::intrusive_ptr<Schema>> complexTypes_;
    boost::intrusive_ptr<List> values_; // null without "enum"
    SchemaMap properties_;
    bool additionalAllowed_ = true;
    boost::intrusive_ptr<Schema> additionalSchema_;
    std::vector<boost::intrusive_ptr<Schema>> items_;
    TypeSet disallowed_;
    bool additionalItems_ = true;
    Object valueDependencies_;
    SchemaMap schemaDependencies_;
    StringFormat stringFormat_ = UnknownFormat;
    mutable Variant autoValue_;      // the last default that was made
    Schema* nextDisposed_ = nullptr; // the next to be destroyed, once no pointer counts this one
};

/// Writes the report of a fault in several lines.
GATECAST_EXPORT std::ostream& operator<<(std::ostream& out, const Schema::ValidationResult& result);

} // namespace json
