// SPDX-License-Identifier: MIT
#include "json/Variant.h"

#include "schema/Schema.h"
#include "support/ValueProbe.h"
#include "json/Path.h"

#include <clocale>
#include <locale>
#include <sstream>
#include <string>
#include <utility>

namespace {

using json::Variant;

struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// A decimal comma in the C locale, a comma and grouping in the global C++ one.
class VariantLocale : public testing::Test {
protected:
    void SetUp() override {
        before_ = std::locale();
        cBefore_ = std::setlocale(LC_ALL, nullptr);
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
        ASSERT_NE(nullptr, std::setlocale(LC_ALL, "de_DE.utf8"));
        ASSERT_STREQ(",", std::localeconv()->decimal_point);
    }
    void TearDown() override {
        std::locale::global(before_);
        std::setlocale(LC_ALL, cBefore_.c_str());
    }

private:
    std::locale before_;
    std::string cBefore_;
};

TEST_F(VariantLocale, LeavesTheReadingOfATextAlone) {
    EXPECT_EQ(1.5, Variant("1.5").realValue());
    EXPECT_EQ(1.0, Variant("1,5").realValue());
    EXPECT_EQ(-0.25, static_cast<double>(Variant(" -25e-2")));
    EXPECT_EQ(1, Variant("1.234").integerValue());
    EXPECT_EQ(1234567, Variant("1234567").integerValue());
    EXPECT_EQ(0, compare(Variant::fromReal(1.5), Variant("1.5")));
    Variant value("2.5");
    value.convertToReal();
    EXPECT_EQ(2.5, value.realValue());
}

TEST_F(VariantLocale, LeavesPrintedNumbersAlone) {
    EXPECT_EQ("1.5", json_of(Variant::fromReal(1.5)));
    EXPECT_EQ("1234567", json_of(Variant(1234567)));
    EXPECT_EQ("1234567.5", json_of(Variant::fromReal(1234567.5)));
    EXPECT_STREQ("-2.5", Variant::fromReal(-2.5).charsValue());
    Variant value = Variant::fromReal(0.5);
    value.convertToString();
    EXPECT_EQ("0.5", text_of(value));
    std::ostringstream out;
    out << Variant::fromReal(1234567.5) << ' ' << Variant(1234567);
    EXPECT_EQ("1234567.5 1234567", out.str());
}

TEST_F(VariantLocale, LeavesTheReadingOfJsonAlone) {
    Variant value;
    std::istringstream in("[1.5, 1234567, 2.5e3]");
    ASSERT_TRUE(value.read(in));
    EXPECT_EQ(1.5, std::as_const(value)[0].realValue());
    EXPECT_EQ("[1.5,1234567,2500.0]", json_of(value));
}

TEST_F(VariantLocale, LeavesPathsAndReportsAlone) {
    json::Path path;
    path << std::size_t{1234567};
    EXPECT_STREQ("1234567", path[0]);
    json::Schema::ValidationResult result(1234567);
    result.detail = Variant::fromReal(1234567.5);
    std::ostringstream out;
    out << result;
    EXPECT_EQ("Schema Validation Error (1234567): (1234567.5)\nat: \n", out.str());
}

} // namespace
