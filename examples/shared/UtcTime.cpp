// SPDX-License-Identifier: MIT
#include "shared/UtcTime.h"

#include <ctime>

namespace shared {

namespace {

constexpr double kEndOfTheYear9999 = 253402300800.0;

} // namespace

std::string utcTime(double seconds) {
    // Written so that it refuses what isn't a number, too.
    if (!(seconds >= 0 && seconds < kEndOfTheYear9999)) return std::string();
    const auto whole = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char text[32];
    if (::gmtime_r(&whole, &parts) == nullptr) return std::string();
    return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts));
}

} // namespace shared
