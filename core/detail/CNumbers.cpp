// SPDX-License-Identifier: MIT
#include "core/detail/CNumbers.h"

#include <cstdlib>
#include <new>

namespace qx::detail {

namespace {

locale_t c_locale() {
    static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    if (locale == nullptr) throw std::bad_alloc();
    return locale;
}

} // namespace

std::int64_t text_to_integer(const char* text) {
    return ::strtoll_l(text, nullptr, 10, c_locale());
}

double text_to_real(const char* text) { return ::strtod_l(text, nullptr, c_locale()); }

CNumericScope::CNumericScope() : outer_(::uselocale(c_locale())) {}

} // namespace qx::detail
