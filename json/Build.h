// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "json/Variant.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace json {

/// What stands in the braces of `json::object` and `json::list`: anything that a value is made of.
/// Braces alone aren't taken here either, since `{"a", 1}` would be the first byte of a text.
/// Threads: one at a time, like the value.
class Element {
public:
    /// The value that the constructor for that type makes.
    template <typename T, std::enable_if_t<std::is_convertible_v<T&&, Variant> &&
                                               !std::is_same_v<std::decay_t<T>, Element>,
                                           int> = 0>
    Element(T&& content) : value_(std::forward<T>(content)) {}

    /// Lives as long as the element.
    const Variant& value() const noexcept { return value_; }

private:
    Variant value_;
};

/// A key and what stands under it. Keys are texts of any kind and end at their first NUL.
/// Bad input: a null pointer is the empty key; a number or a null pointer constant doesn't compile.
/// Threads: one at a time, like the value.
class Member {
public:
    /// Keeps a copy of the key.
    template <typename K, std::enable_if_t<(std::is_convertible_v<const K&, std::string_view> &&
                                            !std::is_null_pointer_v<K>) ||
                                               std::is_same_v<K, qx::IntrusiveString>,
                                           int> = 0>
    Member(const K& key, Element element) : key_(text_of(key)), element_(std::move(element)) {}

    /// Lives as long as the member.
    /// @{
    const std::string& key() const noexcept { return key_; }
    const Variant& value() const noexcept { return element_.value(); }
    /// @}

private:
    static std::string text_of(const char* key) { return key != nullptr ? key : ""; }
    static std::string text_of(const std::string& key) { return key; }
    static std::string text_of(std::string_view key) { return std::string(key); }
    static std::string text_of(const qx::IntrusiveString& key) { return key; }

    std::string key_;
    Element element_;
};

/// @name Values that are written out
/// Braces alone can't tell: `{{"a", 1}, {"b", 2}}` is an object to one reader and a list of two
/// lists to the next, and `{}` is either. So the kind is named, at every level:
/// \code
/// const json::Variant call = json::object({
///     {"method", "trigger"},
///     {"params", json::list({"door", true, json::object({{"seconds", 2.5}})})},
///     {"id", 1000},
/// });
/// \endcode
/// Elements are shallow copies. The result has no parent and isn't dirty, like one that a
/// constructor made.
/// @{

/// An Object of these members, empty without any. A key that stands twice keeps its first place and
/// its last value, as if each member had been assigned in turn.
GATECAST_EXPORT Variant object(std::initializer_list<Member> members = {});
/// A List of these elements, empty without any.
GATECAST_EXPORT Variant list(std::initializer_list<Element> elements = {});
/// @}

} // namespace json
