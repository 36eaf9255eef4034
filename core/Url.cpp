// SPDX-License-Identifier: MIT
#include "core/Url.h"

#include "core/IPAddress.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <string_view>

namespace qx {

namespace {

bool is_alpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool is_one_of(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }

bool is_unreserved(char c) { return is_alpha(c) || is_digit(c) || is_one_of(c, "-._~"); }
bool is_sub_delim(char c) { return is_one_of(c, "!$&'()*+,;="); }

/// A text in its five parts, split by the delimiters alone, so that any text has them.
struct Parts {
    bool hasScheme = false;
    bool hasAuthority = false;
    bool hasQuery = false;
    bool hasFragment = false;
    std::string_view scheme;
    std::string_view authority;
    std::string_view path;
    std::string_view query;
    std::string_view fragment;
};

bool is_scheme(std::string_view text) {
    if (text.empty() || !is_alpha(text.front())) return false;
    for (const char c : text) {
        if (!is_alpha(c) && !is_digit(c) && !is_one_of(c, "+-.")) return false;
    }
    return true;
}

Parts split(std::string_view text) {
    Parts parts;
    if (const std::size_t at = text.find('#'); at != std::string_view::npos) {
        parts.hasFragment = true;
        parts.fragment = text.substr(at + 1);
        text = text.substr(0, at);
    }
    if (const std::size_t at = text.find('?'); at != std::string_view::npos) {
        parts.hasQuery = true;
        parts.query = text.substr(at + 1);
        text = text.substr(0, at);
    }
    const std::size_t colon = text.find(':');
    if (colon != std::string_view::npos && is_scheme(text.substr(0, colon))) {
        parts.hasScheme = true;
        parts.scheme = text.substr(0, colon);
        text = text.substr(colon + 1);
    }
    if (text.substr(0, 2) == "//") {
        parts.hasAuthority = true;
        const std::size_t end = text.find('/', 2);
        parts.authority = text.substr(2, end == std::string_view::npos ? end : end - 2);
        text = text.substr(std::min(end, text.size()));
    }
    parts.path = text;
    return parts;
}

/// Where the text ends without its last slashes, of which those before the path stay.
std::size_t end_without_slashes(std::string_view text) {
    const auto start = static_cast<std::size_t>(split(text).path.data() - text.data());
    std::size_t end = text.size();
    while (end > start && text[end - 1] == '/') {
        --end;
    }
    return end;
}

/// Whether the text holds only unreserved characters, sub-delimiters, percent triples and `extra`.
bool consists_of(std::string_view text, std::string_view extra) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            if (i + 2 >= text.size() || !is_hex(text[i + 1]) || !is_hex(text[i + 2])) return false;
            i += 2;
        } else if (!is_unreserved(text[i]) && !is_sub_delim(text[i]) &&
                   !is_one_of(text[i], extra)) {
            return false;
        }
    }
    return true;
}

bool is_future_address(std::string_view text) {
    if (text.empty() || (text.front() != 'v' && text.front() != 'V')) return false;
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos || dot < 2 || dot + 1 == text.size()) return false;
    for (const char c : text.substr(1, dot - 1)) {
        if (!is_hex(c)) return false;
    }
    for (const char c : text.substr(dot + 1)) {
        if (!is_unreserved(c) && !is_sub_delim(c) && c != ':') return false;
    }
    return true;
}

bool is_port(std::string_view text) {
    for (const char c : text) {
        if (!is_digit(c)) return false;
    }
    return true;
}

bool is_authority(std::string_view text) {
    if (const std::size_t at = text.rfind('@'); at != std::string_view::npos) {
        if (!consists_of(text.substr(0, at), ":")) return false;
        text = text.substr(at + 1);
    }
    if (!text.empty() && text.front() == '[') {
        const std::size_t close = text.find(']');
        if (close == std::string_view::npos) return false;
        const std::string_view literal = text.substr(1, close - 1);
        if (!IPAddress(std::string(literal)).isIPv6() && !is_future_address(literal)) return false;
        text = text.substr(close + 1);
        return text.empty() || (text.front() == ':' && is_port(text.substr(1)));
    }
    const std::size_t colon = text.rfind(':');
    if (colon != std::string_view::npos) {
        if (!is_port(text.substr(colon + 1))) return false;
        text = text.substr(0, colon);
    }
    return consists_of(text, "");
}

bool is_path(const Parts& parts) {
    if (!consists_of(parts.path, ":@/")) return false;
    if (parts.hasAuthority) return parts.path.empty() || parts.path.front() == '/';
    // Without a scheme a colon in the first segment would read as one.
    const std::string_view first = parts.path.substr(0, parts.path.find('/'));
    return parts.hasScheme || first.find(':') == std::string_view::npos;
}

bool is_valid(const Parts& parts) {
    return (!parts.hasAuthority || is_authority(parts.authority)) && is_path(parts) &&
           consists_of(parts.query, ":@/?") && consists_of(parts.fragment, ":@/?");
}

std::string remove_dot_segments(std::string_view input) {
    std::string output;
    const auto starts = [&](std::string_view prefix) {
        return input.substr(0, prefix.size()) == prefix;
    };
    const auto drop_last = [&] {
        const std::size_t slash = output.rfind('/');
        output.erase(slash == std::string::npos ? 0 : slash);
    };
    while (!input.empty()) {
        if (starts("../")) {
            input.remove_prefix(3);
        } else if (starts("./") || starts("/./")) {
            input.remove_prefix(2);
        } else if (input == "/.") {
            input = "/";
        } else if (starts("/../")) {
            input.remove_prefix(3);
            drop_last();
        } else if (input == "/..") {
            input = "/";
            drop_last();
        } else if (input == "." || input == "..") {
            input = {};
        } else {
            const std::size_t end = input.find('/', 1);
            output += input.substr(0, end);
            input = input.substr(std::min(end, input.size()));
        }
    }
    return output;
}

std::string merge_paths(const Parts& base, std::string_view path) {
    if (base.hasAuthority && base.path.empty()) return "/" + std::string(path);
    const std::size_t slash = base.path.rfind('/');
    std::string merged(slash == std::string_view::npos ? std::string_view()
                                                       : base.path.substr(0, slash + 1));
    return merged.append(path);
}

std::string compose(const Parts& parts, std::string_view path) {
    std::string text;
    if (parts.hasScheme) text.append(parts.scheme).append(":");
    if (parts.hasAuthority) text.append("//").append(parts.authority);
    text.append(path);
    if (parts.hasQuery) text.append("?").append(parts.query);
    if (parts.hasFragment) text.append("#").append(parts.fragment);
    return text;
}

/// Resolution as RFC 3986 states it in its section 5.2.2.
std::string resolve(Parts reference, const Parts& base) {
    if (reference.hasScheme) return compose(reference, remove_dot_segments(reference.path));
    reference.hasScheme = base.hasScheme;
    reference.scheme = base.scheme;
    if (reference.hasAuthority) return compose(reference, remove_dot_segments(reference.path));
    reference.hasAuthority = base.hasAuthority;
    reference.authority = base.authority;
    if (reference.path.empty()) {
        if (!reference.hasQuery) {
            reference.hasQuery = base.hasQuery;
            reference.query = base.query;
        }
        return compose(reference, base.path);
    }
    if (reference.path.front() == '/') {
        return compose(reference, remove_dot_segments(reference.path));
    }
    return compose(reference, remove_dot_segments(merge_paths(base, reference.path)));
}

} // namespace

Url::Url() = default;
Url::Url(const char* text) : text_(text != nullptr ? text : "") {}
Url::Url(const std::string& text) : text_(text) {}
Url::Url(const Url& source) = default;
Url& Url::operator=(const Url& source) = default;
Url::~Url() = default;

bool Url::absolute() const {
    const Parts parts = split(text_);
    return parts.hasScheme && is_valid(parts);
}

bool Url::relative() const {
    const Parts parts = split(text_);
    return !parts.hasScheme && is_valid(parts);
}

Url Url::operator/(const char* path) const { return joined(path != nullptr ? path : ""); }
Url Url::operator/(const std::string& path) const { return joined(path); }

Url Url::joined(std::string_view path) const {
    if (path.empty()) return *this;
    std::size_t kept = text_.size();
    const char* seam = "";
    if (path.front() == '#') {
        kept = std::min(kept, text_.find('#'));
    } else if (path.front() != '?') {
        if (kept > 0 && text_[kept - 1] == '/') kept = end_without_slashes(text_);
        path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
        seam = "/";
    }
    Url url; // made at its full length: each call of a method asks for two of them
    url.text_.reserve(kept + 1 + path.size());
    url.text_.append(text_, 0, kept).append(seam).append(path);
    return url;
}

Url Url::operator%(const char* base) const {
    const std::string_view against(base != nullptr ? base : "");
    if (against.empty()) return *this;
    return Url(resolve(split(text_), split(against)));
}

Url Url::operator%(const std::string& base) const { return *this % base.c_str(); }

bool operator==(const Url& left, const Url& right) { return std::strcmp(left, right) == 0; }
bool operator==(const Url& left, const char* right) { return left == Url(right); }
bool operator==(const char* left, const Url& right) { return right == left; }
bool operator!=(const Url& left, const Url& right) { return !(left == right); }
bool operator!=(const Url& left, const char* right) { return !(left == right); }
bool operator!=(const char* left, const Url& right) { return !(right == left); }

std::ostream& operator<<(std::ostream& out, const Url& url) {
    return out << static_cast<const char*>(url);
}

} // namespace qx
