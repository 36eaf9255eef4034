// SPDX-License-Identifier: MIT
// One case, run so that callgrind can count its instructions: scripts/bench --instructions.
// What lies inside the function `measured` counts, everything before is preparation.
//
// usage: gatecast-bench-instructions CASE      without a case, the list of them
#include "rpc/Conversation.h"
#include "schema/Schema.h"
#include "support/Corpora.h"
#include "support/RowsSchema.h"
#include "support/Station.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"

#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <string>

/// Seen by its name from outside, and by no optimizer.
extern "C" __attribute__((noinline, used)) void measured(const std::function<void()>& work) {
    work();
    asm volatile("" : : : "memory");
}

namespace {

using bench::CountingClient;

void parse(const std::string& text) {
    json::JsonParser parser;
    parser.parse(text.data(), static_cast<int>(text.size()));
    parser.parseComplete();
}

/// Once to build what is built on first use, then measured.
void run(const std::function<void()>& work) {
    work();
    measured(work);
}

void run_print(const std::string& text) {
    const json::Variant document = json::JsonParser::parseTree(text);
    json::JsonPrinter printer;
    printer.setIndent("");
    run([&] {
        printer.reset();
        printer.print(document);
    });
}

void run_deep_copy(const std::string& text) {
    const json::Variant document = json::JsonParser::parseTree(text);
    run([&] {
        json::Variant copy;
        copy.deepCopy(&document);
    });
}

void run_calls(std::size_t methods) {
    CountingClient client;
    bench::tell_methods(client, methods);
    const qx::IntrusiveString method("method_7");
    json::Variant params;
    params << json::Variant("door") << 3;
    run([&] {
        for (int i = 0; i < 100; ++i) {
            const std::int64_t id = client.call(method, params).referenceId();
            client.receive(R"({"result":true,"error":null,"id":)" + std::to_string(id) + '}');
        }
    });
}

void run_events() {
    CountingClient client;
    client.subscribe("subscription", json::Variant("door"), 101);
    run([&] {
        for (int i = 0; i < 100; ++i) {
            client.receive(bench::made("event"));
        }
    });
}

void run_validation() {
    const boost::intrusive_ptr<json::Schema> schema(new json::Schema(bench::kRowsSchema));
    const json::Variant answer = json::JsonParser::parseTree(bench::made("mailbox"));
    run([&] { schema->validate(answer["result"]); });
}

std::map<std::string, std::function<void()>> all_cases() {
    std::map<std::string, std::function<void()>> cases = {
        {"call_with_answer_30", [] { run_calls(30); }},
        {"call_with_answer_3000", [] { run_calls(3000); }},
        {"event", run_events},
        {"validate_500_rows", run_validation},
    };
    for (const bench::Corpus& corpus : bench::corpora()) {
        cases["parse_" + corpus.name] = [&corpus] { run([&corpus] { parse(corpus.text); }); };
        cases["print_" + corpus.name] = [&corpus] { run_print(corpus.text); };
        cases["deep_copy_" + corpus.name] = [&corpus] { run_deep_copy(corpus.text); };
    }
    return cases;
}

} // namespace

int main(int argc, char** argv) {
    const auto cases = all_cases();
    if (argc != 2) {
        for (const auto& entry : cases) {
            std::cout << entry.first << '\n';
        }
        return 0;
    }
    const auto found = cases.find(argv[1]);
    if (found == cases.end()) {
        std::cerr << "gatecast-bench-instructions: there is no case '" << argv[1] << "'\n";
        return 2;
    }
    found->second();
    return 0;
}
