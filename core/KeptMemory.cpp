// SPDX-License-Identifier: MIT
#include "core/KeptMemory.h"

#include "core/detail/SmallBlocks.h"

#include <atomic>
#include <utility>

namespace qx {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define GATECAST_CHECKS_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
#define GATECAST_CHECKS_MEMORY 1
#endif
#endif

#ifdef GATECAST_CHECKS_MEMORY
constexpr std::size_t kKept = 0;
#else
constexpr std::size_t kKept = std::size_t{2} << 20;
#endif

// Blocks of one kind are of one size, some words. Nothing is rounded: an object that was made by
// `::new` has no byte more than its size.
constexpr std::size_t kStep = sizeof(void*);
constexpr std::size_t kKinds = 21;
constexpr std::size_t kLargest = (kKinds - 1) * kStep;

struct Block {
    Block* next;
};

/// What one thread keeps. It has no destructor, since objects are made and destroyed to the last
/// moment of a thread; another object empties it and closes it for good.
struct Store {
    enum class State : unsigned char { Unused, Open, Closed };

    Block* first[kKinds];
    std::size_t bytes;
    State state;
};

std::atomic<std::size_t> limit{kKept};
#ifdef __GLIBC__
// Found by an offset and not by a call. It has room for a library that is loaded late.
[[gnu::tls_model("initial-exec")]]
#endif
thread_local Store store{};

void release(Store& blocks) noexcept {
    for (Block*& first : blocks.first) {
        while (first != nullptr) {
            ::operator delete(std::exchange(first, first->next));
        }
    }
    blocks.bytes = 0;
}

struct Closing {
    ~Closing() {
        store.state = Store::State::Closed;
        release(store);
    }
};

/// From the first block on that a thread keeps, its end is waited for.
bool open(Store& blocks) noexcept {
    if (blocks.state == Store::State::Closed) return false;
    blocks.state = Store::State::Open;
    static thread_local const Closing closing;
    static_cast<void>(closing);
    return true;
}

constexpr bool is_kept(std::size_t size) noexcept {
    return size <= kLargest && size % kStep == 0 && size != 0;
}

} // namespace

void* detail::take_block(std::size_t size) {
    if (!is_kept(size)) return ::operator new(size);
    const std::size_t kind = size / kStep;
    Store& blocks = store;
    Block* const block = blocks.first[kind];
    if (block == nullptr) return ::operator new(size);
    blocks.first[kind] = block->next;
    __builtin_prefetch(block->next); // it will be written to next
    blocks.bytes -= size;
    return block;
}

void detail::give_block(void* block, std::size_t size) noexcept {
    Store& blocks = store;
    const bool keep = is_kept(size) &&
                      blocks.bytes + size <= limit.load(std::memory_order_relaxed) &&
                      (blocks.state == Store::State::Open || open(blocks));
    if (!keep) {
        ::operator delete(block);
        return;
    }
    Block*& first = blocks.first[size / kStep];
    first = ::new (block) Block{first};
    blocks.bytes += size;
}

void keepMemory(std::size_t bytes) noexcept { limit.store(bytes, std::memory_order_relaxed); }

std::size_t keptMemory() noexcept { return store.bytes; }

void releaseKeptMemory() noexcept { release(store); }

} // namespace qx
