// SPDX-License-Identifier: MIT
#pragma once

#include <clocale>
#include <locale>
#include <string>

/// Gives the process a decimal comma and grouping while it lives, in the C locale and in the global
/// C++ one. `active` tells whether the C locale was there: the build makes it for the tests.
class CommaLocale {
public:
    CommaLocale() : before_(std::locale()), cBefore_(std::setlocale(LC_ALL, nullptr)) {
        std::locale::global(std::locale(std::locale::classic(), new Comma));
        std::setlocale(LC_ALL, "de_DE.utf8");
    }
    ~CommaLocale() {
        std::locale::global(before_);
        std::setlocale(LC_ALL, cBefore_.c_str());
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    /// Whether the thread formats numbers with a comma now.
    static bool active() { return std::string(",") == std::localeconv()->decimal_point; }

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale before_;
    std::string cBefore_;
};
