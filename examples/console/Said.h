// SPDX-License-Identifier: MIT
#pragma once

#include "shared/PlainText.h"
#include "json/Variant.h"

#include <cmath>
#include <locale>
#include <sstream>
#include <string>

namespace console {

/// One thing that the console says, as an object for programs: `{"type":"door","value":"open"}`.
/// Its members stand in the order in which they were told, and its text is one line.
class Said {
public:
    explicit Said(const std::string& type) : type_(type) { with("type", type); }

    Said& with(const std::string& key, const json::Variant& value) {
        text_ += (text_.empty() ? "" : ",") + printed(json::Variant(key)) + ":" + printed(value);
        return *this;
    }
    Said& with(const std::string& key, const std::string& value) {
        return with(key, json::Variant(value));
    }
    Said& with(const std::string& key, const char* value) {
        return with(key, json::Variant(value));
    }
    /// A number with as many digits as a person reads, not as a computer knows.
    Said& withNumber(const std::string& key, double value) {
        std::ostringstream number;
        number.imbue(std::locale::classic());
        number << value;
        text_ += ",\"" + key + "\":" + (std::isfinite(value) ? number.str() : "null");
        return *this;
    }

    const std::string& type() const { return type_; }
    std::string text() const { return "{" + text_ + "}"; }

private:
    static std::string printed(const json::Variant& value) {
        qx::IntrusiveString text;
        value.print(text);
        return shared::plainJson(std::string(text.c_str(), text.length()));
    }

    std::string type_;
    std::string text_; // the members
};

} // namespace console
