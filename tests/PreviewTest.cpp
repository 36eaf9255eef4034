// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "support/Phone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using qx::GatecastConversation;
using test::Phone;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using namespace std::string_literals;

static_assert(std::is_same_v<boost::shared_ptr<std::string>,
                             decltype(std::declval<Phone>().downloadLivePreviewImage(1, 2, true))>);

namespace {

using Image = boost::shared_ptr<std::string>;

constexpr unsigned long long kLiveKey = 9223372036854775807ULL;

Image cached(Phone& phone, unsigned long long key) { return phone.previewCache->get(key); }

/// A header update answers the request of the id with a picture.
void answer(Phone& phone, int id, const std::string& binary) {
    phone.update(R"({"result":true,"id":)" + std::to_string(id) + "}", binary);
}

} // namespace

// ----- Asking ------------------------------------------------------------------------------------

TEST(Preview, IsAskedForWhenTheCacheHasNone) {
    Phone phone;
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 320, 240, true));
    EXPECT_THAT(phone.takeSent(),
                ElementsAre(R"({"id":1000,"method":"preview_message","params":[7,320,240]})"));
    EXPECT_THAT(phone.previewKeyByRequest, ElementsAre(Pair(1000, 7)));
    EXPECT_THAT(phone.previewRequestByKey, ElementsAre(Pair(7, 1000)));
}

TEST(Preview, IsOneOfTheLiveViewForANegativeKey) {
    const struct {
        long long key;
        const char* request;
    } rows[] = {
        {0, R"({"id":1000,"method":"preview_message","params":[0,1,2]})"},
        {9223372036854775807LL,
         R"({"id":1000,"method":"preview_message","params":[9223372036854775807,1,2]})"},
        {-1, R"({"id":1000,"method":"preview_live","params":[1,2]})"},
        {-9223372036854775807LL - 1, R"({"id":1000,"method":"preview_live","params":[1,2]})"},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.downloadMailPreviewImage(row.key, 1, 2, true);
        EXPECT_EQ(row.request, phone.sentText(0)) << row.key;
        EXPECT_THAT(phone.previewRequestByKey, ElementsAre(Pair(row.key, 1000))) << row.key;
    }
}

TEST(Preview, OfTheLiveViewIsNotedUnderTheKeyMinusOne) {
    Phone phone;
    EXPECT_EQ(nullptr, phone.downloadLivePreviewImage(320, 240, true));
    EXPECT_EQ(R"({"id":1000,"method":"preview_live","params":[320,240]})", phone.sentText(0));
    EXPECT_THAT(phone.previewKeyByRequest, ElementsAre(Pair(1000, -1)));
    EXPECT_THAT(phone.previewRequestByKey, ElementsAre(Pair(-1, 1000)));
}

TEST(Preview, IsAskedForOnceWhileItIsOnItsWay) {
    Phone phone;
    for (const bool useCache : {true, true, false}) {
        EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, useCache));
        EXPECT_EQ(nullptr, phone.downloadLivePreviewImage(1, 2, useCache));
    }
    EXPECT_EQ(2u, phone.sent.size());
    phone.downloadMailPreviewImage(8, 1, 2, true);
    EXPECT_EQ(3u, phone.sent.size());
}

TEST(Preview, ComesFromTheCacheWithoutARequest) {
    Phone phone;
    const Image image = boost::make_shared<std::string>("picture");
    phone.previewCache->put(7, image);
    EXPECT_EQ(image, phone.downloadMailPreviewImage(7, 1, 2, true));
    EXPECT_THAT(phone.sent, IsEmpty());
    EXPECT_THAT(phone.previewRequestByKey, IsEmpty());
}

TEST(Preview, IsDroppedAndAskedForAnewWithoutTheCache) {
    Phone phone;
    phone.previewCache->putCopy(7, "old");
    phone.previewCache->putCopy(kLiveKey, "old");
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, false));
    EXPECT_EQ(nullptr, cached(phone, 7));
    EXPECT_EQ(nullptr, phone.downloadLivePreviewImage(1, 2, false));
    EXPECT_EQ(nullptr, cached(phone, kLiveKey));
    EXPECT_EQ(2u, phone.sent.size());
}

TEST(Preview, IsDroppedWithoutARequestWhileAnotherIsOnItsWay) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.previewCache->putCopy(7, "old");
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, false));
    EXPECT_EQ(nullptr, cached(phone, 7));
    EXPECT_EQ(1u, phone.sent.size());
}

// ----- Arriving ----------------------------------------------------------------------------------

TEST(Preview, ArrivesWithAHeaderUpdate) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    answer(phone, 1000, "\xFF\xD8 picture");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(7, \xFF\xD8 picture)"));
    EXPECT_THAT(phone.previewKeyByRequest, IsEmpty());
    EXPECT_THAT(phone.previewRequestByKey, IsEmpty());
    ASSERT_EQ(1u, phone.images.size());
    EXPECT_EQ(phone.images[0], cached(phone, 7)) << "shared with the cache";
    EXPECT_EQ(phone.images[0], phone.downloadMailPreviewImage(7, 1, 2, true));
}

TEST(Preview, ArrivesWithATextThatHoldsIt) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.receive(R"({"binary-attachment-list":["picture","another"],"id":1000})");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(7, picture)"));
}

TEST(Preview, OfTheLiveViewArrivesUnderItsOneEntry) {
    Phone phone;
    phone.downloadLivePreviewImage(1, 2, true);
    answer(phone, 1000, "first");
    EXPECT_EQ("first", *cached(phone, kLiveKey));
    EXPECT_EQ("first", *phone.downloadLivePreviewImage(3, 4, true)) << "of any age";
    EXPECT_EQ(1u, phone.sent.size());

    EXPECT_EQ(nullptr, phone.downloadLivePreviewImage(1, 2, false));
    answer(phone, 1001, "second");
    EXPECT_THAT(phone.told, ElementsAre("livePreviewReady(first)", "livePreviewReady(second)"));
    EXPECT_EQ("second", *cached(phone, kLiveKey));
    EXPECT_EQ(1u, phone.previewCache->size());
}

TEST(Preview, OfTheKeyZeroIsOneOfAMessage) {
    Phone phone;
    phone.downloadMailPreviewImage(0, 1, 2, true);
    answer(phone, 1000, "picture");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(0, picture)"));
    EXPECT_EQ("picture", *cached(phone, 0));
}

TEST(Preview, OfANegativeKeyIsOneOfTheLiveView) {
    Phone phone;
    phone.downloadMailPreviewImage(-5, 1, 2, true);
    answer(phone, 1000, "picture");
    EXPECT_THAT(phone.told, ElementsAre("livePreviewReady(picture)"));
    EXPECT_EQ("picture", *cached(phone, kLiveKey));
    EXPECT_THAT(phone.previewRequestByKey, IsEmpty());
}

// A message of the largest key and the live view have one place in the cache.
TEST(Preview, OfTheLargestKeyIsOneOfAMessageInThePlaceOfTheLiveView) {
    Phone phone;
    phone.downloadMailPreviewImage(9223372036854775807LL, 1, 2, true);
    answer(phone, 1000, "picture");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(9223372036854775807, picture)"));
    EXPECT_EQ("picture", *phone.downloadLivePreviewImage(1, 2, true));
    EXPECT_EQ(1u, phone.sent.size());
}

TEST(Preview, ArrivesInAnotherOrderThanItWasAskedFor) {
    Phone phone;
    for (const long long key : {10, 11, 12}) {
        phone.downloadMailPreviewImage(key, 1, 2, true);
    }
    answer(phone, 1002, "c");
    answer(phone, 1000, "a");
    answer(phone, 1001, "b");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(12, c)", "mailPreviewReady(10, a)",
                                        "mailPreviewReady(11, b)"));
    EXPECT_EQ("b", *cached(phone, 11));
}

TEST(Preview, BeginsAtItsFirstByteFF) {
    const struct {
        std::string bytes;
        std::string image;
    } rows[] = {
        {"\xFF\xD8 picture", "\xFF\xD8 picture"},
        {"header\r\n\r\n\xFF\xD8 picture", "\xFF\xD8 picture"},
        {"\0\0\xFF\xD8\0\xFF\xD9"s, "\xFF\xD8\0\xFF\xD9"s},
        {"tail\xFF", "\xFF"},
        {"no picture", "no picture"},
        {"\0"s, "\0"s},
        {"\xFE\x7F", "\xFE\x7F"},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.downloadMailPreviewImage(7, 1, 2, true);
        answer(phone, 1000, row.bytes);
        ASSERT_EQ(1u, phone.images.size());
        EXPECT_EQ(row.image, *phone.images[0]);
        EXPECT_EQ(row.image, *cached(phone, 7));
    }
}

TEST(Preview, MayBeEmpty) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.receive(R"({"binary-attachment-list":[""],"id":1000})");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(7, )"));
    EXPECT_NE(nullptr, cached(phone, 7));
}

TEST(Preview, ThatIsNoTextIsTakenAsItsText) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.receive(R"({"binary-attachment-list":[{"a":[1]}],"id":1000})");
    EXPECT_THAT(phone.told, ElementsAre(R"(mailPreviewReady(7, {"a":[1]}))"));
}

TEST(Preview, CanBeAskedForAgainAfterAnAnswerWithoutOne) {
    for (const char* members :
         {R"("result":true)", R"("result":null,"error":[5,"no"])", R"("binary-attachment-list":[])",
          R"("binary-attachment-list":"picture")", R"("binary-attachment-list":{"0":"picture"})"}) {
        Phone phone;
        phone.downloadMailPreviewImage(7, 1, 2, true);
        phone.receive("{"s + members + R"(,"id":1000})");
        EXPECT_THAT(phone.told, IsEmpty()) << members;
        EXPECT_THAT(phone.previewKeyByRequest, IsEmpty()) << members;
        EXPECT_EQ(0u, phone.previewCache->size()) << members;
        EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, true)) << members;
        EXPECT_EQ(2u, phone.sent.size()) << members;
    }
}

TEST(Preview, ArrivesAlsoWithAnError) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.update(R"({"result":null,"error":[5,"late"],"id":1000})", "picture");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(7, picture)"));
}

TEST(Preview, StaysOnItsWayAfterError24) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.update(R"({"result":null,"error":[24,"busy"],"id":1000})", "picture");
    EXPECT_THAT(phone.told, IsEmpty());
    EXPECT_THAT(phone.previewKeyByRequest, ElementsAre(Pair(1000, 7)));
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, true));
    EXPECT_EQ(1u, phone.sent.size());
}

TEST(Preview, ThatNeverArrivesBlocksItsKeyAndNoOther) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.downloadMailPreviewImage(8, 1, 2, true);
    answer(phone, 1001, "picture");
    phone.downloadMailPreviewImage(7, 1, 2, false);
    EXPECT_EQ(2u, phone.sent.size());
    EXPECT_THAT(phone.previewRequestByKey, ElementsAre(Pair(7, 1000)));
}

TEST(Preview, ThatArrivesTwiceIsToldOnce) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    answer(phone, 1000, "picture");
    answer(phone, 1000, "again"); // its request is gone, and with it the method
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(7, picture)"));
    EXPECT_EQ("picture", *cached(phone, 7));
}

// A request that the application sent itself isn't noted: its image counts as one of the live
// view, and the live view can be asked for again.
TEST(Preview, ThatNobodyNotedIsOneOfTheLiveView) {
    Phone phone;
    phone.downloadLivePreviewImage(1, 2, true);
    phone.call3("preview_message", 7, 1, 2, 500);
    answer(phone, 500, "picture");
    EXPECT_THAT(phone.told, ElementsAre("livePreviewReady(picture)"));
    EXPECT_THAT(phone.previewRequestByKey, IsEmpty());
    EXPECT_THAT(phone.previewKeyByRequest, ElementsAre(Pair(1000, -1)));
}

// The key is noted when the request has left, so an answer from inside can't be joined to it.
TEST(Preview, ThatArrivesBeforeItsRequestHasLeftIsOneOfTheLiveView) {
    Phone phone;
    phone.whenSent = [&](const std::string&) { answer(phone, 1000, "picture"); };
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, true));
    EXPECT_THAT(phone.told, ElementsAre("livePreviewReady(picture)"));
    EXPECT_THAT(phone.previewRequestByKey, ElementsAre(Pair(7, 1000)));
}

TEST(Preview, IsInTheCacheBeforeTheApplicationIsTold) {
    Phone phone;
    std::vector<Image> seen;
    phone.whenTold = [&](const std::string&) {
        seen.push_back(phone.downloadMailPreviewImage(7, 1, 2, true));
        seen.push_back(phone.downloadLivePreviewImage(1, 2, true));
    };
    phone.downloadLivePreviewImage(1, 2, true);
    phone.downloadMailPreviewImage(7, 1, 2, true);
    answer(phone, 1000, "live");
    answer(phone, 1001, "mail");
    ASSERT_EQ(4u, seen.size());
    EXPECT_EQ(phone.images[0], seen[1]);
    EXPECT_EQ(phone.images[1], seen[2]);
    EXPECT_EQ(2u, phone.sent.size());
}

TEST(Preview, IsForgottenBeforeTheApplicationIsTold) {
    Phone phone;
    phone.whenTold = [&](const std::string&) {
        phone.whenTold = nullptr;
        phone.downloadMailPreviewImage(7, 1, 2, false);
    };
    phone.downloadMailPreviewImage(7, 1, 2, true);
    answer(phone, 1000, "first");
    answer(phone, 1001, "second");
    EXPECT_THAT(phone.told,
                ElementsAre("mailPreviewReady(7, first)", "mailPreviewReady(7, second)"));
}

// ----- The cache ---------------------------------------------------------------------------------

TEST(Preview, IsEvictedAfter120OthersUnlessItIsRead) {
    Phone phone;
    for (int key = 0; key < 120; ++key) {
        phone.downloadMailPreviewImage(key, 1, 2, true);
        answer(phone, 1000 + key, std::to_string(key));
    }
    EXPECT_EQ("0", *phone.downloadMailPreviewImage(0, 1, 2, true)) << "read, and so protected";
    phone.downloadMailPreviewImage(120, 1, 2, true);
    answer(phone, 1120, "120");
    EXPECT_EQ(120u, phone.previewCache->size());
    EXPECT_TRUE(phone.previewCache->contains(0));
    EXPECT_FALSE(phone.previewCache->contains(1));
    EXPECT_EQ("1", *phone.images[1]) << "the application still holds it";
}

TEST(Preview, IsGoneWhenTheCacheIsCleared) {
    Phone phone;
    phone.previewCache->putCopy(7, "picture");
    phone.clearPreviewCache();
    EXPECT_EQ(0u, phone.previewCache->size());
    EXPECT_EQ(120u, phone.previewCache->capacity());
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, true));
    EXPECT_EQ(1u, phone.sent.size());
}

TEST(Preview, StaysOnItsWayWhenTheCacheIsCleared) {
    Phone phone;
    phone.downloadMailPreviewImage(7, 1, 2, true);
    phone.clearPreviewCache();
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(7, 1, 2, true));
    EXPECT_EQ(1u, phone.sent.size());
    answer(phone, 1000, "picture");
    EXPECT_THAT(phone.told, ElementsAre("mailPreviewReady(7, picture)"));
}

TEST(Preview, IsNeverWrittenToADirectory) {
    Phone phone;
    phone.previewCache->putCopy(7, "picture");
    phone.usePreviewCacheDirectory("/nowhere");
    EXPECT_EQ("picture", *phone.downloadMailPreviewImage(7, 1, 2, true));
    EXPECT_EQ(120u, phone.previewCache->capacity());
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

TEST(Preview, PassesTheCapacityOnWithItsSign) {
    /// Takes what the memory cache would never come back from.
    class Capacity : public qx::MemoryCache<unsigned long long, std::string> {
    public:
        explicit Capacity(std::size_t& set) : MemoryCache(1, true), set_(set) {}
        void setCapacity(std::size_t capacity) override { set_ = capacity; }

    private:
        std::size_t& set_;
    };
    Phone phone;
    std::size_t set = 0;
    phone.previewCache =
        std::make_unique<GatecastConversation::PreviewCache>(std::make_unique<Capacity>(set));
    phone.setPreviewCacheCapacity(30);
    EXPECT_EQ(30u, set);
    phone.setPreviewCacheCapacity(-1);
    EXPECT_EQ(18446744073709551615u, set);
}

#pragma GCC diagnostic pop
