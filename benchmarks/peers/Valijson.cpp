// SPDX-License-Identifier: MIT
// Over RapidJSON, the fastest of the documents that it checks.
#include "support/Corpora.h"
#include "support/RowsSchema.h"

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <valijson/adapters/rapidjson_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include <string>

namespace bench {

namespace {

using valijson::adapters::RapidJsonAdapter;

void load_into(valijson::Schema& schema, const rapidjson::Document& document) {
    valijson::SchemaParser parser(valijson::SchemaParser::kDraft3);
    parser.populateSchema(RapidJsonAdapter(document), schema);
}

void load(benchmark::State& state) {
    rapidjson::Document document;
    document.Parse(kRowsSchema);
    for ([[maybe_unused]] auto _ : state) {
        valijson::Schema schema;
        load_into(schema, document);
        benchmark::DoNotOptimize(schema);
    }
}

void validate(benchmark::State& state, std::size_t count) {
    rapidjson::Document document;
    document.Parse(kRowsSchema);
    valijson::Schema schema;
    load_into(schema, document);
    std::string text = "[";
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += ',';
        text += mail_box_row(i);
    }
    rapidjson::Document list;
    list.Parse((text + ']').c_str());
    valijson::Validator validator(valijson::Validator::kStrongTypes);
    const RapidJsonAdapter target(list);
    for ([[maybe_unused]] auto _ : state) {
        if (!validator.validate(schema, target, nullptr)) {
            state.SkipWithError("the rows don't satisfy their schema");
        }
    }
}

} // namespace

void register_valijson();
void register_valijson() {
    benchmark::RegisterBenchmark("load_schema/rows/valijson", load);
    benchmark::RegisterBenchmark("validate/1_row/valijson", validate, 1);
    benchmark::RegisterBenchmark("validate/500_rows/valijson", validate, 500);
}

} // namespace bench
