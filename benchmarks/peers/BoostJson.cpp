// SPDX-License-Identifier: MIT
// Another Boost than gatecast's: this source is a library of its own that shows one name only.
#include "peers/DocumentCases.h"

#include <boost/json/src.hpp>

namespace bench {

namespace {

struct BoostJson {
    using Document = boost::json::value;

    static Document parse(std::string_view text) {
        boost::json::parse_options options;
        options.max_depth = 1000;
        return boost::json::parse({text.data(), text.size()}, {}, options);
    }
    static Document copy(const Document& document) { return document; }
    static Document copyToWrite(const Document& document) { return document; }
    static void writeOne(Document& document) {
        if (document.is_array()) {
            document.as_array()[0] = 1;
        } else {
            document.as_object()["id"] = 1;
        }
    }

    static bool lookUp(const Document& row) {
        const boost::json::object& members = row.get_object();
        benchmark::DoNotOptimize(&members.at("rid"));
        benchmark::DoNotOptimize(&members.at("name_sender"));
        benchmark::DoNotOptimize(&members.at("mailbox_id"));
        return members.at("message_seen").as_bool();
    }
    static Document appended(int count) {
        boost::json::array list;
        for (int i = 0; i < count; ++i) {
            list.push_back(i);
        }
        return list;
    }

    struct Path {
        std::string_view follow(const Document& document) {
            const boost::json::string& text =
                document.at_pointer("/result/250/events/0").as_string();
            return {text.data(), text.size()};
        }
    };

    struct Printer {
        static constexpr bool kIndents = false;
        std::size_t print(const Document& document, bool) {
            text = boost::json::serialize(document);
            return text.size();
        }
        std::string text;
    };
};

} // namespace

extern __attribute__((visibility("default"))) const Peer boost_json_peer;
const Peer boost_json_peer = {"boost_json",
                              [] { register_document_cases<BoostJson>("boost_json"); },
                              &hold_document<BoostJson>};

} // namespace bench
