#include "core/double_text.h"

#include <gtest/gtest.h>
#include <limits>

namespace halvoren {
namespace {

TEST(DoubleText, WholeNumbersKeepAFraction) {
    EXPECT_EQ(doubleText(-1.0), "-1.0");
    EXPECT_EQ(doubleText(2000.0), "2000.0");
    EXPECT_EQ(doubleText(0.0), "0.0");
    EXPECT_EQ(doubleText(-0.0), "-0.0");
}

TEST(DoubleText, ShortestDigitsThatReadBack) {
    EXPECT_EQ(doubleText(0.1), "0.1");
    EXPECT_EQ(doubleText(0.25), "0.25");
    EXPECT_EQ(doubleText(1.0 / 3.0), "0.3333333333333333");
    EXPECT_EQ(doubleText(0.0001), "0.0001");
}

TEST(DoubleText, ExponentFormAtTheEdges) {
    EXPECT_EQ(doubleText(1e19), "1e+19");
    EXPECT_EQ(doubleText(9007199254740992.0), "9.007199254740992e+15");
    EXPECT_EQ(doubleText(9007199254740991.0), "9007199254740991.0");
    EXPECT_EQ(doubleText(0.00001), "1e-05");
    EXPECT_EQ(doubleText(-1.5e-7), "-1.5e-07");
    EXPECT_EQ(doubleText(1.7976931348623157e308), "1.7976931348623157e+308");
}

TEST(DoubleText, NonFinite) {
    EXPECT_EQ(doubleText(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(doubleText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(doubleText(-std::numeric_limits<double>::infinity()), "-inf");
}

} // namespace
} // namespace halvoren
