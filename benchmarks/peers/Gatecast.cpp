// SPDX-License-Identifier: MIT
#include "peers/DocumentCases.h"
#include "schema/Schema.h"
#include "support/RowsSchema.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/List.h"
#include "json/Object.h"
#include "json/Path.h"
#include "json/Variant.h"

#include <algorithm>

namespace bench {

namespace {

int size_of(std::string_view text) { return static_cast<int>(text.size()); }

struct Gatecast {
    using Document = json::Variant;

    static Document parse(std::string_view text) {
        json::JsonParser parser;
        parser.parse(text.data(), size_of(text));
        return parser.parseComplete();
    }
    static Document copy(const Document& document) {
        Document copy;
        copy.deepCopy(&document);
        return copy;
    }
    static Document copyToWrite(const Document& document) { return document; }
    static void writeOne(Document& document) {
        if (document.isList()) {
            document[0] = 1;
        } else {
            document["id"] = 1;
        }
    }

    static bool lookUp(const Document& row) {
        benchmark::DoNotOptimize(&row["rid"]);
        benchmark::DoNotOptimize(&row["name_sender"]);
        benchmark::DoNotOptimize(&row["mailbox_id"]);
        return row["message_seen"].booleanValue();
    }
    static Document appended(int count) {
        Document list;
        for (int i = 0; i < count; ++i) {
            list << i;
        }
        return list;
    }

    class Path {
    public:
        std::string_view follow(const Document& document) {
            return path_.evaluate(document).charsValue();
        }

    private:
        json::Path path_{"result[250].events[0]"};
    };

    class Printer {
    public:
        static constexpr bool kIndents = true;
        std::size_t print(const Document& document, bool pretty) {
            if (pretty != printer_.isPretty()) printer_.setIndent(pretty ? "\t" : "");
            printer_.reset();
            printer_.print(document);
            std::size_t length = 0;
            benchmark::DoNotOptimize(printer_.stringBuffer(&length));
            return length;
        }

    private:
        json::JsonPrinter printer_;
    };
};

void lookup_by_interned_key(benchmark::State& state) {
    const json::Variant row = Gatecast::parse(mail_box_row(1));
    json::Object::KeyPool& pool = json::Object::key_pool();
    const json::Object::Key keys[] = {pool.intern("rid"), pool.intern("name_sender"),
                                      pool.intern("mailbox_id"), pool.intern("message_seen")};
    for ([[maybe_unused]] auto _ : state) {
        const json::Object& members = row.objectValue();
        for (const json::Object::Key& key : keys) {
            benchmark::DoNotOptimize(&members[key]);
        }
    }
}

void grow_by_index(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        json::Variant list;
        for (int i = 0; i < 10000; ++i) {
            list[i] = i;
        }
        benchmark::DoNotOptimize(list);
    }
}

void append_bound(benchmark::State& state) {
    const json::Variant row = Gatecast::parse(mail_box_row(1));
    const boost::intrusive_ptr<json::Schema> schema(new json::Schema(kRowsSchema));
    for ([[maybe_unused]] auto _ : state) {
        json::Variant list;
        list.attachSchema(schema);
        for (int i = 0; i < 500; ++i) {
            list << row;
        }
        benchmark::DoNotOptimize(list);
    }
}

void register_own_cases(const char* peer) {
    benchmark::RegisterBenchmark("lookup_by_interned_key/4_keys/gatecast", lookup_by_interned_key);
    benchmark::RegisterBenchmark("grow_by_index/10000_numbers/gatecast", grow_by_index);
    benchmark::RegisterBenchmark("append_bound/500_rows/gatecast", append_bound);
    for_each_corpus("parse_kept", peer, [](benchmark::State& state, const Corpus& corpus) {
        json::JsonParser parser;
        for ([[maybe_unused]] auto _ : state) {
            parser.reset(); // destroys the value of the last text
            parser.parse(corpus.text.data(), size_of(corpus.text));
            benchmark::DoNotOptimize(parser.parseComplete());
        }
    });
    for_each_corpus("parse_in_pieces", peer, [](benchmark::State& state, const Corpus& corpus) {
        const std::string_view text = corpus.text;
        for ([[maybe_unused]] auto _ : state) {
            json::JsonParser parser;
            for (std::size_t at = 0; at < text.size(); at += 160) {
                const std::string_view piece = text.substr(at, 160);
                parser.parse(piece.data(), size_of(piece));
            }
            benchmark::DoNotOptimize(parser.parseComplete());
        }
    });
    for_each_corpus("shared_copy", peer, [](benchmark::State& state, const Corpus& corpus) {
        const json::Variant document = Gatecast::parse(corpus.text);
        for ([[maybe_unused]] auto _ : state) {
            json::Variant copy(document);
            benchmark::DoNotOptimize(copy);
        }
    });
}

} // namespace

extern const Peer gatecast_peer;
const Peer gatecast_peer = {"gatecast",
                            [] {
                                register_document_cases<Gatecast>("gatecast");
                                register_own_cases("gatecast");
                            },
                            &hold_document<Gatecast>};

} // namespace bench
