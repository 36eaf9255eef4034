// SPDX-License-Identifier: MIT
#pragma once

#include "rpc/Request.h"
#include "rpc/Response.h"
#include "support/SchemaText.h"

#include <string>

namespace test {

/// Registers what a method takes, a string and an integer, and that its result is a Boolean. The
/// registry is the process's: each test uses a name of its own.
inline void register_method(const std::string& name) {
    import_text(R"({"id":")" + text_of(json::Request::argsSchemaUrl(name)) +
                R"(","type":"array",)" +
                R"("items":[{"id":"#0","type":"string"},{"id":"#1","type":"integer"}]})");
    import_text(R"({"id":")" + text_of(json::Response::resultSchemaUrl(name)) +
                R"(","type":"boolean"})");
}

} // namespace test
