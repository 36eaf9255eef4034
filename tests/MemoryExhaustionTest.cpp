// SPDX-License-Identifier: MIT
// What all layers do when memory runs out: the exception passes, nothing leaks, what wasn't being
// written is as it was, and everything can still be used and destroyed.
#include "rpc/JsonServer.h"
#include "schema/Schema.h"
#include "support/FailingMemory.h"
#include "support/Phone.h"
#include "support/SchemaText.h"
#include "support/SortedText.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/Path.h"
#include "json/Variant.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

namespace {

using json::JsonParser;
using json::Schema;
using json::Variant;
using test::AllocationLimit;
using test::allocations_held;
using test::sorted_text;

const char* const kText =
    R"({"list":[1,2.5,"a text that needs room of its own",{"k":[[]]}],)"
    R"("object":{"a":{"b":{"c":"another text that needs room"}}},"number":7})";

/// Builds a state, does something to it while allocations fail one after the other, and looks
/// whether everything went as it was allocated. `check` sees the state after each failure.
/// Returns how often it failed.
template <typename Make, typename Act, typename Check>
int exhaust(const Make& make, const Act& act, const Check& check) {
    {
        auto state = make();
        act(*state); // keys are interned once, and rooms of the process are made
        check(*state);
    }
    for (std::size_t count = 0;; ++count) {
        const std::ptrdiff_t before = allocations_held;
        bool failed = true;
        {
            auto state = make();
            try {
                const AllocationLimit limit(count);
                act(*state);
                failed = false;
            } catch (const std::bad_alloc&) {
            }
            if (failed) check(*state);
        }
        EXPECT_EQ(before, allocations_held) << "leak at allocation " << count;
        if (!failed || testing::Test::HasFailure()) return static_cast<int>(count);
    }
}

/// What the process keeps is made as it was, before and after.
struct Restored {
    explicit Restored(std::function<void()> how) : restore(std::move(how)) { restore(); }
    ~Restored() { restore(); }
    std::function<void()> restore;
};

template <typename How>
auto restored(How how) {
    return [how] { return std::make_unique<Restored>(how); };
}

/// The library tells of imports and faults on the standard streams.
class MemoryExhaustion : public testing::Test {
protected:
    MemoryExhaustion() : out_(std::cout.rdbuf(nullptr)), err_(std::cerr.rdbuf(nullptr)) {}
    ~MemoryExhaustion() override {
        std::cout.rdbuf(out_);
        std::cout.clear();
        std::cerr.rdbuf(err_);
        std::cerr.clear();
    }

private:
    std::streambuf* const out_;
    std::streambuf* const err_;
};

struct TwoValues {
    Variant source = JsonParser::parseTree(kText);
    Variant copy{source};
};

std::unique_ptr<TwoValues> two_values() { return std::make_unique<TwoValues>(); }

/// Changes the copy; the source keeps its value, whatever happens.
template <typename Act>
int exhaust_copy(const Act& act) {
    const std::string expected = sorted_text(JsonParser::parseTree(kText));
    return exhaust(
        two_values, [&](TwoValues& values) { act(values.copy); },
        [&](TwoValues& values) {
            EXPECT_EQ(expected, sorted_text(values.source));
            sorted_text(values.copy); // whatever it is, it can be read
            values.copy = values.source;
            EXPECT_EQ(expected, sorted_text(values.copy));
        });
}

TEST_F(MemoryExhaustion, LeavesAValueAsItWasWhileItsCopyIsChanged) {
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy["list"][1] = "changed"; }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy["object"]["a"]["b"]["new"][5] = 1; }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy["list"] << copy["object"] << "more"; }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy.objectValue().rename("list", "fresh"); }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) {
                  copy["list"].listValue().insert(copy["list"].listValue().begin(), copy["number"]);
              }));
    EXPECT_LT(1, exhaust_copy(
                     [](Variant& copy) { copy["list"].listValue().resize(100, copy["object"]); }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy.deepCopy(); }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy["number"].stringValue(); }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy["number"].convertToList(); }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) { copy["list"].convertToString(); }));
    EXPECT_LT(1,
              exhaust_copy([](Variant& copy) { copy.select(json::Path("/object/a/b/x/2")) = 3; }));
    EXPECT_LT(
        1, exhaust_copy([](Variant& copy) { copy.objectValue() += copy["object"].objectValue(); }));
    EXPECT_LT(1, exhaust_copy([](Variant& copy) {
                  copy["list"].listValue() += json::List(copy["list"].listValue());
              }));
}

/// How often a deep copy of what shares a container with another value fails; it is left sharing.
template <typename MakeSource>
int exhaust_deep_copy(MakeSource makeSource) {
    struct Values {
        explicit Values(const Variant& shared) : source(shared), copy(shared) {}
        Variant source;
        Variant copy;
        bool unshared = false;
    };
    const auto payload = [](const Variant& value) -> const void* {
        if (value.isList()) return &value.listValue();
        return &value.objectValue();
    };
    const auto make = [&] { return std::make_unique<Values>(makeSource()); };
    const auto act = [](Values& values) {
        values.copy.deepCopy();
        values.unshared = true;
    };
    return exhaust(make, act, [&](const Values& values) {
        EXPECT_NE(values.unshared, payload(values.copy) == payload(values.source));
    });
}

TEST_F(MemoryExhaustion, ADeepCopyThatFailsLeavesItsValueWithWhatItShares) {
    EXPECT_LT(10, exhaust_deep_copy([] { return TwoValues().source; }));
}

/// A list with a schema that its elements don't know of: it was never the list's owner.
Variant list_of_unbound(int elements) {
    Variant list = [] {
        const Variant bound = Variant::newList();
        bound.attachSchema(new Schema(R"({"type":"array","items":{"type":"array","items":{}}})"));
        return Variant(bound);
    }();
    for (int i = 0; i < elements; ++i) {
        list << Variant::newList();
    }
    return list;
}

TEST_F(MemoryExhaustion, ADeepCopyThatFailsAsItBindsLeavesItsValueWithWhatItShares) {
    EXPECT_LT(100, exhaust_deep_copy([] { return list_of_unbound(100); }));
}

TEST_F(MemoryExhaustion, LeavesABoundValueReadable) {
    test::import_text(R"({"id":"http://exhaust.example/bound","type":"object","properties":{
        "list":{"type":"array","items":{"type":"string","minLength":3}},
        "object":{"type":"object","default":{"a":[1,"a default with room of its own"]}},
        "made":{"type":"array","minItems":3,"items":{"type":"integer","minimum":2}}}})");
    const auto schema = Schema::resolve("http://exhaust.example/bound", qx::Url());
    const auto make = [&] { return std::make_unique<Variant>(Variant::newObject()); };
    EXPECT_LT(5, exhaust(
                     make,
                     [&](Variant& value) {
                         value.attachSchema(schema);
                         value["list"][4] = "set";
                         value["object"]["a"] << 5;
                         value["made"][1] = 9;
                     },
                     [&](Variant& value) {
                         sorted_text(value);
                         value.attachSchema(schema);
                         value["list"][0] = "again";
                         EXPECT_TRUE(std::as_const(value)["list"][0] == "again");
                     }));
}

TEST_F(MemoryExhaustion, LeavesAParserThatReadsTheNextText) {
    for (const int pieces : {1, 7}) {
        const std::string text(kText);
        EXPECT_LT(20, exhaust([] { return std::make_unique<JsonParser>(); },
                              [&](JsonParser& parser) {
                                  parser.reset();
                                  for (std::size_t at = 0; at < text.size();
                                       at += text.size() / static_cast<std::size_t>(pieces)) {
                                      const std::string piece = text.substr(
                                          at, text.size() / static_cast<std::size_t>(pieces));
                                      parser.parse(piece.data(), static_cast<int>(piece.size()));
                                  }
                                  parser.parseComplete();
                              },
                              [&](JsonParser& parser) {
                                  parser.reset();
                                  EXPECT_TRUE(parser.parse(kText));
                                  EXPECT_EQ(sorted_text(JsonParser::parseTree(kText)),
                                            sorted_text(parser.parseComplete()));
                              }));
    }
}

TEST_F(MemoryExhaustion, LeavesTheSharedPrinterAndParserUsable) {
    const Variant value = JsonParser::parseTree(kText);
    EXPECT_LT(3,
              exhaust(
                  two_values,
                  [](TwoValues& values) {
                      std::ostringstream out;
                      values.source.write(out, true);
                      const boost::intrusive_ptr<qx::IntrusiveString> text(values.source.print());
                      std::istringstream in(text->c_str());
                      values.copy.read(in);
                  },
                  [&](TwoValues& values) {
                      EXPECT_EQ(sorted_text(value), sorted_text(values.source));
                      std::istringstream in(kText);
                      EXPECT_TRUE(values.copy.read(in));
                      EXPECT_EQ(sorted_text(value), sorted_text(values.copy));
                  }));
}

TEST_F(MemoryExhaustion, LeavesTheRegistryWithTheOldSchemaOrTheNew) {
    const auto document = [](int most) {
        return JsonParser::parseTree(R"({"id":"http://exhaust.example/s","type":"object",
            "properties":{"a":{"id":"#a","type":["integer",{"type":"array","items":[{"enum":["x"]}]}],"maximum":)" +
                                     std::to_string(most) +
                                     R"(}},"dependencies":{"a":["b","c"]},"extends":"#a"})");
    };
    const Variant first = document(5);
    const Variant second = document(6);
    EXPECT_LT(20, exhaust(
                      restored([&] { Schema::import(first); }),
                      [&](Restored&) { Schema::import(second); },
                      [&](Restored&) {
                          const auto schema =
                              Schema::resolve("http://exhaust.example/s#a", qx::Url());
                          ASSERT_TRUE(schema);
                          EXPECT_TRUE(schema->maximum() == 5 || schema->maximum() == 6);
                      }));
}

TEST_F(MemoryExhaustion, LeavesASchemaThatChecksTheNextValue) {
    test::import_text(R"({"id":"http://exhaust.example/check","type":"object","properties":{
        "list":{"type":"array","items":{"type":["string",{"$ref":"#deep"}]}}},
        "additionalProperties":{"id":"#deep","type":["number",{"type":"object"}]}})");
    const auto schema = Schema::resolve("http://exhaust.example/check", qx::Url());
    const Variant bad = JsonParser::parseTree(R"({"list":["a",{"a":[1]},[1,2]]})");
    const Variant good = JsonParser::parseTree(R"({"list":["a",{"a":1}],"x":1})");
    const auto make = restored([&] { schema->validate(good); });
    EXPECT_LT(3, exhaust(
                     make,
                     [&](Restored&) {
                         schema->validate(bad);
                         std::ostringstream out;
                         out << schema->validationResult();
                     },
                     [&](Restored&) { EXPECT_TRUE(schema->validate(good).ok()); }));
    EXPECT_LT(1, exhaust(
                     make, [&](Restored&) { schema->check(bad); },
                     [&](Restored&) { EXPECT_TRUE(schema->check(good).ok()); }));
}

TEST_F(MemoryExhaustion, LeavesASchemaThatGivesItsDefaults) {
    const boost::intrusive_ptr<Schema> schema(new Schema(
        R"({"type":"object","properties":{"a":{"required":true,"type":"array","minItems":3,"items":
        {"type":"string","minLength":40}}},"dependencies":{"a":["b"]}})"));
    const std::string expected = sorted_text(schema->autoValue());
    EXPECT_LT(3,
              exhaust(
                  restored([&] { schema->autoValue(); }), [&](Restored&) { schema->autoValue(); },
                  [&](Restored&) { EXPECT_EQ(expected, sorted_text(schema->autoValue())); }));
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST_F(MemoryExhaustion, IsFarOffForAnyTextOfSomeMegabytes) {
    constexpr std::size_t kCount = 200000;
    const struct {
        std::string text;
        double bytesPerByte;
    } rows[] = {{repeated("[", kCount) + repeated("]", kCount), 160 / 2.0},
                {repeated("{\"a\":", kCount) + "1" + repeated("}", kCount), 100 * 5 / 6.0},
                {"[" + repeated("[],", kCount) + "1]", 45},
                {"[" + repeated("1,", kCount) + "1]", 40},
                {"\"" + repeated("a", kCount) + "\"", 1.2}};
    for (const auto& row : rows) {
        const std::size_t before = test::bytes_held;
        const Variant value =
            JsonParser::parseTree(row.text.data(), static_cast<int>(row.text.size()));
        const std::size_t held = test::bytes_held - before;
        EXPECT_LT(static_cast<double>(held),
                  row.bytesPerByte * static_cast<double>(row.text.size()))
            << row.text.substr(0, 10);
        RecordProperty(
            "bytes_per_byte_of_" + std::to_string(&row - rows),
            std::to_string(static_cast<double>(held) / static_cast<double>(row.text.size())));
    }
}

const char* const kMethods = R"({"result":[
    {"method":"exhaust_pan","params":[{"type":"integer","min":-5,"max":5}],
     "result":{"type":"boolean"},"description":"moves"}],"id":1})";

struct Device {
    Device() {
        phone.open();
        phone.update(kMethods);
        phone.setupSubscriptions("token");
        phone.sent.clear();
    }
    ~Device() { phone.update(kMethods); } // the registry is the process's
    test::Phone phone;
};

std::unique_ptr<Device> device() { return std::make_unique<Device>(); }

/// A conversation goes on with the next call and its answer, and with the next event.
void expect_alive(Device& state) {
    test::Phone& phone = state.phone;
    phone.sent.clear();
    const std::int64_t id = phone.call("exhaust_pan", Variant(3)).referenceId();
    ASSERT_EQ(1u, phone.sent.size());
    EXPECT_EQ(R"({"id":)" + std::to_string(id) + R"(,"method":"exhaust_pan","params":[3]})",
              phone.sentText(0));
    phone.update("{\"result\":true,\"id\":" + std::to_string(id) + "}");
    EXPECT_EQ(0u, phone.pendingRequests.count(id));
}

TEST_F(MemoryExhaustion, LeavesAConversationThatGoesOn) {
    EXPECT_LT(5, exhaust(
                     device, [](Device& state) { state.phone.call("exhaust_pan", Variant(99)); },
                     expect_alive));
    EXPECT_LT(5, exhaust(
                     device,
                     [](Device& state) {
                         const std::int64_t id =
                             state.phone.call2("exhaust_pan", 1, "x").referenceId();
                         state.phone.update(
                             "{\"result\":[1,{\"a\":\"b\"}],\"id\":" + std::to_string(id) + "}");
                     },
                     expect_alive));
    EXPECT_LT(5, exhaust(
                     device, [](Device& state) { state.phone.update(kMethods); }, expect_alive));
    EXPECT_LT(2, exhaust(
                     device, [](Device& state) { state.phone.update("[1,oops]"); }, expect_alive));
}

TEST_F(MemoryExhaustion, LeavesADeviceClientThatGoesOn) {
    const std::string picture = "\xff\xd8" + std::string(1000, 'p');
    EXPECT_LT(5, exhaust(
                     device,
                     [&](Device& state) {
                         test::Phone& phone = state.phone;
                         phone.downloadMailPreviewImage(7, 320, 240, true);
                         const std::int64_t id = phone.previewRequestByKey.at(7);
                         phone.update("{\"result\":true,\"id\":" + std::to_string(id) + "}",
                                      picture);
                     },
                     expect_alive));
    EXPECT_LT(5,
              exhaust(
                  device,
                  [](Device& state) {
                      state.phone.readMailBox("1");
                      state.phone.update(R"({"result":[{"rid":1,"appl_sequence_no":5}],"id":104})");
                      EXPECT_FALSE(state.phone.told.empty());
                  },
                  expect_alive));
    EXPECT_LT(5, exhaust(
                     device,
                     [](Device& state) {
                         Variant row = JsonParser::parseTree(R"([1,2,"a",4,5,6,7,8,9])");
                         const qx::MailBoxEntry entry(row);
                         state.phone.play(entry, true, false);
                         state.phone.play(entry, true, false);
                         state.phone.deleteMessage(entry);
                     },
                     expect_alive));
}

class Server : public json::JsonServer {
    void handleParseError(const qx::IntrusiveString& text) override {
        json::JsonServer::handleParseError(std::string(text.c_str(), text.length()));
    }
    void handleRequest(const json::Request& request) override {
        sendResponse(json::Response(Variant(request.methodName().c_str()), request.referenceId()));
    }
};

TEST_F(MemoryExhaustion, LeavesAServerThatCanBeDestroyed) {
    EXPECT_LT(5, exhaust([] { return std::make_unique<Server>(); },
                         [](Server& server) {
                             std::istringstream in(R"({"method":"exhaust server","id":5})");
                             std::ostringstream out;
                             server.connect(&in, &out);
                             EXPECT_NE(std::string::npos, out.str().find("exhaust server"));
                         },
                         [](Server&) {
                             Server next;
                             std::istringstream in(R"({"method":"exhaust server","id":5})");
                             std::ostringstream out;
                             next.connect(&in, &out);
                             EXPECT_NE(std::string::npos, out.str().find("exhaust server"));
                         }));
}

} // namespace
