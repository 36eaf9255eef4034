// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"

#include <string>

namespace qx {

/// Says of a text whether it is an IP address. No zone and no prefix length is taken.
/// Threads: one at a time.
class GATECAST_EXPORT IPAddress {
public:
    /// Bad input: any text is accepted; it is then of neither family.
    IPAddress(const std::string& text);

    /// Four decimal numbers with dots between them.
    bool isIPv4() const { return family_ == Family::V4; }
    /// A textual IPv6 address, also with an IPv4 tail.
    bool isIPv6() const { return family_ == Family::V6; }

private:
    enum class Family { None, V4, V6 };
    Family family_ = Family::None;
};

} // namespace qx
