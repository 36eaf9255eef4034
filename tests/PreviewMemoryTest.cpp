// SPDX-License-Identifier: MIT
// How often the bytes of a picture are copied. A program of its own: it replaces `new`.
#include "device/GatecastConversation.h"

#include "support/Phone.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

namespace {

constexpr std::size_t kPicture = 1 << 20;

std::size_t large_allocations = 0; // of a picture's size at least

void* allocate(std::size_t size) {
    if (size >= kPicture) ++large_allocations;
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

} // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

/// Writes no picture down.
class QuietPhone : public test::Phone {
    void mailPreviewReady(std::int64_t, boost::shared_ptr<std::string> image) override {
        images.push_back(image);
    }
};

/// A header update with a picture of that size behind the text.
std::string update_of(const std::string& text, const std::string& header) {
    return text + '\0' + header + std::string(kPicture, '\xFF');
}

/// The large allocations that the phone makes of an update.
std::size_t large_allocations_of(test::Phone& phone, const std::string& update) {
    const std::size_t before = large_allocations;
    phone.receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(update.data()),
                                  static_cast<unsigned int>(update.size()));
    return large_allocations - before;
}

} // namespace

TEST(PreviewMemory, TheBytesOfAPictureAreCopiedOnceOnTheirWayIntoTheCache) {
    for (const char* const header : {"", "header"}) {
        QuietPhone phone;
        const std::string event = update_of(R"({"id":102,"result":[true]})", header);
        EXPECT_EQ(1u, large_allocations_of(phone, event)) << "the attachment";
        phone.downloadMailPreviewImage(7, 1, 2, true);
        const std::string preview = update_of(R"({"id":1000,"result":true})", header);
        EXPECT_EQ(2u, large_allocations_of(phone, preview)) << "the attachment and the image";
        ASSERT_EQ(1u, phone.images.size());
        EXPECT_EQ(kPicture, phone.images[0]->size());
    }
}

TEST(PreviewMemory, APictureFromTheCacheIsNotCopied) {
    QuietPhone phone;
    phone.previewCache->put(7, boost::make_shared<std::string>(kPicture, 'x'));
    const std::size_t before = large_allocations;
    const boost::shared_ptr<std::string> image = phone.downloadMailPreviewImage(7, 1, 2, true);
    EXPECT_EQ(before, large_allocations);
    EXPECT_EQ(kPicture, image->size());
}
