// SPDX-License-Identifier: MIT
#include "peers/DocumentCases.h"

#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace bench {

namespace {

struct RapidJson {
    using Document = rapidjson::Document;

    static Document parse(std::string_view text) {
        Document document;
        document.Parse(text.data(), text.size());
        return document;
    }
    static Document copy(const Document& document) {
        Document copy;
        copy.CopyFrom(document, copy.GetAllocator());
        return copy;
    }
    static Document copyToWrite(const Document& document) { return copy(document); }
    static void writeOne(Document& document) {
        if (document.IsArray()) {
            document[0].SetInt(1);
        } else {
            const auto found = document.FindMember("id");
            if (found != document.MemberEnd()) {
                found->value.SetInt(1);
            } else {
                document.AddMember("id", 1, document.GetAllocator());
            }
        }
    }

    static bool lookUp(const Document& row) {
        benchmark::DoNotOptimize(&row["rid"]);
        benchmark::DoNotOptimize(&row["name_sender"]);
        benchmark::DoNotOptimize(&row["mailbox_id"]);
        return row["message_seen"].GetBool();
    }
    static Document appended(int count) {
        Document list(rapidjson::kArrayType);
        for (int i = 0; i < count; ++i) {
            list.PushBack(i, list.GetAllocator());
        }
        return list;
    }

    struct Path {
        std::string_view follow(const Document& document) {
            const rapidjson::Value* const found = pointer.Get(document);
            return {found->GetString(), found->GetStringLength()};
        }
        rapidjson::Pointer pointer{"/result/250/events/0"};
    };

    struct Printer {
        static constexpr bool kIndents = true;
        std::size_t print(const Document& document, bool pretty) {
            buffer.Clear();
            if (pretty) {
                rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
                writer.SetIndent('\t', 1);
                document.Accept(writer);
            } else {
                rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
                document.Accept(writer);
            }
            benchmark::DoNotOptimize(buffer.GetString());
            return buffer.GetSize();
        }
        rapidjson::StringBuffer buffer;
    };
};

} // namespace

extern const Peer rapidjson_peer;
const Peer rapidjson_peer = {"rapidjson", [] { register_document_cases<RapidJson>("rapidjson"); },
                             &hold_document<RapidJson>};

} // namespace bench
