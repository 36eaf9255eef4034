// SPDX-License-Identifier: MIT
// Reads results of Google Benchmark and prints them as tables: first each case with everyone's
// ratio to its base, then the goals with what was measured.
//
// usage: gatecast-bench-table FILE.json ...
#include "json/JsonParser.h"
#include "json/List.h"
#include "json/Variant.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

/// What one library needed for one case: nanoseconds, bytes of heap for a byte of text, or a
/// number of allocations.
struct Figure {
    enum Kind { Time, BytesPerByte, Allocations };
    Kind kind = Time;
    double value = 0;
    bool isMedian = false;
};

struct Row {
    std::string name;                      ///< of the case
    std::string subject;                   ///< the corpus, or another variable of the case
    std::map<std::string, Figure> figures; ///< by library
};

using Rows = std::vector<Row>;

// ----- Reading -----------------------------------------------------------------------------------

std::optional<Figure> figure_of(const json::Variant& entry, const std::string& name) {
    Figure figure;
    if (entry.contains("error_message")) return std::nullopt;
    figure.isMedian = entry["aggregate_name"] == "median";
    if (entry["run_type"] == "aggregate" && !figure.isMedian) return std::nullopt;
    if (entry.contains("per_byte")) {
        figure.kind = Figure::BytesPerByte;
        figure.value = entry["per_byte"].realValue();
    } else if (entry.contains("allocations")) {
        figure.kind = Figure::Allocations;
        figure.value = entry["allocations"].realValue();
    } else {
        // Several threads, and other processes, have no time of this processor's.
        const bool real = name.find("real_time") != std::string::npos ||
                          name.find("manual_time") != std::string::npos;
        const double unit = entry["time_unit"] == "ms" ? 1e6 : entry["time_unit"] == "us" ? 1e3 : 1;
        figure.value = entry[real ? "real_time" : "cpu_time"].realValue() * unit;
    }
    return figure;
}

Row& row_of(Rows& rows, const std::string& name, const std::string& subject) {
    for (Row& row : rows) {
        if (row.name == name && row.subject == subject) return row;
    }
    rows.push_back({name, subject, {}});
    return rows.back();
}

/// Adds what a file holds. A median replaces the single repetitions that stand before it.
bool read_results(const char* path, Rows& rows) {
    std::ifstream file(path);
    json::Variant results;
    if (!results.read(file) || !results.isObject()) return false;
    const json::Variant& entries = std::as_const(results)["benchmarks"];
    for (const json::Variant& entry : entries.listValue()) {
        // CASE/SUBJECT/LIBRARY, and more where Google Benchmark adds it.
        const std::string name = entry["run_name"].stringValue().c_str();
        std::array<std::string, 3> parts;
        std::istringstream text(name);
        for (std::string& part : parts) {
            std::getline(text, part, '/');
        }
        const std::optional<Figure> figure = figure_of(entry, name);
        if (!figure || parts[2].empty()) continue;
        Figure& held = row_of(rows, parts[0], parts[1]).figures[parts[2]];
        if (figure->isMedian || !held.isMedian) held = *figure;
    }
    return true;
}

// ----- The table of cases ------------------------------------------------------------------------

const std::vector<std::string> kColumns = {"gatecast",   "nlohmann",         "jsoncpp",
                                           "rapidjson",  "boost_json",       "valijson",
                                           "jsonrpccpp", "jsonrpccpp_served"};

/// The cases that users compare first; the others follow by name.
const std::vector<std::string> kFirstCases = {
    "parse",        "parse_kept",    "parse_in_pieces",  "print",
    "print_pretty", "shared_copy",   "deep_copy",        "copy_and_write_one",
    "heap",         "allocations",   "call_with_answer", "call_out",
    "event",        "header_update", "validate",         "load_schema"};

std::ptrdiff_t place_of(const std::string& name) {
    return std::find(kFirstCases.begin(), kFirstCases.end(), name) - kFirstCases.begin();
}

std::string with_digits(double value, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

std::string text_of(const Figure& figure) {
    switch (figure.kind) {
    case Figure::BytesPerByte:
        return with_digits(figure.value, 2) + " B/B";
    case Figure::Allocations:
        return with_digits(figure.value, 1) + " blocks";
    case Figure::Time:
        break;
    }
    if (figure.value < 1e3) return with_digits(figure.value, 1) + " ns";
    if (figure.value < 1e6) return with_digits(figure.value / 1e3, 2) + " us";
    return with_digits(figure.value / 1e6, 2) + " ms";
}

/// What everyone is compared with: the floor, if there is one, else gatecast.
std::string base_of(const Row& row) {
    for (const char* floor : {"yajl", "empty_process"}) {
        if (row.figures.count(floor) != 0) return floor;
    }
    return "gatecast";
}

void print_table(const std::vector<std::vector<std::string>>& lines) {
    std::vector<std::size_t> widths(lines.front().size(), 0);
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    for (std::size_t number = 0; number < lines.size(); ++number) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            std::cout << "| " << lines[number][i]
                      << std::string(widths[i] - lines[number][i].size() + 1, ' ');
        }
        std::cout << "|\n";
        if (number > 0) continue;
        for (const std::size_t width : widths) {
            std::cout << "| " << std::string(width, '-') << ' ';
        }
        std::cout << "|\n";
    }
}

void print_cases(const Rows& rows) {
    std::vector<std::string> columns;
    for (const std::string& column : kColumns) {
        const bool used = std::any_of(rows.begin(), rows.end(), [&](const Row& row) {
            return row.figures.count(column) != 0;
        });
        if (used) columns.push_back(column);
    }
    std::vector<std::vector<std::string>> lines = {{"case", "of", "base", "it takes"}};
    lines[0].insert(lines[0].end(), columns.begin(), columns.end());
    for (const Row& row : rows) {
        const std::string base = base_of(row);
        const auto found = row.figures.find(base);
        if (found == row.figures.end()) continue;
        lines.push_back({row.name, row.subject, base, text_of(found->second)});
        for (const std::string& column : columns) {
            const auto figure = row.figures.find(column);
            lines.back().push_back(
                figure == row.figures.end() || found->second.value == 0
                    ? ""
                    : with_digits(figure->second.value / found->second.value, 2) + "x");
        }
    }
    print_table(lines);
}

// ----- The goals ---------------------------------------------------------------------------------

/// A bound on gatecast's figure, or on its ratio to another figure of the same case.
struct Goal {
    const char* text;
    const char* name;
    const char* subject; ///< "*" for each that was measured
    const char* other;   ///< a library, or null for the figure itself
    bool inverse;        ///< the ratio is the other's figure to gatecast's
    bool atMost;
    double bound;
    const char* otherSubject = nullptr; ///< gatecast's figure there is the other one
};

const std::vector<Goal> kGoals = {
    {"parse + destroy at most 1.6x of the tokenizer", "parse", "twitter", "yajl", false, true, 1.6},
    {"parse + destroy at most 1.6x of the tokenizer", "parse", "citm_catalog", "yajl", false, true,
     1.6},
    {"parse + destroy at most 1.4x of the tokenizer", "parse", "canada", "yajl", false, true, 1.4},
    {"print compact at most 1.25x of the generator", "print", "*", "yajl", false, true, 1.25},
    {"shared copy below 10 ns", "shared_copy", "*", nullptr, false, true, 10},
    {"deep copy + destroy ahead of nlohmann", "deep_copy", "*", "nlohmann", false, true, 1},
    {"deep copy + destroy ahead of jsoncpp", "deep_copy", "*", "jsoncpp", false, true, 1},
    {"heap at most 1.5x of nlohmann", "heap", "*", "nlohmann", false, true, 1.5},
    {"validation at least 5 times valijson's rate", "validate", "500_rows", "valijson", true, false,
     5},
    {"a call at least 10 times libjson-rpc-cpp's rate", "call_with_answer", "30_methods",
     "jsonrpccpp", true, false, 10},
    {"the same with its server in the process", "call_with_answer", "30_methods",
     "jsonrpccpp_served", true, false, 10},
    {"a call with 3,000 methods at most 1.3x of one with 30", "call_with_answer", "3000_methods",
     "gatecast", false, true, 1.3, "30_methods"},
};

const Figure* find_figure(const Rows& rows, const std::string& name, const std::string& subject,
                          const std::string& library) {
    for (const Row& row : rows) {
        if (row.name != name || row.subject != subject) continue;
        const auto figure = row.figures.find(library);
        return figure != row.figures.end() ? &figure->second : nullptr;
    }
    return nullptr;
}

std::vector<std::string> judged(const Rows& rows, const Goal& goal, const std::string& subject) {
    const Figure* const own = find_figure(rows, goal.name, subject, "gatecast");
    if (own == nullptr) return {};
    double measured = own->value;
    std::string text = text_of(*own);
    if (goal.other != nullptr) {
        const Figure* const other =
            find_figure(rows, goal.name, goal.otherSubject != nullptr ? goal.otherSubject : subject,
                        goal.other);
        if (other == nullptr) return {};
        measured = goal.inverse ? other->value / own->value : own->value / other->value;
        text = with_digits(measured, 2) + "x";
    }
    const bool met = goal.atMost ? measured <= goal.bound : measured >= goal.bound;
    return {goal.text, subject, text, met ? "yes" : "NO"};
}

/// Whether both hold the same: of a repeated key others keep one value only.
bool comparable(const Row& row, const Goal& goal) {
    if (row.subject != "repeated" || goal.other == nullptr) return true;
    return goal.other != std::string("nlohmann") && goal.other != std::string("jsoncpp");
}

void print_goals(const Rows& rows) {
    std::vector<std::vector<std::string>> lines = {{"goal", "of", "measured", "met"}};
    for (const Goal& goal : kGoals) {
        std::vector<std::string> subjects;
        if (goal.subject != std::string("*")) subjects.push_back(goal.subject);
        for (const Row& row : rows) {
            if (subjects.size() == 1 && goal.subject == subjects.front()) break;
            if (row.name == goal.name && comparable(row, goal)) subjects.push_back(row.subject);
        }
        const std::size_t before = lines.size();
        for (const std::string& subject : subjects) {
            std::vector<std::string> line = judged(rows, goal, subject);
            if (!line.empty()) lines.push_back(std::move(line));
        }
        if (lines.size() == before) lines.push_back({goal.text, goal.subject, "", "not measured"});
    }
    print_table(lines);
}

} // namespace

int main(int argc, char** argv) {
    Rows rows;
    for (int i = 1; i < argc; ++i) {
        if (read_results(argv[i], rows)) continue;
        std::cerr << "gatecast-bench-table: " << argv[i] << " holds no results\n";
        return 1;
    }
    // A run takes them at random.
    std::sort(rows.begin(), rows.end(), [](const Row& left, const Row& right) {
        return std::make_tuple(place_of(left.name), left.name, left.subject) <
               std::make_tuple(place_of(right.name), right.name, right.subject);
    });
    print_cases(rows);
    std::cout << '\n';
    print_goals(rows);
    return 0;
}
