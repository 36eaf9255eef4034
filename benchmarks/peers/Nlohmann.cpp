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
