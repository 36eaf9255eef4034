// SPDX-License-Identifier: MIT
#include "peers/Peer.h"

namespace bench {

extern const Peer gatecast_peer;
extern const Peer yajl_peer;
extern const Peer nlohmann_peer;
extern const Peer jsoncpp_peer;
extern const Peer rapidjson_peer;
extern const Peer boost_json_peer;

const std::vector<Peer>& peers() {
    static const std::vector<Peer> all = {
        gatecast_peer,   yajl_peer,
#ifdef GATECAST_BENCH_NLOHMANN
        nlohmann_peer,
#endif
#ifdef GATECAST_BENCH_JSONCPP
        jsoncpp_peer,
#endif
#ifdef GATECAST_BENCH_RAPIDJSON
        rapidjson_peer,
#endif
#ifdef GATECAST_BENCH_BOOST_JSON
        boost_json_peer,
#endif
    };
    return all;
}

} // namespace bench
