// SPDX-License-Identifier: MIT
// C++14: its headers say "throw()" with types, which later standards no longer know.
#include <benchmark/benchmark.h>
#include <jsonrpccpp/client.h>
#include <jsonrpccpp/server.h>

#include <string>

namespace bench {

namespace {

const char* const kMethod = "method_7";

/// Answers at once. This client's ids are all 1, so that one text answers every call.
class AnsweringConnector : public jsonrpc::IClientConnector {
public:
    void SendRPCMessage(const std::string& message, std::string& result) noexcept override {
        bytesSent += message.size();
        result = R"({"jsonrpc":"2.0","result":true,"id":1})";
    }
    std::size_t bytesSent = 0;
};

/// Hands a request to a server of the same library, which answers at once.
class ServingConnector : public jsonrpc::IClientConnector, public jsonrpc::AbstractServerConnector {
public:
    void SendRPCMessage(const std::string& message, std::string& result) noexcept override {
        OnRequest(message);
        result = answer_;
    }
    bool StartListening() override { return true; }
    bool StopListening() override { return true; }
    bool SendResponse(const std::string& response, void*) override {
        answer_ = response;
        return true;
    }

private:
    std::string answer_;
};

class Server : public jsonrpc::AbstractServer<Server> {
public:
    explicit Server(jsonrpc::AbstractServerConnector& connector)
        : jsonrpc::AbstractServer<Server>(connector) {
        bindAndAddMethod(jsonrpc::Procedure(kMethod, jsonrpc::PARAMS_BY_POSITION,
                                            jsonrpc::JSON_BOOLEAN, "a", jsonrpc::JSON_STRING, "b",
                                            jsonrpc::JSON_INTEGER, NULL),
                         &Server::act);
    }

private:
    void act(const Json::Value&, Json::Value& result) { result = true; }
};

void call(benchmark::State& state, jsonrpc::IClientConnector& connector) {
    jsonrpc::Client client(connector);
    Json::Value params(Json::arrayValue);
    params.append("door");
    params.append(3);
    if (!client.CallMethod(kMethod, params).asBool()) state.SkipWithError("no answer");
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(client.CallMethod(kMethod, params));
    }
}

} // namespace

void jsonrpccpp_call_with_answer(benchmark::State& state);
void jsonrpccpp_call_with_answer(benchmark::State& state) {
    AnsweringConnector connector;
    call(state, connector);
}

void jsonrpccpp_call_served(benchmark::State& state);
void jsonrpccpp_call_served(benchmark::State& state) {
    ServingConnector connector;
    Server server(connector);
    call(state, connector);
}

} // namespace bench
