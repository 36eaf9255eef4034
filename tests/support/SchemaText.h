// SPDX-License-Identifier: MIT
#pragma once

#include "schema/Schema.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <boost/intrusive_ptr.hpp>

#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>

namespace test {

using SchemaPtr = boost::intrusive_ptr<json::Schema>;

/// The value of a JSON text.
inline json::Variant value_of(const std::string& text) { return json::JsonParser::parseTree(text); }

/// Puts a stream's text where a test can read it, for as long as it lives.
class CapturedStream {
public:
    explicit CapturedStream(std::ostream& stream)
        : stream_(stream), old_(stream.rdbuf(text_.rdbuf())) {}
    ~CapturedStream() { stream_.rdbuf(old_); }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;

    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::ostream& stream_;
    std::streambuf* old_;
};

/// What the library says to `std::cout` and `std::cerr` while it lives.
struct CapturedConsole {
    CapturedStream out{std::cout};
    CapturedStream err{std::cerr};
};

/// The schema of a JSON text, not registered; the texts of imports that loading makes are dropped.
inline SchemaPtr schema_of(const std::string& text) {
    const CapturedConsole console;
    return new json::Schema(text);
}

/// Registers the document of a JSON text; what that says is dropped.
inline bool import_text(const std::string& text) {
    const CapturedConsole console;
    return json::Schema::import(value_of(text));
}

inline SchemaPtr resolved(const std::string& url) { return json::Schema::resolve(url, qx::Url()); }

inline std::string text_of(const qx::Url& url) { return static_cast<const char*>(url); }

inline std::string text_of(const json::Path& path) {
    std::ostringstream out;
    out << path;
    return out.str();
}

} // namespace test
