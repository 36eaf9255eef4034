// SPDX-License-Identifier: MIT
#include "core/IPAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace qx {

IPAddress::IPAddress(const std::string& text) {
    if (text.find('\0') != std::string::npos) return;
    in_addr v4;
    in6_addr v6;
    if (inet_pton(AF_INET, text.c_str(), &v4) == 1) {
        family_ = Family::V4;
    } else if (inet_pton(AF_INET6, text.c_str(), &v6) == 1) {
        family_ = Family::V6;
    }
}

} // namespace qx
