// SPDX-License-Identifier: MIT
#include "rpc/Request.h"

#include "core/detail/NeverDestroyed.h"
#include "rpc/detail/MethodSchemas.h"

#include <string>

namespace json {

namespace {

constexpr const char* kMethod = "method";
constexpr const char* kParams = "params";
constexpr const char* kId = "id";

} // namespace

Request::Request() = default;

Request::Request(const Variant& value) : Variant(value) {}

Request::Request(const qx::IntrusiveString& method, const Variant& args, std::int64_t id) {
    setup(method, args, id);
}

const qx::IntrusiveString& Request::methodName() const { return (*this)[kMethod].stringValue(); }

std::int64_t Request::referenceId() const { return (*this)[kId].integerValue(); }

const List& Request::arguments() const { return (*this)[kParams].listValue(); }

Schema::ValidationResult Request::validateArgs() const {
    return detail::validate_by_url((*this)[kParams], argsSchemaUrl(methodName()));
}

void Request::setup(const qx::IntrusiveString& method, const Variant& args, std::int64_t id) {
    // Both may lie in what the following steps overwrite.
    const boost::intrusive_ptr<qx::IntrusiveString> name(new qx::IntrusiveString(method));
    const Variant given(args);

    convertToObject();
    (*this)[kMethod] = name;
    Variant& params = (*this)[kParams];
    if (given.isList()) {
        params = given;
    } else {
        params.convertToEmptyList();
        params << given;
    }
    // Intended: a negative id is written, although a response leaves it out.
    // Held by Request.WritesEveryIdButZero.
    if (id != 0) {
        (*this)[kId] = id;
        return;
    }
    Object& envelope = objectValue();
    Object::const_iterator entry = envelope.find(kId);
    while (entry != envelope.end()) { // a peer's object may repeat the key
        envelope.erase(entry);
        entry = envelope.find(kId);
    }
}

List& Request::arguments() { return (*this)[kParams].listValue(); }

bool Request::appendArg(const Variant& arg) {
    const Variant appended(arg); // it may lie in what `arguments` converts
    List& args = arguments();
    const std::size_t index = args.size();
    const boost::intrusive_ptr<Schema> schema =
        Schema::resolve(argsSchemaUrl(methodName(), index), qx::Url());
    // Intended: the argument stays whatever the answer is.
    // Held by Request.AppendArgKeepsAnArgumentWithoutASchemaAndAnswersFalse.
    args << appended;
    return schema && schema->check(args[index]).ok();
}

const qx::Url& Request::requestSchemaUrl() {
    static const qx::detail::NeverDestroyed<qx::Url> url(Schema::applicationSchemaBaseUrl() /
                                                         "rpc/request.json");
    return *url;
}

qx::Url Request::argsSchemaUrl(const qx::IntrusiveString& method) {
    return detail::method_schema_url(method, "?args");
}

qx::Url Request::argsSchemaUrl(const qx::IntrusiveString& method, std::size_t index) {
    return argsSchemaUrl(method) / ("#" + std::to_string(index));
}

} // namespace json
