// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "support/Phone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

using qx::IJsonHeaderUpdateReceiver;
using test::CountingListener;
using test::Phone;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

static_assert(std::is_abstract_v<IJsonHeaderUpdateReceiver>);
static_assert(std::is_base_of_v<qx::IInterface, IJsonHeaderUpdateReceiver>);
static_assert(std::has_virtual_destructor_v<IJsonHeaderUpdateReceiver>);

namespace {

constexpr const char* kEvent = R"({"id":101,"result":["open"]})";

/// Notes what arrives at the virtual operations before it passes it on.
class ObservedPhone : public Phone {
public:
    std::vector<std::string> calls;
    bool passOn = true;

    void readJsonText(const char* text, int size, bool complete) override {
        calls.push_back("readJsonText " + std::to_string(size) + (complete ? " complete" : ""));
        if (passOn) Phone::readJsonText(text, size, complete);
    }
    void setBinaryAttachment(const char* data, int size) override {
        calls.push_back((data != nullptr ? "setBinaryAttachment " : "setBinaryAttachment null ") +
                        std::to_string(size));
        Phone::setBinaryAttachment(data, size);
    }
};

/// A phone with a listener that keeps its responses.
struct Station {
    Phone phone;
    CountingListener listener;
    Station() { phone.registerListener(&listener); }

    /// Feeds a buffer of exactly these bytes, with nothing behind it.
    void feed(std::string_view bytes) {
        const std::unique_ptr<unsigned char[]> buffer(new unsigned char[bytes.size()]);
        std::memcpy(buffer.get(), bytes.data(), bytes.size());
        phone.receiveJsonHeaderUpdate(buffer.get(), static_cast<unsigned int>(bytes.size()));
    }
    /// The attachments of the response at the index, as texts.
    std::vector<std::string> attachments(std::size_t index) const {
        const json::Response& response = listener.responses.at(index).response;
        std::vector<std::string> texts;
        for (const json::Variant& attachment : response["binary-attachment-list"].listValue()) {
            texts.push_back(attachment.stringValue());
        }
        return texts;
    }
};

/// A region of virtual memory that repeats one block of a file, so that its size costs nothing.
class RepeatedBytes {
public:
    RepeatedBytes(char byte, std::size_t size) : size_(size), file_(std::tmpfile()) {
        const std::vector<char> block(kBlock, byte);
        std::fwrite(block.data(), 1, block.size(), file_);
        std::fflush(file_);
        base_ = static_cast<unsigned char*>(
            mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        for (std::size_t at = 0; base_ != MAP_FAILED && at < size_; at += kBlock) {
            mmap(base_ + at, std::min(kBlock, size_ - at), PROT_READ, MAP_SHARED | MAP_FIXED,
                 fileno(file_), 0);
        }
    }
    RepeatedBytes(const RepeatedBytes&) = delete;
    RepeatedBytes& operator=(const RepeatedBytes&) = delete;
    ~RepeatedBytes() {
        munmap(base_, size_);
        std::fclose(file_);
    }
    const unsigned char* data() const { return base_; }

private:
    static constexpr std::size_t kBlock = std::size_t{1} << 22;

    std::size_t size_;
    std::FILE* file_;
    unsigned char* base_;
};

} // namespace

// ----- The frame ---------------------------------------------------------------------------------

TEST(HeaderUpdate, BringsItsTextAndItsBinaryPart) {
    Station station;
    station.feed(kEvent + "\0picture"s);
    ASSERT_EQ(1u, station.listener.responses.size());
    EXPECT_EQ(R"({"binary-attachment-list":["picture"],"id":101,"result":["open"]})",
              station.listener.responseText(0));
    EXPECT_TRUE(station.phone.doorAndLightStatus().doorStatusKnown);
}

TEST(HeaderUpdate, IsAllTextWithoutAZeroByte) {
    Station station;
    station.feed(kEvent);
    EXPECT_EQ(kEvent, station.listener.responseText(0));
}

TEST(HeaderUpdate, HasNoBinaryPartBehindAZeroByteAtItsEnd) {
    Station station;
    station.feed(kEvent + "\0"s);
    EXPECT_EQ(kEvent, station.listener.responseText(0));
}

TEST(HeaderUpdate, MayHaveABinaryPartOfOneByte) {
    Station station;
    station.feed(kEvent + "\0x"s);
    station.feed(kEvent + "\0\0"s);
    EXPECT_THAT(station.attachments(0), ElementsAre("x"));
    EXPECT_THAT(station.attachments(1), ElementsAre("\0"s));
}

TEST(HeaderUpdate, EndsItsTextAtTheFirstZeroByte) {
    Station station;
    station.feed(kEvent + "\0\xFF\xD8\0\0\xFF\xD9\0"s);
    EXPECT_THAT(station.attachments(0), ElementsAre("\xFF\xD8\0\0\xFF\xD9\0"s));
}

TEST(HeaderUpdate, PassesThroughTheVirtualOperationsInTheirOrder) {
    ObservedPhone phone;
    phone.update(kEvent, "picture");
    EXPECT_THAT(phone.calls, ElementsAre("setBinaryAttachment 7", "readJsonText 28 complete",
                                         "setBinaryAttachment null 0"));
    phone.calls.clear();
    phone.update(kEvent);
    EXPECT_THAT(phone.calls, ElementsAre("readJsonText 28 complete", "setBinaryAttachment null 0"));
}

TEST(HeaderUpdate, LeavesItsBufferAsItIs) {
    Phone phone;
    const std::string before = R"({"result":{"key":"v\"al"},"id":101})"s + "\0bytes"s;
    const std::string buffer = before;
    phone.receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(buffer.data()),
                                  static_cast<unsigned int>(buffer.size()));
    EXPECT_EQ(before, buffer);
}

// ----- Before and after --------------------------------------------------------------------------

TEST(HeaderUpdate, DropsATextThatWasHalfRead) {
    Station station;
    const std::string half = R"({"result":["closed")";
    station.phone.readJsonText(half.data(), static_cast<int>(half.size()), false);
    station.feed(kEvent);
    ASSERT_EQ(1u, station.listener.responses.size());
    EXPECT_EQ(kEvent, station.listener.responseText(0));
}

TEST(HeaderUpdate, IsFollowedByOrdinaryTexts) {
    Station station;
    station.feed(kEvent + "\0picture"s);
    const std::string half = R"({"id":102,"res)";
    const std::string rest = R"(ult":[true]})";
    station.phone.readJsonText(half.data(), static_cast<int>(half.size()), false);
    station.phone.readJsonText(rest.data(), static_cast<int>(rest.size()), true);
    EXPECT_EQ(R"({"id":102,"result":[true]})", station.listener.responseText(1));
}

TEST(HeaderUpdate, LeavesNoAttachmentBehind) {
    Station station;
    station.feed(kEvent + "\0picture"s);
    EXPECT_EQ(nullptr, station.phone.binaryAttachment());
    EXPECT_EQ(0, station.phone.binaryAttachmentSize());
    station.feed(kEvent);
    EXPECT_THAT(station.attachments(1), IsEmpty());
}

// An update without a binary part sets no attachment, so one that was set before belongs to it.
TEST(HeaderUpdate, ClearsAnAttachmentThatItDidNotSet) {
    Station station;
    station.phone.setBinaryAttachment("mine", 4);
    station.feed(kEvent);
    EXPECT_THAT(station.attachments(0), ElementsAre("mine"));
    EXPECT_EQ(nullptr, station.phone.binaryAttachment());
}

TEST(HeaderUpdate, ReadsNothingWhenItIsEmptyAndClearsTheAttachment) {
    Station station;
    station.phone.setBinaryAttachment("mine", 4);
    station.phone.receiveJsonHeaderUpdate(nullptr, 0);
    EXPECT_EQ(nullptr, station.phone.binaryAttachment());
    EXPECT_THAT(station.listener.responses, IsEmpty());

    station.phone.receiveJsonHeaderUpdate(nullptr, 5);
    EXPECT_THAT(station.listener.responses, IsEmpty());
    const unsigned char byte = '7';
    station.phone.receiveJsonHeaderUpdate(&byte, 0);
    EXPECT_THAT(station.listener.responses, IsEmpty());
    station.feed(kEvent);
    EXPECT_EQ(1u, station.listener.responses.size());
}

TEST(HeaderUpdate, DropsAHalfReadTextAlsoWhenItIsEmpty) {
    Station station;
    station.phone.readJsonText("[1,", 3, false);
    station.phone.receiveJsonHeaderUpdate(nullptr, 0);
    station.feed(kEvent);
    EXPECT_EQ(kEvent, station.listener.responseText(0));
}

TEST(HeaderUpdate, DropsATextThatDoesNotParse) {
    Station station;
    for (const std::string& bytes : {"{\"result\":["s, "{]\0picture"s, "\0picture"s, "\0"s,
                                     "{} {}\0picture"s, "\xFF\0\xFF"s}) {
        station.feed(bytes);
        EXPECT_EQ(nullptr, station.phone.binaryAttachment()) << bytes;
    }
    EXPECT_THAT(station.listener.responses, IsEmpty());
    station.feed(kEvent);
    EXPECT_EQ(kEvent, station.listener.responseText(0));
}

TEST(HeaderUpdate, MayHoldAnyValue) {
    Station station;
    for (const char* text : {"null", "7", "\"text\"", "[1,2]", "{}"}) {
        station.feed(text + "\0b"s);
    }
    ASSERT_EQ(5u, station.listener.responses.size());
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(R"({"binary-attachment-list":["b"]})", station.listener.responseText(i)) << i;
    }
}

TEST(HeaderUpdate, ClearsTheAttachmentWhenAListenerThrows) {
    Station station;
    station.listener.whenHandled = [](const json::Request&, const json::Response&) {
        throw std::runtime_error("listener");
    };
    EXPECT_THROW(station.feed(kEvent + "\0picture"s), std::runtime_error);
    EXPECT_EQ(nullptr, station.phone.binaryAttachment());
    EXPECT_EQ(0, station.phone.binaryAttachmentSize());

    station.listener.whenHandled = nullptr;
    station.feed(kEvent);
    EXPECT_EQ(kEvent, station.listener.responseText(1));
}

TEST(HeaderUpdate, MayArriveInsideTheHandlingOfAnother) {
    Station station;
    station.listener.whenHandled = [&](const json::Request&, const json::Response&) {
        station.listener.whenHandled = nullptr;
        station.feed(R"({"id":102,"result":[true]})"s + "\0inner"s);
    };
    station.feed(kEvent + "\0outer"s);
    EXPECT_THAT(station.attachments(0), ElementsAre("outer"));
    EXPECT_THAT(station.attachments(1), ElementsAre("inner"));
    EXPECT_EQ(nullptr, station.phone.binaryAttachment());
}

// ----- Sizes that don't fit an int ---------------------------------------------------------------

// A plain cast would make the length negative, which means "up to the NUL": far behind the buffer.
TEST(HeaderUpdate, CutsATextThatIsTooLong) {
    constexpr unsigned int size = 0x80000010U;
    const RepeatedBytes bytes(' ', size);
    ObservedPhone phone;
    phone.passOn = false;
    phone.receiveJsonHeaderUpdate(bytes.data(), size);
    EXPECT_THAT(phone.calls,
                ElementsAre("readJsonText 2147483647 complete", "setBinaryAttachment null 0"));
}

TEST(HeaderUpdate, CutsABinaryPartThatIsTooLong) {
    constexpr unsigned int size = std::numeric_limits<unsigned int>::max();
    const RepeatedBytes zeros('\0', size);
    ObservedPhone phone;
    phone.passOn = false;
    phone.receiveJsonHeaderUpdate(zeros.data(), size);
    EXPECT_THAT(phone.calls, ElementsAre("setBinaryAttachment 2147483647",
                                         "readJsonText 0 complete", "setBinaryAttachment null 0"));
}

// ----- The interface -----------------------------------------------------------------------------

TEST(HeaderUpdate, IsReceivedThroughTheInterface) {
    Station station;
    IJsonHeaderUpdateReceiver& receiver = station.phone;
    receiver.receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(kEvent), 28);
    EXPECT_EQ(1u, station.listener.responses.size());
}

TEST(HeaderUpdate, HasAnInterfaceWithAnIdOfItsOwn) {
    EXPECT_STREQ("qx::IJsonHeaderUpdateReceiver", IJsonHeaderUpdateReceiver::ID());
    EXPECT_STREQ("qx::IInterface", qx::IInterface::ID());
}

// The object holds one root, and a query for any other id, its own too, finds nothing.
TEST(HeaderUpdate, HasOneRootInterface) {
    Phone phone;
    qx::IInterface* const root = &phone;
    EXPECT_EQ(root, phone.getInterface("qx::IInterface"));
    EXPECT_EQ(nullptr, phone.getInterface(IJsonHeaderUpdateReceiver::ID()));
    EXPECT_EQ(root, static_cast<qx::IInterface*>(static_cast<json::IResponseListener*>(&phone)));
    EXPECT_EQ(root, static_cast<qx::IInterface*>(static_cast<IJsonHeaderUpdateReceiver*>(&phone)));
}
