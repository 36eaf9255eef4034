// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include "core/detail/NeverDestroyed.h"

#include <new>

namespace json {

namespace {

/// A place that is bound to the references below before any code runs, and never destroyed.
template <typename T>
union Place {
    constexpr Place() : nothing() {}
    ~Place() {}
    char nothing;
    T content;
};

Place<const Schema> empty_place;
Place<const boost::intrusive_ptr<Schema>> empty_pointer_place;
const boost::intrusive_ptr<Schema> null_pointer;

struct Builder {
    Builder() {
        ::new (const_cast<Schema*>(&empty_place.content)) Schema;
        ::new (const_cast<boost::intrusive_ptr<Schema>*>(&empty_pointer_place.content))
            boost::intrusive_ptr<Schema>(new Schema);
    }
};

// Behind the constants of values and before the static objects of an application, also when the
// library is linked statically.
[[gnu::init_priority(102)]] Builder builder;

} // namespace

const boost::intrusive_ptr<Schema>& Schema::NullPtr = null_pointer;
const Schema& Schema::Empty = empty_place.content;
const boost::intrusive_ptr<Schema>& Schema::EmptyPtr = empty_pointer_place.content;

Schema::Schema() : definition_(Variant::newObject()), result_(new ValidationResult) {}

Schema::~Schema() = default;

bool Schema::empty() const { return definition().empty(); }

const Object& Schema::definition() const { return definition_.objectValue(); }

// ----- Checks ------------------------------------------------------------------------------------

const Schema::ValidationResult& Schema::validate(const Variant& value) const {
    ValidationResult& result = *result_;
    result.rootSchema = this;
    // A schema that its own result holds would never be freed.
    result.rootValue = value.withoutSchema();
    result.path = Path();
    // A schema without constraints finds no fault, and a clean result names neither schema nor
    // value.
    result.code = NoError;
    result.schema = nullptr;
    result.value = Variant::Empty;
    result.detail = Variant::Empty;
    return result;
}

const Schema::ValidationResult& Schema::validate(const Variant* value) const {
    return validate(value != nullptr ? *value : Variant::Empty);
}

const Schema::ValidationResult& Schema::validationResult() const { return *result_; }

// ----- Children and defaults ---------------------------------------------------------------------

boost::intrusive_ptr<Schema> Schema::at(std::size_t) const { return EmptyPtr; }

boost::intrusive_ptr<Schema> Schema::property(const qx::IntrusiveString&) const { return EmptyPtr; }

boost::intrusive_ptr<Schema>
Schema::property(const boost::intrusive_ptr<qx::IntrusiveString>&) const {
    return EmptyPtr;
}

const Variant& Schema::autoValue() const { return Variant::EmptyAutoValue; }

// ----- Registry ----------------------------------------------------------------------------------

boost::intrusive_ptr<Schema> Schema::resolve(const qx::Url&, const qx::Url&) { return NullPtr; }

const qx::Url& Schema::applicationSchemaBaseUrl() {
    static const qx::detail::NeverDestroyed<qx::Url> url("http://schemas.gatecast.example");
    return *url;
}

} // namespace json
