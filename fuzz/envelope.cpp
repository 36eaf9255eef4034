// SPDX-License-Identifier: MIT
// Requests and responses made of any value and changed at random: reading them never fails, and an
// envelope that was filled holds what it was filled with.

#include "fuzz/support/Require.h"
#include "fuzz/support/Schemas.h"
#include "fuzz/support/Trees.h"
#include "rpc/Request.h"
#include "rpc/Response.h"
#include "schema/Schema.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr const char* const kMethods[] = {"", "a", "trigger", "x#y", "../b", "?", "list_methods"};

void read(const json::Request& request) {
    static_cast<void>(request.methodName().length());
    static_cast<void>(request.referenceId());
    static_cast<void>(fuzz::shape_of(json::Variant(request.arguments())));
    const json::Schema::ValidationResult result = request.validateArgs();
    fuzz::require(result.code == json::Schema::SchemaNotFound || result.rootSchema != nullptr,
                  "a result names its schema");
}

void read(const json::Response& response) {
    static_cast<void>(response.resultList().size());
    static_cast<void>(response.resultObject().size());
    static_cast<void>(response.firstResult().isNull());
    static_cast<void>(response.referenceId().integerValue());
    static_cast<void>(response.blocksFollow());
    static_cast<void>(response.errorMessage().length());
    static_cast<void>(response.errorCode());
    fuzz::require(response.isError() == !response.errorInfo().isNull(), "null is no error");
    for (const char* method : kMethods) {
        static_cast<void>(response.validateResult(method).ok());
    }
}

/// Registers what the methods take and give.
void register_methods(fuzz::Choices& choices) {
    for (std::size_t count = choices.below(4); count > 0; --count) {
        const char* method = choices.pick(kMethods);
        json::Variant document = fuzz::make_document(choices, 2);
        document["id"] =
            static_cast<const char*>(choices.flag() ? json::Request::argsSchemaUrl(method)
                                                    : json::Response::resultSchemaUrl(method));
        static_cast<void>(json::Schema::import(document));
    }
}

void change(fuzz::Choices& choices, json::Request& request) {
    const char* method = choices.pick(kMethods);
    switch (choices.below(5)) {
    case 0: {
        const json::Variant args = fuzz::make_value(choices, 3);
        const std::int64_t id = choices.integer();
        request.setup(method, args, id);
        fuzz::require(request.methodName() == method, "the method is kept");
        fuzz::require(request.referenceId() == id, "the id is kept");
        fuzz::require(request.contains("id") == (id != 0), "id 0 leaves no id");
        const std::size_t expected = args.isList() ? args.size() : 1;
        fuzz::require(request.arguments().size() == expected, "the arguments are kept");
        break;
    }
    case 1:
        // What is taken lies in what is changed.
        request.setup(json::Request(request).methodName(), request, request.referenceId());
        break;
    case 2:
        request.setup(request.methodName(), std::as_const(request)["params"], 7);
        fuzz::require(request.referenceId() == 7, "the id is kept");
        break;
    case 3: {
        const std::size_t before = std::as_const(request)["params"].isList()
                                       ? std::as_const(request).arguments().size()
                                       : 0;
        if (request.isNull() || request.isObject()) {
            static_cast<void>(request.appendArg(fuzz::make_value(choices, 2)));
            fuzz::require(std::as_const(request).arguments().size() == before + 1,
                          "an argument stays, valid or not");
        }
        break;
    }
    default:
        request.arguments() << fuzz::make_value(choices, 1);
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Silence silence;
    fuzz::EmptyRegistry::make();
    fuzz::Choices choices(data, size);
    register_methods(choices);
    json::Request request(fuzz::make_value(choices));
    read(request);
    for (std::size_t changes = choices.below(8); changes > 0; --changes) {
        change(choices, request);
        read(request);
        read(json::Response(request));
    }
    const json::Variant result = fuzz::make_value(choices);
    read(json::Response(result));
    const json::Response success(result, choices.integer());
    fuzz::require(fuzz::same(success.result(), result) && !success.isError(),
                  "a success holds its result");
    read(success);
    const std::int64_t code = choices.integer();
    const json::Response error(code, choices.bytes(12), choices.integer());
    fuzz::require(error.isError() && error.errorCode() == code, "an error holds its code");
    read(error);
    return 0;
}
