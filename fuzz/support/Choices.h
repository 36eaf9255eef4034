// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace fuzz {

/// Reads an input as a row of choices: what comes next, how many, which of these. An input that is
/// over goes on as zeros, so every input is a whole program of choices and none is refused.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size)
        : text_(reinterpret_cast<const char*>(data), size) {}

    bool over() const { return text_.empty(); }

    std::uint8_t byte() {
        if (text_.empty()) return 0;
        const auto first = static_cast<std::uint8_t>(text_.front());
        text_.remove_prefix(1);
        return first;
    }
    /// A number from 0 to `count` - 1, where `count` is from 1 to 256.
    std::size_t below(std::size_t count) { return byte() % count; }
    bool flag() { return (byte() & 1) != 0; }
    /// True in about `percent` of all inputs.
    bool chance(std::size_t percent) { return below(100) < percent; }

    template <typename T, std::size_t N>
    const T& pick(const T (&all)[N]) {
        static_assert(N <= 256, "one byte chooses");
        return all[below(N)];
    }

    /// Small numbers for the most part, sometimes those at the ends of types, sometimes any.
    std::int64_t integer() {
        static constexpr std::int64_t edges[] = {
            0,          1,         -1,         2,           127,           1000,
            65535,      65536,     2147483647, -2147483648, 2147483648,    4294967295,
            4294967296, 1LL << 53, INT64_MAX,  INT64_MIN,   INT64_MIN + 1, INT64_MAX - 1,
            100000,     101,       104};
        switch (below(4)) {
        case 0:
            return pick(edges);
        case 1:
            return raw<std::int64_t>();
        default:
            return static_cast<std::int8_t>(byte());
        }
    }
    double real() {
        static constexpr double edges[] = {0.0,    -0.0,   0.5,   -1.5,   1e300,
                                           -1e300, 5e-324, 1e17,  9.3e18, -9.3e18,
                                           0.1,    3.0,    1e308, 2.0,    4294967296.5};
        return flag() ? pick(edges) : raw<double>();
    }
    /// Any bytes, `most` of them at the most (`most` below 256).
    std::string bytes(std::size_t most) {
        const std::size_t length = below(most + 1);
        const std::string_view taken = text_.substr(0, length);
        text_.remove_prefix(taken.size());
        return std::string(taken);
    }
    /// All that is left.
    std::string rest() {
        const std::string taken(text_);
        text_ = {};
        return taken;
    }

private:
    template <typename T>
    T raw() {
        char bytes[sizeof(T)] = {};
        for (char& each : bytes) {
            each = static_cast<char>(byte());
        }
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    std::string_view text_;
};

} // namespace fuzz
