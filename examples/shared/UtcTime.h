// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace shared {

/// A time as a person reads it, "2026-03-04 09:30:00", in UTC and without fractions.
/// @param seconds  since the beginning of 1970.
/// Bad input: a time before 1970 or after the year 9999 gives the empty text.
std::string utcTime(double seconds);

} // namespace shared
