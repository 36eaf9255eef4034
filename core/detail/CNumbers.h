// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/Export.h"

#include <cstdint>
#include <locale.h>

namespace qx::detail {

/// Leading white space, a sign and digits, whatever the process's locale is; 0 if nothing fits.
/// Saturates at the bounds of 64 bits.
GATECAST_EXPORT std::int64_t text_to_integer(const char* text);

/// The leading number as the C library reads it in the "C" locale; 0 if nothing fits.
GATECAST_EXPORT double text_to_real(const char* text);

/// Holds the "C" locale for this thread, so that C libraries read and write numbers with a point.
class GATECAST_EXPORT CNumericScope {
public:
    CNumericScope();
    ~CNumericScope() { ::uselocale(outer_); }
    CNumericScope(const CNumericScope&) = delete;
    CNumericScope& operator=(const CNumericScope&) = delete;

private:
    locale_t outer_;
};

} // namespace qx::detail
