// SPDX-License-Identifier: MIT
#pragma once

#include "peers/Peer.h"
#include "support/Corpora.h"

#include <benchmark/benchmark.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace bench {

/// Registers `Name/CORPUS/PEER` for each corpus; `run` is called with the state and the corpus.
template <typename Run>
void for_each_corpus(const std::string& name, const char* peer, Run run) {
    for (const Corpus& corpus : corpora()) {
        benchmark::RegisterBenchmark((name + '/' + corpus.name + '/' + peer).c_str(),
                                     [&corpus, run](benchmark::State& state) {
                                         run(state, corpus);
                                         state.SetBytesProcessed(
                                             static_cast<std::int64_t>(state.iterations()) *
                                             static_cast<std::int64_t>(corpus.text.size()));
                                     });
    }
}

/// The cases that every library with a document can do. `Library` has the members
/// - `Document parse(std::string_view)`, static; a document owns all that it needs
/// - `Document copy(const Document&)`, static: a deep copy
/// - `void writeOne(Document&)`, static: changes one element of an object or a list
/// - `Printer`, a class with `std::size_t print(const Document&, bool pretty)`: the length of the
///   text, which lies in memory whole. It is kept from one text to the next. Its
///   constant `kIndents` tells whether it has a pretty form.
template <typename Library>
void register_document_cases(const char* peer) {
    using Document = typename Library::Document;
    for_each_corpus("parse", peer, [](benchmark::State& state, const Corpus& corpus) {
        for ([[maybe_unused]] auto _ : state) {
            Document document = Library::parse(corpus.text);
            benchmark::DoNotOptimize(document);
        }
    });
    for (const bool pretty : {false, true}) {
        if (pretty && !Library::Printer::kIndents) continue;
        for_each_corpus(pretty ? "print_pretty" : "print", peer,
                        [pretty](benchmark::State& state, const Corpus& corpus) {
                            const Document document = Library::parse(corpus.text);
                            typename Library::Printer printer;
                            for ([[maybe_unused]] auto _ : state) {
                                benchmark::DoNotOptimize(printer.print(document, pretty));
                            }
                        });
    }
    for_each_corpus("deep_copy", peer, [](benchmark::State& state, const Corpus& corpus) {
        const Document document = Library::parse(corpus.text);
        for ([[maybe_unused]] auto _ : state) {
            Document copy = Library::copy(document);
            benchmark::DoNotOptimize(copy);
        }
    });
    for_each_corpus("copy_and_write_one", peer, [](benchmark::State& state, const Corpus& corpus) {
        const Document document = Library::parse(corpus.text);
        for ([[maybe_unused]] auto _ : state) {
            Document copy = Library::copyToWrite(document);
            Library::writeOne(copy);
            benchmark::DoNotOptimize(copy);
        }
    });
}

template <typename Library>
void hold_document(std::string_view text, void (*during)(void*), void* context) {
    typename Library::Document document = Library::parse(text);
    benchmark::DoNotOptimize(document);
    during(context);
}

} // namespace bench
