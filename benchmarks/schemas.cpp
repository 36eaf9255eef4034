// SPDX-License-Identifier: MIT
// What does a schema cost: to load, to check values by, and to read defaults from?
#include "schema/Schema.h"
#include "support/Corpora.h"
#include "support/RowsSchema.h"
#include "json/JsonParser.h"
#include "json/List.h"
#include "json/Variant.h"

#include <benchmark/benchmark.h>

#include <string>

#ifdef GATECAST_BENCH_VALIJSON
namespace bench {
void register_valijson(); // peers/Valijson.cpp
}
#endif

namespace {

using SchemaPtr = boost::intrusive_ptr<json::Schema>;

SchemaPtr rows_schema() { return SchemaPtr(new json::Schema(bench::kRowsSchema)); }

json::Variant rows(std::size_t count) {
    json::Variant list = json::Variant::newList();
    for (std::size_t i = 0; i < count; ++i) {
        list << json::JsonParser::parseTree(bench::mail_box_row(i));
    }
    return list;
}

void load(benchmark::State& state) {
    const json::Variant document = json::JsonParser::parseTree(bench::kRowsSchema);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(SchemaPtr(new json::Schema(document, qx::Url())));
    }
}

void validate(benchmark::State& state, std::size_t count) {
    const SchemaPtr schema = rows_schema();
    const json::Variant list = rows(count);
    for ([[maybe_unused]] auto _ : state) {
        if (!schema->validate(list).ok())
            state.SkipWithError("the rows don't satisfy their schema");
    }
}

void auto_value(benchmark::State& state) {
    const SchemaPtr schema = rows_schema()->at(0);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(&schema->autoValue());
    }
}

void missing_member(benchmark::State& state) {
    json::Variant row = json::Variant::newObject();
    row.attachSchema(rows_schema()->at(0));
    const json::Variant& bound = row;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(&bound["rid"]);
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::RegisterBenchmark("load_schema/rows/gatecast", load);
    benchmark::RegisterBenchmark("validate/1_row/gatecast", validate, 1);
    benchmark::RegisterBenchmark("validate/500_rows/gatecast", validate, 500);
    benchmark::RegisterBenchmark("auto_value/row/gatecast", auto_value);
    benchmark::RegisterBenchmark("auto_value/missing_member/gatecast", missing_member);
#ifdef GATECAST_BENCH_VALIJSON
    bench::register_valijson();
#endif
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
