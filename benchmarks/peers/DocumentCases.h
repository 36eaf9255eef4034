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

/// The cases on parts of a document; see `register_document_cases` for `Library`.
template <typename Library>
void register_part_cases(const std::string& peer) {
    using Document = typename Library::Document;
    benchmark::RegisterBenchmark(("lookup_by_literal/4_keys/" + peer).c_str(),
                                 [](benchmark::State& state) {
                                     const Document row = Library::parse(mail_box_row(1));
                                     for ([[maybe_unused]] auto _ : state) {
                                         benchmark::DoNotOptimize(Library::lookUp(row));
                                     }
                                 });
    benchmark::RegisterBenchmark(("append/10000_numbers/" + peer).c_str(),
                                 [](benchmark::State& state) {
                                     for ([[maybe_unused]] auto _ : state) {
                                         Document list = Library::appended(10000);
                                         benchmark::DoNotOptimize(list);
                                     }
                                 });
    benchmark::RegisterBenchmark(("path/4_steps/" + peer).c_str(), [](benchmark::State& state) {
        const Document document = Library::parse(made("mailbox"));
        typename Library::Path path;
        if (path.follow(document) != "bell") state.SkipWithError("the path leads elsewhere");
        for ([[maybe_unused]] auto _ : state) {
            benchmark::DoNotOptimize(path.follow(document));
        }
    });
}

/// The cases that every library with a document can do. `Library` has the members
/// - `Document parse(std::string_view)`, static; a document owns all that it needs
/// - `Document copy(const Document&)`, static: a deep copy
/// - `void writeOne(Document&)`, static: changes one element of an object or a list
/// - `bool lookUp(const Document& row)`, static: looks four members of a row of a mail box up, by
///   literals, the last one as a Boolean
/// - `Document appended(int count)`, static: a list of the numbers from 0, appended one by one
/// - `Path`, a class with `std::string_view follow(const Document&)`: the text at
///   `result[250].events[0]` of a mail box. It is kept from one walk to the next.
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
    register_part_cases<Library>(peer);
}

template <typename Library>
void hold_document(std::string_view text, void (*during)(void*), void* context) {
    typename Library::Document document = Library::parse(text);
    benchmark::DoNotOptimize(document);
    during(context);
}

} // namespace bench
