// SPDX-License-Identifier: MIT
#include "peers/DocumentCases.h"

#include <nlohmann/json.hpp>

namespace bench {

namespace {

struct Nlohmann {
    using Document = nlohmann::json;

    static Document parse(std::string_view text) { return Document::parse(text); }
    static Document copy(const Document& document) { return document; }
    static Document copyToWrite(const Document& document) { return document; }
    static void writeOne(Document& document) {
        if (document.is_array()) {
            document[0] = 1;
        } else {
            document["id"] = 1;
        }
    }

    static bool lookUp(const Document& row) {
        benchmark::DoNotOptimize(&row["rid"]);
        benchmark::DoNotOptimize(&row["name_sender"]);
        benchmark::DoNotOptimize(&row["mailbox_id"]);
        return row["message_seen"].get<bool>();
    }
    static Document appended(int count) {
        Document list = Document::array();
        for (int i = 0; i < count; ++i) {
            list.push_back(i);
        }
        return list;
    }

    struct Path {
        std::string_view follow(const Document& document) {
            return document[pointer].get_ref<const std::string&>();
        }
        Document::json_pointer pointer{"/result/250/events/0"};
    };

    struct Printer {
        static constexpr bool kIndents = true;
        std::size_t print(const Document& document, bool pretty) {
            text = pretty ? document.dump(1, '\t') : document.dump();
            return text.size();
        }
        std::string text;
    };
};

} // namespace

extern const Peer nlohmann_peer;
const Peer nlohmann_peer = {"nlohmann", [] { register_document_cases<Nlohmann>("nlohmann"); },
                            &hold_document<Nlohmann>};

} // namespace bench
