// SPDX-License-Identifier: MIT
#include "rpc/Response.h"

#include "core/detail/NeverDestroyed.h"
#include "rpc/detail/MethodSchemas.h"

namespace json {

namespace {

constexpr const char* kResult = "result";
constexpr const char* kError = "error";
constexpr const char* kId = "id";
constexpr const char* kBlocksFollow = "blocks_follow";

} // namespace

Response::Response(const Variant& value) : Variant(value) { convertToObject(); }

Response::Response(const Variant& result, std::int64_t id) {
    convertToObject();
    (*this)[kResult] = result;
    setReferenceId(id);
}

Response::Response(std::int64_t code, const qx::IntrusiveString& message, std::int64_t id) {
    convertToObject();
    (*this)[kResult] = Variant::Null;
    List& error = (*this)[kError].listValue();
    error << Variant(code)
          << Variant(boost::intrusive_ptr<qx::IntrusiveString>(new qx::IntrusiveString(message)));
    setReferenceId(id);
}

const Variant& Response::result() const { return (*this)[kResult]; }

const List& Response::resultList() const { return result().listValue(); }

const Object& Response::resultObject() const { return result().objectValue(); }

const Variant& Response::firstResult() const { return resultList().at(0); }

const Variant& Response::referenceId() const { return (*this)[kId]; }

bool Response::isError() const { return !errorInfo().isNull(); }

const Variant& Response::errorInfo() const {
    return contains(kError) ? (*this)[kError] : Variant::Null;
}

std::int64_t Response::errorCode() const { return errorInfo().listValue().at(0).integerValue(); }

const qx::IntrusiveString& Response::errorMessage() const {
    return errorInfo().listValue().at(1).stringValue();
}

int Response::blocksFollow() const {
    return static_cast<int>(resultObject()[kBlocksFollow].integerValue());
}

Schema::ValidationResult Response::validateResult(const qx::IntrusiveString& method) const {
    if (method.empty()) return Schema::ValidationResult(Schema::SchemaNotFound);
    return detail::validate_by_url(result(), resultSchemaUrl(method));
}

const qx::Url& Response::responseSchemaUrl() {
    static const qx::detail::NeverDestroyed<qx::Url> url(Schema::applicationSchemaBaseUrl() /
                                                         "rpc/response.json");
    return *url;
}

qx::Url Response::resultSchemaUrl(const qx::IntrusiveString& method) {
    return detail::method_schema_url(method, "?result");
}

void Response::setReferenceId(std::int64_t id) {
    if (id >= 1) (*this)[kId] = id;
}

} // namespace json
