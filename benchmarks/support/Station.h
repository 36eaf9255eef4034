// SPDX-License-Identifier: MIT
#pragma once

#include "rpc/Conversation.h"
#include "support/Corpora.h"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>

namespace bench {

/// Keeps what is written to `std::cout` and `std::cerr` to itself as long as it lives: a
/// conversation that learns of methods tells of each.
class Silence {
public:
    Silence() : out_(std::cout.rdbuf(sink_.rdbuf())), error_(std::cerr.rdbuf(sink_.rdbuf())) {}
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() {
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(error_);
    }

private:
    std::ostringstream sink_;
    std::streambuf* out_;
    std::streambuf* error_;
};

/// A client whose transport counts what it is handed, and that counts what it is told.
class CountingClient : public json::Conversation {
public:
    void sendJsonText(const char*, int size) override {
        bytesSent += static_cast<std::uint64_t>(size);
    }
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        answers += response.isError() || !result.ok() ? 0U : 1U;
        return json::Conversation::handleResponse(request, response, result);
    }
    bool warningRequestValidation(const json::Request&, json::Schema::ValidationResult) override {
        ++warnings;
        return true;
    }

    void receive(const std::string& text) {
        readJsonText(text.data(), static_cast<int>(text.size()), true);
    }

    std::uint64_t bytesSent = 0;
    std::uint64_t answers = 0;  ///< that are no error and satisfy the schema of their method
    std::uint64_t warnings = 0; ///< of requests that don't satisfy theirs
};

/// Tells a client of that many methods, as a station does that is asked for them.
inline void tell_methods(CountingClient& client, std::size_t methods) {
    const Silence silence;
    client.open();
    client.receive(method_catalogue(methods));
}

} // namespace bench
