// SPDX-License-Identifier: MIT
// C++14: its headers have exception specifications, which later standards don't know.
#include <benchmark/benchmark.h>
#include <jsonrpccpp/client.h>

#include <string>

namespace bench {

namespace {

/// Answers at once. This client's ids are all 1, so that one text answers every call.
class AnsweringConnector : public jsonrpc::IClientConnector {
public:
    void SendRPCMessage(const std::string& message, std::string& result) noexcept override {
        bytesSent += message.size();
        result = R"({"jsonrpc":"2.0","result":true,"id":1})";
    }
    std::size_t bytesSent = 0;
};

} // namespace

void jsonrpccpp_call_with_answer(benchmark::State& state);
void jsonrpccpp_call_with_answer(benchmark::State& state) {
    AnsweringConnector connector;
    jsonrpc::Client client(connector);
    Json::Value params(Json::arrayValue);
    params.append("door");
    params.append(3);
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(client.CallMethod("method_7", params));
    }
}

} // namespace bench
