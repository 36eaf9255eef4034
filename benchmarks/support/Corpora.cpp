// SPDX-License-Identifier: MIT
#include "support/Corpora.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

namespace bench {

namespace {

/// The same numbers in every run and on every machine.
class Numbers {
public:
    std::uint32_t next() {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::uint32_t>(state_ >> 33);
    }

private:
    std::uint64_t state_ = 1;
};

std::string joined(const std::string& open, std::size_t count, std::string (*item)(std::size_t),
                   const std::string& close) {
    std::string text = open;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += ',';
        text += item(i);
    }
    return text + close;
}

std::string method_entry(std::size_t number) {
    const std::string name = "method_" + std::to_string(number);
    return R"({"method":")" + name + R"(","description":"Does what )" + name +
           R"( is for.","result":"boolean","params":[)"
           R"({"type":"string","list":["door","elight","view"],"description":"what to act on"},)"
           R"({"type":"integer","min":-10,"max":1000,"description":"by how many steps"}]})";
}

std::string mail_box() {
    return joined(R"({"result":[)", 500, mail_box_row, R"(],"error":null,"id":1000})");
}

std::string event() { return R"({"result":["door_open"],"error":null,"id":101})"; }

std::string deep() {
    // 100 trees of 100 levels, lists and objects in turn: a printer may stop behind 127.
    std::string tree;
    for (int level = 0; level < 50; ++level) {
        tree += R"([1,{"below":)";
    }
    tree += "true";
    for (int level = 0; level < 50; ++level) {
        tree += R"(,"beside":null}])";
    }
    std::string text = "[" + tree;
    for (int i = 1; i < 100; ++i) {
        text += ',' + tree;
    }
    return text + ']';
}

std::string wide() {
    return joined(
        "{", 10000,
        [](std::size_t i) { return "\"member_" + std::to_string(i) + "\":" + std::to_string(i); },
        "}");
}

std::string strings() {
    Numbers numbers;
    std::string text = "[";
    for (int i = 0; i < 200; ++i) {
        if (i > 0) text += ',';
        text += '"';
        // From 100 bytes to 6 KiB, an escape now and then, some of it beyond ASCII.
        for (std::uint32_t left = 100 + numbers.next() % 6000; left > 0; --left) {
            const std::uint32_t kind = numbers.next() % 200;
            if (kind == 0) {
                text += R"(\n)";
            } else if (kind == 1) {
                text += R"(\")";
            } else if (kind == 2) {
                text += "\xC3\xA9";
            } else {
                text += static_cast<char>('a' + kind % 26);
            }
        }
        text += '"';
    }
    return text + ']';
}

std::string numbers() {
    Numbers numbers;
    std::ostringstream text;
    text.precision(15);
    text << '[';
    for (int i = 0; i < 40000; ++i) {
        if (i > 0) text << ',';
        if (i % 2 == 0) {
            text << static_cast<std::int64_t>(numbers.next()) - 1000000000;
        } else {
            text << 0.5 + static_cast<double>(numbers.next()) / 8388608.0;
        }
    }
    text << ']';
    return text.str();
}

std::string repeated() {
    return joined(
        "[", 1000,
        [](std::size_t i) {
            return joined(
                "{\"number\":" + std::to_string(i) + ',', 8,
                [](std::size_t j) { return R"("again":)" + std::to_string(j); }, "}");
        },
        "]");
}

std::vector<Corpus> made_corpora() {
    return {{"methods", method_catalogue(40)},
            {"mailbox", mail_box()},
            {"event", event()},
            {"deep", deep()},
            {"wide", wide()},
            {"strings", strings()},
            {"numbers", numbers()},
            {"repeated", repeated()}};
}

std::vector<Corpus> read_corpora() {
    std::vector<Corpus> found;
    const char* const directory = std::getenv("GATECAST_BENCH_DATA");
    if (directory == nullptr || *directory == '\0') return found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        if (entry.path().extension() != ".json") continue;
        std::ifstream file(entry.path(), std::ios::binary);
        found.push_back({entry.path().stem().string(),
                         {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()}});
    }
    if (error) std::cerr << "benchmarks: " << directory << ": " << error.message() << '\n';
    std::sort(found.begin(), found.end(),
              [](const Corpus& left, const Corpus& right) { return left.name < right.name; });
    return found;
}

} // namespace

const std::vector<Corpus>& corpora() {
    static const std::vector<Corpus> all = [] {
        std::vector<Corpus> list = read_corpora();
        for (Corpus& corpus : made_corpora()) {
            list.push_back(std::move(corpus));
        }
        return list;
    }();
    return all;
}

const std::string& made(const std::string& name) {
    static const std::vector<Corpus> own = made_corpora();
    for (const Corpus& corpus : own) {
        if (corpus.name == name) return corpus.text;
    }
    std::cerr << "benchmarks: there is no corpus '" << name << "'\n";
    std::exit(2);
}

std::string method_catalogue(std::size_t methods) {
    return joined(R"({"result":[)", methods, method_entry, R"(],"error":null,"id":1})");
}

std::string mail_box_row(std::size_t number) {
    const std::string text = std::to_string(number);
    return R"({"mailbox_id":1,"name_mailbox":"Front door","sender_user_id":)" +
           std::to_string(100 + number) + R"(,"name_sender":"Parcel service","timestamp":)" +
           std::to_string(1772446504 + number * 61) + R"(.5,"length_ds":)" +
           std::to_string(20 + number % 200) + R"(,"appl_camera_id":"front","appl_sequence_no":)" +
           text + R"(,"appl_event_index":0,"rid":)" + std::to_string(9000 + number) +
           R"(,"alarmimage":")" + text + R"(.jpg","events":["bell"],"message_seen":)" +
           (number % 3 == 0 ? "true" : "false") + R"(,"endfilter":"message )" + text + R"("})";
}

} // namespace bench
