// SPDX-License-Identifier: MIT
// What does it cost a phone to hear of an event, to take a header update, and to find a picture?
#include "support/Corpora.h"
#include "support/Phone.h"
#include "support/Station.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <thread>

namespace {

using bench::Phone;

void event(benchmark::State& state) {
    bench::CountingClient client;
    client.subscribe("subscription", json::Variant("door"), 101);
    const std::string& text = bench::made("event");
    for ([[maybe_unused]] auto _ : state) {
        client.receive(text);
    }
    if (client.pendingRequestCount() != 1) state.SkipWithError("the subscription has gone");
}

/// An event that arrives as a header update, with a binary part.
void header_update(benchmark::State& state, std::size_t attachment) {
    Phone phone;
    phone.setupSubscriptions("phone-17");
    std::string update = bench::made("event");
    if (attachment > 0) update += '\0' + std::string(attachment, '\x5A');
    const auto* const data = reinterpret_cast<const unsigned char*>(update.data());
    for ([[maybe_unused]] auto _ : state) {
        phone.receiveJsonHeaderUpdate(data, static_cast<unsigned int>(update.size()));
    }
    if (!phone.doorAndLightStatus().doorStatusKnown) state.SkipWithError("the event isn't heard");
}

/// Hits in a cache that is full, as the phone has it; all threads share one.
void preview_hit(benchmark::State& state) {
    static Phone* const phone = [] {
        auto* const made = new Phone; // never destroyed: threads may still leave
        for (unsigned long long key = 0; key < 120; ++key) {
            made->previews().putCopy(key, std::string(10000, 'x'));
        }
        return made;
    }();
    auto key = static_cast<unsigned long long>(state.thread_index()) * 30;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(phone->previews().get(key));
        key = (key + 7) % 120;
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::RegisterBenchmark("event/subscribed/gatecast", event);
    benchmark::RegisterBenchmark("header_update/0_KiB/gatecast", header_update, 0);
    benchmark::RegisterBenchmark("header_update/10_KiB/gatecast", header_update, 10 * 1024);
    benchmark::RegisterBenchmark("header_update/200_KiB/gatecast", header_update, 200 * 1024);
    benchmark::RegisterBenchmark("preview_hit/1_thread/gatecast", preview_hit);
    benchmark::RegisterBenchmark("preview_hit/4_threads/gatecast", preview_hit)
        ->Threads(4)
        ->UseRealTime();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
