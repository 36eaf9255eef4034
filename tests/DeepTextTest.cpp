// SPDX-License-Identifier: MIT
// A text as deep as a peer likes, on a thread with a small stack.
#include "schema/Schema.h"
#include "support/Sanitized.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <string>

namespace {

using json::JsonParser;
using json::Schema;
using json::Variant;

constexpr std::size_t kStack = 256 * 1024;
// Slower by ten under a sanitizer: as telling.
const std::size_t kLevels = test::kSanitized ? 200000 : test::share_of(5000000);

enum class Shape { Lists, Objects, Mixed };

bool is_list_level(Shape shape, std::size_t level) {
    return shape == Shape::Lists || (shape == Shape::Mixed && level % 2 == 1);
}

std::string deep_text(Shape shape) {
    std::string text;
    text.reserve(kLevels * 6 + 1);
    for (std::size_t level = 0; level < kLevels; ++level) {
        text += is_list_level(shape, level) ? "[" : "{\"a\":";
    }
    text += "1";
    for (std::size_t level = kLevels; level-- > 0;) {
        text += is_list_level(shape, level) ? "]" : "}";
    }
    return text;
}

const Variant& inside(const Variant& value) { return value.isList() ? value[0] : value["a"]; }

std::size_t depth_of(const Variant& root) {
    std::size_t depth = 0;
    for (const Variant* value = &root; value->isComposite(); value = &inside(*value)) {
        ++depth;
    }
    return depth;
}

/// What lies so many levels below.
const Variant& below(const Variant& root, std::size_t levels) {
    const Variant* value = &root;
    for (; levels > 0; --levels) {
        value = &inside(*value);
    }
    return *value;
}

/// How the text ends where the generator refuses to go deeper.
std::string printed_text(Shape shape) {
    constexpr std::size_t kPrinted = 127;
    std::string text;
    for (std::size_t level = 0; level < kPrinted; ++level) {
        text += is_list_level(shape, level) ? "[" : "{\"a\":";
    }
    text += "null";
    for (std::size_t level = kPrinted; level-- > 0;) {
        text += is_list_level(shape, level) ? "]" : "}";
    }
    return text;
}

void live_through(Shape shape) {
    JsonParser parser;
    {
        const std::string text = deep_text(shape);
        ASSERT_TRUE(parser.parse(text.data(), static_cast<int>(text.size())));
    }
    Variant value = parser.parseComplete();
    Variant copy(value);
    EXPECT_EQ(kLevels, depth_of(copy));
    Variant own;
    own.deepCopy(&value);
    EXPECT_EQ(kLevels, depth_of(own));
    EXPECT_TRUE(own == value);
    const boost::intrusive_ptr<qx::IntrusiveString> printed(value.print());
    EXPECT_EQ(printed_text(shape), printed->c_str());
    value = Variant(1);
    copy = own;
    own.attachSchema(Schema::EmptyPtr);
    EXPECT_TRUE(Schema::EmptyPtr->check(own).ok());
    const boost::intrusive_ptr<Schema> nested(
        new Schema(R"({"id":"http://deep.example/s","type":["array","integer",{"type":"object"}],)"
                   R"("items":{"$ref":"http://deep.example/s"},)"
                   R"("additionalProperties":{"$ref":"http://deep.example/s"}})"));
    Schema::import(nested);
    EXPECT_TRUE(nested->check(below(copy, kLevels - kLevels / 20)).ok());
    own = Variant();
    copy = Variant();
    parser.reset();
    EXPECT_TRUE(parser.parse("[1]"));
    EXPECT_EQ(1u, parser.parseComplete().size());
}

class DeepText : public testing::TestWithParam<Shape> {};

TEST_P(DeepText, LivesItsLifeOnASmallStack) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Shape shape = GetParam();
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, kStack));
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(
                     &thread, &attributes,
                     [](void* argument) -> void* {
                         live_through(*static_cast<Shape*>(argument));
                         return nullptr;
                     },
                     &shape));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
}

std::string name_of(const testing::TestParamInfo<Shape>& shape) {
    const char* const names[] = {"Lists", "Objects", "Mixed"};
    return names[static_cast<int>(shape.param)];
}

INSTANTIATE_TEST_SUITE_P(OfEveryShape, DeepText,
                         testing::Values(Shape::Lists, Shape::Objects, Shape::Mixed), name_of);

} // namespace
