// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/Interface.h"
#include "rpc/Request.h"
#include "rpc/Response.h"
#include "schema/Schema.h"

namespace json {

/// Hears what a `Conversation` receives and what is wrong with what it sends.
///
/// The arguments live for the length of the call; copy what is to be kept. A listener may send
/// requests from inside a callback, but must not wait for their answers, which would arrive on
/// the same thread. The answers of all listeners are combined with AND for the caller of the
/// notification; a false one keeps nobody from being called.
/// Threads: called on the thread that sends or feeds, with the conversation's lock held.
class GATECAST_EXPORT IResponseListener : public virtual qx::IInterface {
public:
    // The order of the virtual operations is ABI.
    ~IResponseListener() override;
    /// A request that is about to go out failed validation. It is sent all the same.
    virtual bool warningRequestValidation(const Request& request,
                                          Schema::ValidationResult result) = 0;
    /// A response arrived. `request` is the one that it answers, null when its id is unknown;
    /// `result` tells how the response fared against the schema of the method.
    virtual bool handleResponse(const Request& request, const Response& response,
                                Schema::ValidationResult result) = 0;
};

} // namespace json
