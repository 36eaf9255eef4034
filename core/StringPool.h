// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "core/detail/ProcessLock.h"
#include "core/detail/SeededHash.h"

#include <boost/intrusive_ptr.hpp>
#include <boost/unordered_set.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace qx {

/// The hash of a key: at most 12 characters of the UTF-8 text, each cut to 16 bits, up to the first
/// NUL. Keys that agree in their first 12 characters have the same hash.
/// Bad input: a null pointer counts as the empty text; continuation bytes aren't checked, a stray
/// one counts as "?" for every character that is left, and nothing behind the NUL is read.
GATECAST_EXPORT std::size_t hash_of_text(const char* text) noexcept;

/// `hash_of_text` for each form of key.
/// Threads: any thread, as long as nobody changes the key.
template <typename K>
struct StringHash {
    /// The hash of the text; of a null pointer that of the empty text, 0.
    /// @{
    std::size_t operator()(const char* key) const noexcept { return hash_of_text(key); }
    std::size_t operator()(const IntrusiveString& key) const noexcept { return key.hash(); }
    std::size_t operator()(const boost::intrusive_ptr<IntrusiveString>& key) const noexcept {
        return key ? key->hash() : 0;
        /// @}
    }
};

/// Two keys are equal when they are the same string object.
/// Threads: any thread.
template <typename S>
struct PooledStringEquals {
    /// Whether both point at one object.
    bool operator()(const boost::intrusive_ptr<S>& left,
                    const boost::intrusive_ptr<S>& right) const noexcept {
        return left.get() == right.get();
    }
};

/// Keeps one string object for each distinct text, so that equal keys are equal pointers.
///
/// Entries are never removed: they live until the pool is destroyed, or longer where somebody holds
/// them. The caller's string object is never stored; a text ends at its first NUL.
/// Threads: locked inside.
template <typename S, typename Pointer>
class StringPool {
public:
    /// Empty.
    StringPool() : strings_(kFirstBuckets) { strings_.max_load_factor(1.0F); }
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;

    /// The pool's entry for the text. The reference stays valid while further texts are interned.
    /// Bad input: a null pointer counts as the empty text.
    /// @{
    const Pointer& intern(const char* key) {
        return intern(std::string_view(key != nullptr ? key : ""));
    }
    const Pointer& intern(const S& key) { return intern(key.c_str()); }
    const Pointer& intern(const Pointer& key) { return intern(key ? key->c_str() : ""); }
    const Pointer& intern(const std::string& key) { return intern(std::string_view(key)); }
    /// Needs no NUL behind the text.
    const Pointer& intern(std::string_view key) {
        const detail::ProcessLock<std::mutex> lock(mutex_);
        // Documents repeat few keys: most of them are found without a hash.
        const Shape shape(key);
        std::array<Recent, 2>& recent = recent_[shape.place()];
        for (const Recent& known : recent) {
            if (known.shape == shape && view(*known.entry) == key) return *known.entry;
        }
        key = key.substr(0, key.find('\0'));
        auto found = strings_.find(key, TextHash(), TextEquals());
        if (found == strings_.end()) {
            found = strings_.insert(Pointer(new S(key.data(), key.size()))).first;
        }
        if (key.size() == shape.size) recent = {Recent{shape, &*found}, recent[0]};
        return *found;
    }
    /// @}

    /// Whether an entry with that text is there, without making one.
    bool contains(std::string_view key) const {
        const detail::ProcessLock<std::mutex> lock(mutex_);
        return strings_.find(key.substr(0, key.find('\0')), TextHash(), TextEquals()) !=
               strings_.end();
    }

    /// Distinct texts that were interned so far.
    std::size_t size() const {
        const detail::ProcessLock<std::mutex> lock(mutex_);
        return strings_.size();
    }

private:
    static constexpr std::size_t kFirstBuckets = 11;

    static constexpr std::size_t kShapes = 256;

    /// The length of a text, its first and its last 8 bytes: few keys of a document agree in that.
    /// Who makes them agree gains nothing: then they are found by the hash.
    struct Shape {
        Shape() = default;
        explicit Shape(std::string_view key) noexcept : size(key.size()) {
            if (size >= 8) {
                std::memcpy(&first, key.data(), 8);
                std::memcpy(&last, key.data() + size - 8, 8);
            } else if (size >= 4) {
                std::memcpy(&first, key.data(), 4);
                std::memcpy(&last, key.data() + size - 4, 4);
            } else {
                for (const char c : key) {
                    first = first << 8 | static_cast<unsigned char>(c);
                }
            }
        }
        std::size_t place() const noexcept {
            const std::uint64_t mixed = (first ^ (last << 29 | last >> 35)) + size;
            return static_cast<std::size_t>((mixed * 0x9e3779b97f4a7c15u) >> 56) % kShapes;
        }
        bool operator==(const Shape& right) const noexcept {
            return size == right.size && first == right.first && last == right.last;
        }

        std::size_t size = static_cast<std::size_t>(-1); // of no key
        std::uint64_t first = 0;
        std::uint64_t last = 0;
    };
    struct Recent {
        Shape shape; // what it was: somebody may have changed the text since then
        const Pointer* entry = nullptr;
    };

    static std::string_view view(const Pointer& key) noexcept {
        return {key->c_str(), key->length()};
    }

    // Not the hash of a key: many keys of a peer may begin alike.
    struct TextHash {
        std::size_t operator()(std::string_view key) const noexcept {
            return detail::seeded_hash(key);
        }
        std::size_t operator()(const Pointer& key) const noexcept { return (*this)(view(key)); }
    };
    struct TextEquals {
        bool operator()(std::string_view left, const Pointer& right) const noexcept {
            return left == view(right);
        }
        bool operator()(const Pointer& left, std::string_view right) const noexcept {
            return view(left) == right;
        }
        bool operator()(const Pointer& left, const Pointer& right) const noexcept {
            return view(left) == view(right);
        }
    };

    mutable std::mutex mutex_;
    boost::unordered_set<Pointer, TextHash, TextEquals> strings_; // entries never move
    std::array<std::array<Recent, 2>, kShapes> recent_;           // the latest two of each shape
};

/// The pool of keys of the whole program, built on first use and never destroyed.
GATECAST_EXPORT StringPool<IntrusiveString, boost::intrusive_ptr<IntrusiveString>>&
global_string_pool();

} // namespace qx
