// SPDX-License-Identifier: MIT
#include "peers/DocumentCases.h"

#include <json/json.h>

#include <memory>
#include <sstream>

namespace bench {

namespace {

struct JsonCpp {
    using Document = Json::Value;

    static Document parse(std::string_view text) {
        static const std::unique_ptr<Json::CharReader> reader = [] {
            Json::CharReaderBuilder builder;
            return std::unique_ptr<Json::CharReader>(builder.newCharReader());
        }();
        Document document;
        reader->parse(text.data(), text.data() + text.size(), &document, nullptr);
        return document;
    }
    static Document copy(const Document& document) { return document; }
    static Document copyToWrite(const Document& document) { return document; }
    static void writeOne(Document& document) {
        if (document.isArray()) {
            document[0] = 1;
        } else {
            document["id"] = 1;
        }
    }

    static bool lookUp(const Document& row) {
        benchmark::DoNotOptimize(&row["rid"]);
        benchmark::DoNotOptimize(&row["name_sender"]);
        benchmark::DoNotOptimize(&row["mailbox_id"]);
        return row["message_seen"].asBool();
    }
    static Document appended(int count) {
        Document list(Json::arrayValue);
        for (int i = 0; i < count; ++i) {
            list.append(i);
        }
        return list;
    }

    struct Path {
        std::string_view follow(const Document& document) {
            const char* begin = nullptr;
            const char* end = nullptr;
            path.resolve(document).getString(&begin, &end);
            return {begin, static_cast<std::size_t>(end - begin)};
        }
        Json::Path path{"result[250].events[0]"};
    };

    struct Printer {
        static constexpr bool kIndents = true;
        Printer() {
            Json::StreamWriterBuilder builder;
            builder["indentation"] = "";
            compact.reset(builder.newStreamWriter());
            builder["indentation"] = "\t";
            indented.reset(builder.newStreamWriter());
        }
        std::size_t print(const Document& document, bool pretty) {
            std::ostringstream out;
            (pretty ? indented : compact)->write(document, &out);
            text = out.str();
            return text.size();
        }
        std::unique_ptr<Json::StreamWriter> compact;
        std::unique_ptr<Json::StreamWriter> indented;
        std::string text;
    };
};

} // namespace

extern const Peer jsoncpp_peer;
const Peer jsoncpp_peer = {"jsoncpp", [] { register_document_cases<JsonCpp>("jsoncpp"); },
                           &hold_document<JsonCpp>};

} // namespace bench
