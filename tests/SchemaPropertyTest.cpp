// SPDX-License-Identifier: MIT
// Generated schemas and values: no check throws, crashes or depends on what was checked before.
#include "schema/Schema.h"

#include "support/SchemaText.h"
#include "support/SortedText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

using json::Schema;
using json::Variant;
using test::CapturedConsole;
using test::SchemaPtr;
using test::sorted_text;
using test::text_of;
using test::value_of;

namespace {

/// JSON texts of schemas and values, made from a seed.
class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed), seed_(seed) {}

    std::string value(int depth) {
        switch (below(depth > 0 ? 9 : 7)) {
        case 0:
            return "null";
        case 1:
            return below(2) == 0 ? "true" : "false";
        case 2:
        case 3:
            return integer();
        case 4:
            return std::to_string(below(9)) + ".5";
        case 5:
        case 6:
            return '"' + text() + '"';
        case 7:
            return list(below(4), [&] { return value(depth - 1); });
        default:
            return object(below(4), [&] { return value(depth - 1); });
        }
    }

    std::string schema(int depth) {
        std::string words;
        const int count = below(5);
        for (int i = 0; i < count; ++i) {
            words += (i > 0 ? "," : "") + keyword(depth);
        }
        return "{" + words + "}";
    }

    std::string url() const { return "http://property.test/" + std::to_string(seed_); }

private:
    int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

    std::string one_of(const std::vector<std::string>& choices) {
        return choices[random_() % choices.size()];
    }

    std::string integer() {
        return one_of(
            {"0", "1", "-1", "2", "3", "10", "9223372036854775807", "-9223372036854775807", "7"});
    }
    std::string text() {
        return one_of({"", "a", "bc", "5", "127.0.0.1", "::1", "a b", "http://x.test/", "\\u00e4"});
    }
    std::string key() { return one_of({"a", "b", "c", "d"}); }
    std::string type() {
        return '"' +
               one_of({"null", "boolean", "integer", "number", "string", "object", "array", "any",
                       "unheard"}) +
               '"';
    }

    template <typename Make>
    std::string list(int count, Make make) {
        std::string items;
        for (int i = 0; i < count; ++i) {
            items += (i > 0 ? "," : "") + make();
        }
        return "[" + items + "]";
    }
    template <typename Make>
    std::string object(int count, Make make) {
        std::string entries;
        for (int i = 0; i < count; ++i) {
            entries += (i > 0 ? ",\"" : "\"") + key() + "\":" + make();
        }
        return "{" + entries + "}";
    }

    std::string keyword(int depth) {
        const auto child = [&] { return depth > 0 ? schema(depth - 1) : "{}"; };
        switch (below(24)) {
        case 0:
        case 1:
            return "\"type\":" + type();
        case 2:
            return "\"type\":" +
                   list(1 + below(3), [&] { return below(2) == 0 ? type() : child(); });
        case 3:
            return "\"enum\":" + list(below(4), [&] { return value(1); });
        case 4:
        case 5:
            return "\"properties\":" + object(1 + below(3), child);
        case 6:
            return "\"additionalProperties\":" + (below(2) == 0 ? "false" : child());
        case 7:
            return "\"items\":" + child();
        case 8:
            return "\"items\":" + list(below(3), child);
        case 9:
            return "\"additionalItems\":" + (below(2) == 0 ? "false" : child());
        case 10:
            return "\"disallow\":" + type();
        case 11:
            return "\"format\":\"" +
                   one_of({"date", "ip-address", "ipv6", "uri", "base64", "email", "else"}) + '"';
        case 12:
            return "\"extends\":\"" + one_of({"#r", "#s", "#nowhere"}) + '"';
        case 13:
            return "\"dependencies\":" +
                   object(1 + below(2), [&] { return below(2) == 0 ? child() : "[\"a\"]"; });
        case 14:
            return "\"$ref\":\"" + one_of({"#r", "#s", "#nowhere"}) + '"';
        case 15:
            return "\"minimum\":" + integer();
        case 16:
            return "\"maximum\":" + integer();
        case 17:
            return "\"divisibleBy\":" + integer();
        case 18:
            return "\"minItems\":" + std::to_string(below(3));
        case 19:
            return "\"uniqueItems\":" + value(0);
        case 20:
            return "\"minLength\":" + std::to_string(below(4));
        case 21:
            return "\"required\":true";
        case 22:
            return "\"default\":" + value(1);
        default:
            return "\"id\":\"" + one_of({"#r", "#s"}) + '"';
        }
    }

    std::mt19937 random_;
    unsigned seed_;
};

std::string told(const Schema::ValidationResult& result) {
    std::ostringstream out;
    out << result.code << ' ' << result.schema << ' ' << text_of(result.path) << ' '
        << sorted_text(result.detail);
    return out.str();
}

} // namespace

TEST(SchemaProperty, ACheckIsTheSameTwiceAndAfterAPrintAndAParse) {
    int passed = 0;
    int failed = 0;
    for (unsigned seed = 1; seed <= 400; ++seed) {
        Generator generator(seed);
        const std::string document = generator.schema(3);
        const std::string others = "[" + generator.schema(2) + "," + generator.schema(2) + "]";
        const CapturedConsole console;
        const Schema schema(value_of(document), generator.url());
        const Schema rest(value_of(R"({"items":)" + others + "}"), generator.url());
        for (int i = 0; i < 8; ++i) {
            const std::string text = generator.value(3);
            const std::string told_of =
                "seed " + std::to_string(seed) + "\n" + document + "\n" + others + "\n" + text;
            const Variant value = value_of(text);
            const std::string first = told(schema.validate(value));
            EXPECT_EQ(first, told(schema.validate(value))) << told_of;
            EXPECT_EQ(sorted_text(text), sorted_text(value)) << "a check changes nothing\n"
                                                             << told_of;
            const auto& result = schema.validationResult();
            if (result.ok() && result.schema == nullptr) {
                ++passed;
                const boost::intrusive_ptr<qx::IntrusiveString> printed(value.print(false));
                schema.validate(value_of(printed->c_str()));
                EXPECT_TRUE(result.ok() && result.schema == nullptr) << told_of;
            } else {
                ++failed;
            }
        }
    }
    EXPECT_GT(passed, 300);
    EXPECT_GT(failed, 300);
}

TEST(SchemaProperty, ADefaultIsMadeForEverySchemaAndIsTheSameTwice) {
    for (unsigned seed = 1001; seed <= 1400; ++seed) {
        Generator generator(seed);
        const std::string document = generator.schema(3);
        const CapturedConsole console;
        const Schema schema(value_of(document), generator.url());
        const std::string first = sorted_text(schema.autoValue());
        EXPECT_EQ(first, sorted_text(schema.autoValue())) << seed << "\n" << document;
    }
}

TEST(SchemaProperty, ABoundValueReadsTheDefaultsOfItsPlacesAndStaysAsItIs) {
    for (unsigned seed = 2001; seed <= 2300; ++seed) {
        Generator generator(seed);
        const std::string document = generator.schema(3);
        const std::string text = generator.value(3);
        const CapturedConsole console;
        const SchemaPtr schema(new Schema(value_of(document), generator.url()));
        const Variant value = value_of(text);
        value.attachSchema(schema);
        static_cast<void>(value["missing"]);
        static_cast<void>(value[7]);
        static_cast<void>(value.validate());
        EXPECT_EQ(sorted_text(text), sorted_text(value)) << seed << "\n" << document;
        Variant written(value);
        written["a"][1]["b"] = seed;
        EXPECT_EQ(seed, static_cast<const Variant&>(written)["a"][1]["b"].integerValue());
        EXPECT_EQ(sorted_text(document), sorted_text(Variant(schema->definition()))) << seed;
    }
}

TEST(SchemaProperty, EveryPrefixOfADocumentLoads) {
    const std::string text =
        R"({"id":"http://property.test/prefix","type":["array",{"type":"null"}],
        "items":[{"enum":[1,"a"]}],"properties":{"a":{"$ref":"#b"}},"default":{"x":[1.5]}})";
    const CapturedConsole console;
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const Schema schema(text.c_str(), static_cast<int>(length));
        EXPECT_EQ(length < text.size(), schema.empty()) << length;
    }
}
