// SPDX-License-Identifier: MIT
// Optional: nothing else of the library includes it, and the library links no formatting library.
#pragma once

#include "core/IntrusiveString.h"
#include "json/Variant.h"

#include <algorithm>

#if __has_include(<version>)
#include <version>
#endif
#ifdef __cpp_lib_format
#include <format>
#endif
#if __has_include(<fmt/format.h>)
#include <fmt/format.h>
#endif

/// Values, lists and objects as arguments of `std::format`, where the standard library has it, and
/// of `fmt::format`, where <fmt/format.h> is found: `{}` writes compact JSON, `{:#}` JSON indented
/// by tabs with sorted keys, as in `fmt::print("{:#}\n", value)`.
/// A text stands in quotes, as in JSON: format `std::string(value)` for the bare text.
/// Bad input: every other form is refused, when the program is compiled if the library checks that
/// early, else by a `format_error`.
/// Threads: as for `Variant::print`.
namespace json::detail {

/// What both libraries ask for; they differ in the type of the fault only.
template <typename Fault>
struct Formatter {
    template <typename Context>
    constexpr auto parse(Context& context) {
        auto at = context.begin();
        if (at != context.end() && *at == '#') {
            pretty_ = true;
            ++at;
        }
        if (at != context.end() && *at != '}') {
            throw Fault("a JSON value is formatted by {} or {:#}");
        }
        return at;
    }

    template <typename Context>
    auto format(const Variant& value, Context& context) const {
        qx::IntrusiveString text;
        value.print(text, pretty_);
        return std::copy_n(text.c_str(), text.length(), context.out());
    }

private:
    bool pretty_ = false;
};

} // namespace json::detail

#ifdef __cpp_lib_format
template <>
struct std::formatter<json::Variant> : json::detail::Formatter<std::format_error> {};
template <>
struct std::formatter<json::List> : json::detail::Formatter<std::format_error> {};
template <>
struct std::formatter<json::Object> : json::detail::Formatter<std::format_error> {};
#endif

#ifdef FMT_VERSION
template <>
struct fmt::formatter<json::Variant> : json::detail::Formatter<fmt::format_error> {};
template <>
struct fmt::formatter<json::List> : json::detail::Formatter<fmt::format_error> {};
template <>
struct fmt::formatter<json::Object> : json::detail::Formatter<fmt::format_error> {};
#endif
