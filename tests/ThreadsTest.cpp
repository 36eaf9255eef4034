// SPDX-License-Identifier: MIT
// What several threads may share. Most of what breaks here is found by the thread sanitizer only.
#include "schema/Schema.h"
#include "support/Phone.h"
#include "json/JsonParser.h"
#include "json/Object.h"
#include "json/Variant.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using json::JsonParser;
using json::Schema;
using json::Variant;

/// Runs `work(number)` in so many threads that begin together.
template <typename Work>
void run_together(int count, const Work& work) {
    std::atomic<int> missing{count};
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&missing, &work, number] {
            --missing;
            while (missing > 0)
                std::this_thread::yield();
            work(number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// What the library tells on the two standard streams, kept out of the way.
struct Quiet {
    Quiet() {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    ~Quiet() {
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
};

TEST(Threads, InternTheSameKeyAsTheSameObject) {
    std::vector<std::vector<const qx::IntrusiveString*>> seen(4);
    const std::size_t before = json::Object::key_pool().size();
    run_together(4, [&](int number) {
        for (int i = 0; i < 2000; ++i) {
            const std::string text = "threads key " + std::to_string(i);
            seen[static_cast<std::size_t>(number)].push_back(
                json::Object::key_pool().intern(text).get());
        }
    });
    for (const auto& pointers : seen) {
        EXPECT_EQ(seen[0], pointers);
    }
    EXPECT_EQ(before + 2000, json::Object::key_pool().size());
}

TEST(Threads, ReadAndPrintValuesOfTheirOwn) {
    std::atomic<int> wrong{0};
    run_together(4, [&](int number) {
        for (int i = 0; i < 300; ++i) {
            const std::string text = "{\"thread " + std::to_string(number) + " " +
                                     std::to_string(i) + "\":[1.5,\"text\",{\"shared key\":null}]}";
            Variant value;
            std::istringstream in(text);
            if (!value.read(in)) ++wrong;
            std::ostringstream out;
            value.write(out);
            const boost::intrusive_ptr<qx::IntrusiveString> printed(value.print());
            if (out.str() != text || std::string(printed->c_str()) != text) ++wrong;
            std::istringstream list("[1,2]");
            json::List elements;
            // Each thread has a parser of its own, and a list doesn't reset it.
            if (elements.read(list)) ++wrong;
        }
    });
    EXPECT_EQ(0, wrong);
}

TEST(Threads, CopyAndWriteWhatTheyShare) {
    const Variant source = JsonParser::parseTree(R"({"list":[1,2,{"deep":"text"}],"number":5})");
    std::atomic<int> wrong{0};
    run_together(4, [&](int number) {
        for (int i = 0; i < 500; ++i) {
            Variant copy(source);
            const Variant second(copy);
            copy["number"] = number;
            copy["list"][2]["deep"] = "changed";
            if (std::as_const(copy)["number"] != number || second["number"] != 5) ++wrong;
            if (second["list"][2]["deep"] != "text") ++wrong;
        }
    });
    EXPECT_EQ(0, wrong);
    EXPECT_TRUE(source["number"] == 5);
}

TEST(Threads, ReadTheTextOfASharedNumber) {
    for (int round = 0; round < 50; ++round) {
        const Variant source = JsonParser::parseTree("[12345,1.5,true,[1]]");
        std::atomic<int> wrong{0};
        run_together(3, [&](int) {
            const Variant copy(source);
            for (const auto& [index, text] : {std::pair(0, "12345"), std::pair(1, "1.5"),
                                              std::pair(2, "true"), std::pair(3, "[1]")}) {
                if (copy[index].stringValue() != qx::IntrusiveString(text)) ++wrong;
            }
        });
        EXPECT_EQ(0, wrong);
    }
}

TEST(Threads, ReadTheConstants) {
    std::atomic<int> wrong{0};
    run_together(4, [&](int) {
        for (int i = 0; i < 500; ++i) {
            const Variant values[] = {Variant::Empty,       Variant::True,
                                      Variant::EmptyString, Variant::EmptyObject,
                                      Variant::EmptyList,   Variant::EmptyAutoValue};
            for (const Variant& value : values) {
                Variant copy(value);
                if (value["missing"][3].isNull() && copy.stringValue().length() < 6) continue;
                ++wrong;
            }
            if (Variant::False.stringValue() != qx::IntrusiveString("false")) ++wrong;
            if (!Schema::EmptyPtr->check(Variant(i)).ok()) ++wrong;
        }
    });
    EXPECT_EQ(0, wrong);
}

TEST(Threads, ResolveWhileSchemasAreReplaced) {
    const Quiet quiet;
    const auto document = [](int most) {
        return JsonParser::parseTree(R"({"id":"http://threads.example/s","type":["integer",
            {"type":"object","properties":{"a":{"$ref":"http://threads.example/s"}}}],
            "enum":[0,1,2,"1",1.5,{"a":1}],"format":5,"title":6,"maximum":)" +
                                     std::to_string(most) + "}");
    };
    Schema::import(document(5));
    std::atomic<int> wrong{0};
    run_together(4, [&](int number) {
        for (int i = 0; i < 200; ++i) {
            if (number == 0) Schema::import(document(5 + i % 2));
            const auto schema = Schema::resolve("http://threads.example/s", qx::Url());
            if (!schema->check(Variant(1)).ok()) ++wrong;
            if (schema->check(Variant("7")).code != Schema::WrongDataType) ++wrong;
            if (!schema->check(JsonParser::parseTree(R"({"a":1})")).ok()) ++wrong;
            if (schema->title() != qx::IntrusiveString("6")) ++wrong;
        }
    });
    EXPECT_EQ(0, wrong);
}

/// What a device says of its methods; both phones learn the same ones.
const char* const kMethods = R"({"result":[
    {"method":"threads_pan","params":[{"type":"integer","min":-5,"max":5},{"type":"real"}],
     "result":{"type":"boolean"},"description":"moves"},
    {"method":"threads_mode","params":[{"type":"string","list":["a","b",3]}],
     "result":{"type":"null"},"description":"sets"}],"id":1})";

/// A device client with all that it talks to in a thread of its own.
void talk(int number, std::atomic<int>& wrong) {
    test::Phone phone;
    phone.open();
    for (int round = 0; round < 20; ++round) {
        phone.update(kMethods);
        const Variant own = JsonParser::parseTree("[" + std::to_string(round % 5) + ",1.5]");
        const std::int64_t id = phone.call("threads_pan", own).referenceId();
        phone.call("threads_pan", Variant("not in bounds"));
        phone.call("threads_mode", Variant(round % 2 == 0 ? "a" : "z"));
        phone.subscribe("subscription", "door", 101);
        const std::string key =
            "threads event " + std::to_string(number) + " " + std::to_string(round);
        phone.update("{\"result\":true,\"id\":" + std::to_string(id) + "}");
        phone.update("{\"result\":[\"door_open\",{\"" + key + "\":1}],\"id\":101}",
                     "\xff\xd8picture");
        phone.update("{\"broken\":");
        if (phone.pendingRequests.count(id) != 0) ++wrong;
        if (phone.pendingRequests.count(101) != 1) ++wrong;
    }
}

TEST(Threads, TwoDevicesAreServedByAThreadEach) {
    const Quiet quiet;
    std::atomic<int> wrong{0};
    run_together(2, [&](int number) { talk(number, wrong); });
    EXPECT_EQ(0, wrong);
}

TEST(Threads, TwoDevicesWhoseEntriesAreCheckedByOneSchemaAreServedByAThreadEach) {
    const Quiet quiet;
    // The registry is the process's: it gets back what takes everything.
    const std::string id(static_cast<const char*>(json::Conversation::methodSchemaUrl()));
    Schema::import(JsonParser::parseTree(
        "{\"id\":\"" + id + R"(","type":"object","properties":{"method":{"type":"string"},
        "params":{"type":"array","items":{"type":"object"}},
        "description":{"type":"string","minLength":3},"more":{"type":"integer","minimum":3}}})"));
    std::atomic<int> wrong{0};
    run_together(2, [&](int number) { talk(number, wrong); });
    Schema::import(json::Conversation::methodSchemaUrl(), new Schema);
    EXPECT_EQ(0, wrong);
}

TEST(Threads, OneCallsWhileAnotherFeeds) {
    const Quiet quiet;
    test::Phone phone;
    std::atomic<bool> over{false};
    std::atomic<int> calls{0};
    std::thread caller([&] {
        for (int i = 0; i < 300; ++i) {
            phone.call("caller " + std::to_string(i % 7), Variant(i));
            ++calls;
        }
        over = true;
    });
    int fed = 0;
    while (!over || fed < 1300) {
        const std::string id = std::to_string(1000 + fed++ % 310);
        phone.update("{\"result\":{\"feeder " + id + "\":1},\"id\":" + id + "}");
    }
    caller.join();
    EXPECT_EQ(300, calls);
    // Whatever was still to be answered is answered now.
    for (int id = 1000; id < 1310; ++id) {
        phone.update("{\"result\":1,\"id\":" + std::to_string(id) + "}");
    }
    EXPECT_TRUE(phone.pendingRequests.empty());
}

} // namespace
