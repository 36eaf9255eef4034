// SPDX-License-Identifier: MIT
// URLs made by the grammar and of any bytes, joined and resolved; addresses beside a reading of
// their own. What the headers promise holds for each.

#include "core/Url.h"
#include "core/IPAddress.h"
#include "fuzz/support/Choices.h"
#include "fuzz/support/Require.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::string text_of(const qx::Url& url) { return static_cast<const char*>(url); }

// --- Addresses

bool is_v4(const std::string& text) {
    std::size_t parts = 0;
    std::istringstream in(text + ".");
    for (std::string part; std::getline(in, part, '.'); ++parts) {
        if (part.empty() || part.size() > 3) return false;
        if (part.find_first_not_of("0123456789") != std::string::npos) return false;
        if (part.size() > 1 && part.front() == '0') return false;
        if (std::stoi(part) > 255) return false;
    }
    return parts == 4;
}

/// Counts the groups of a row such as "1:2:3", an IPv4 tail as two; -1 when it is none.
int groups(const std::string& text, bool tailAllowed) {
    if (text.empty()) return 0;
    int count = 0;
    std::size_t from = 0;
    for (;;) {
        const std::size_t colon = text.find(':', from);
        const std::string group = text.substr(from, colon - from);
        if (colon == std::string::npos && tailAllowed && is_v4(group)) return count + 2;
        if (group.empty() || group.size() > 4) return -1;
        if (group.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return -1;
        ++count;
        if (colon == std::string::npos) return count;
        from = colon + 1;
    }
}

bool is_v6(const std::string& text) {
    const std::size_t gap = text.find("::");
    if (gap == std::string::npos) return groups(text, true) == 8;
    const int front = groups(text.substr(0, gap), false);
    const int back = groups(text.substr(gap + 2), true);
    return front >= 0 && back >= 0 && front + back <= 7;
}

void check_address(const std::string& text) {
    const bool hasNul = text.find('\0') != std::string::npos;
    const qx::IPAddress address(text);
    fuzz::require(address.isIPv4() == (!hasNul && is_v4(text)), "IPv4 as read by hand", text);
    fuzz::require(address.isIPv6() == (!hasNul && is_v6(text)), "IPv6 as read by hand", text);
}

std::string make_address(fuzz::Choices& choices) {
    static constexpr const char* const pieces[] = {":",     "::",        ".",  "0", "1",
                                                   "255",   "256",       "00", "a", "ffff",
                                                   "FFFFF", "127.0.0.1", "g",  "%", ""};
    std::string text;
    for (std::size_t count = choices.below(18); count > 0; --count) {
        text += choices.pick(pieces);
    }
    return text;
}

// --- URLs

std::string make_row(fuzz::Choices& choices, const char* extra) {
    static constexpr const char* const pieces[] = {"a",   "Z", "0", "-", ".", "_",  "~",
                                                   "%2F", "!", "$", "&", "'", "(",  ")",
                                                   "*",   "+", ",", ";", "=", "..", "e3"};
    std::string text;
    for (std::size_t count = choices.below(6); count > 0; --count) {
        if (choices.chance(20) && *extra != '\0') {
            text += extra[choices.below(std::strlen(extra))];
        } else {
            text += choices.pick(pieces);
        }
    }
    return text;
}

std::string make_authority(fuzz::Choices& choices) {
    static constexpr const char* const hosts[] = {"[::1]", "[v1.a:b]", "[fe80::1:2.3.4.5]"};
    std::string text;
    if (choices.chance(20)) text += make_row(choices, ":") + "@";
    text += choices.chance(20) ? choices.pick(hosts) : make_row(choices, "");
    if (choices.chance(30)) text += ":";
    if (choices.chance(20)) text += text.back() == ':' ? "8080" : "";
    return text;
}

/// A text that follows the grammar.
std::string make_url(fuzz::Choices& choices, bool scheme) {
    static constexpr const char* const schemes[] = {"http:", "s+a-1.b:", "X:"};
    std::string text = scheme ? choices.pick(schemes) : "";
    const bool authority = choices.flag();
    if (authority) text += "//" + make_authority(choices);
    std::size_t segments = choices.below(5);
    if (!authority && segments > 0 && choices.flag()) {
        // Without an authority a path mustn't begin by two slashes, nor look like a scheme.
        text += "s";
        text += make_row(choices, scheme ? ":@" : "@");
    }
    for (; segments > 0; --segments) {
        text += "/";
        const std::string segment = make_row(choices, ":@");
        const bool doubled = segment.empty() && !authority && text.size() < 12;
        text += doubled ? "s" : segment;
    }
    if (choices.chance(30)) text += "?" + make_row(choices, ":@/?");
    if (choices.chance(30)) text += "#" + make_row(choices, ":@/?");
    return text;
}

void check_pair(const std::string& left, const std::string& right) {
    const qx::Url url(left);
    fuzz::require(!(url.absolute() && url.relative()), "absolute and relative exclude each other",
                  left);
    fuzz::require(url == qx::Url(url) && !(url != left.c_str()), "a copy is the same");
    fuzz::require(text_of(url / "") == std::string(left.c_str()), "an empty path changes nothing");
    fuzz::require(text_of(url % "") == std::string(left.c_str()), "an empty base changes nothing");
    const qx::Url joined = url / right;
    const qx::Url resolved = url % right;
    fuzz::require(text_of(joined).size() <= left.size() + right.size() + 1, "a join adds a slash");
    fuzz::require(text_of(resolved).size() <= left.size() + right.size() + 4,
                  "resolving adds delimiters only", text_of(resolved));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Choices choices(data, size);
    const std::string base = make_url(choices, true);
    const std::string reference = make_url(choices, false);
    const std::string other = make_url(choices, true);
    fuzz::require(qx::Url(base).absolute(), "the grammar makes absolute URLs", base);
    fuzz::require(qx::Url(reference).relative(), "the grammar makes references", reference);
    const qx::Url resolved = qx::Url(reference) % base;
    fuzz::require(resolved.absolute() || text_of(resolved).find("://") != std::string::npos ||
                      text_of(resolved).find(":/") != std::string::npos,
                  "a reference against a URL is a URL",
                  reference + " % " + base + " = " + text_of(resolved));
    check_pair(base, reference);
    check_pair(reference, base);
    check_pair(base, other);
    check_address(make_address(choices));
    const std::string text = choices.bytes(60);
    check_address(text);
    check_pair(base, text);
    check_pair(text, reference);
    const std::string rest = choices.rest();
    check_pair(text, rest);
    check_pair(rest, text);
    return 0;
}
