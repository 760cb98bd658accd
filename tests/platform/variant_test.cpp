#include "platform/variant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/virtual_env.h"

namespace ccaddin {
namespace {

// Text conversions read the locale's decimal separator; tests pin it.
class VariantTest : public ::testing::Test {
 protected:
  VirtualEnv env_;
  ScopedEnv scoped_{&env_};
};

TEST_F(VariantTest, TextReadsAsNumbersWithTheLocaleSeparatorOrAPoint) {
  EXPECT_EQ(Variant("12").ToInt32().value(), 12);
  EXPECT_EQ(Variant(" -7 ").ToInt16().value(), -7);
  EXPECT_EQ(Variant("1e3").ToDouble().value(), 1000.0);

  env_.SetDecimalSeparator(",");
  EXPECT_EQ(Variant("1,5").ToDouble().value(), 1.5);
  EXPECT_EQ(Variant("1.5").ToDouble().value(), 1.5);  // a host's invariant text still reads
  EXPECT_EQ(Variant("12,50").ToCurrency().value(), Currency::FromUnits(125'000));

  env_.SetDecimalSeparator(".");
  // A thousands separator is refused, not taken as a decimal point or ignored.
  for (const char* bad : {"1,234.50", "", "  ", "-", ".", "12abc", "1e", "0x10", "1.2.3"}) {
    const auto d = Variant(bad).ToDouble();
    ASSERT_FALSE(d.ok()) << bad;
    EXPECT_EQ(d.error(), "Type mismatch") << bad;
    EXPECT_EQ(Variant(bad).ToCurrency().error(), "Type mismatch") << bad;
  }
}

TEST_F(VariantTest, WholeNumbersRoundHalvesToEvenAndOverflowCleanly) {
  EXPECT_EQ(Variant(2.5).ToInt32().value(), 2);
  EXPECT_EQ(Variant(3.5).ToInt32().value(), 4);
  EXPECT_EQ(Variant(Currency::FromUnits(15'000)).ToInt32().value(), 2);
  EXPECT_EQ(Variant(Currency::FromUnits(25'000)).ToInt32().value(), 2);
  EXPECT_EQ(Variant(true).ToInt32().value(), -1);

  EXPECT_EQ(Variant(int32_t{32'767}).ToInt16().value(), 32'767);
  EXPECT_EQ(Variant(int32_t{32'768}).ToInt16().error(), "Overflow");
  EXPECT_EQ(Variant(2'147'483'647.4).ToInt32().value(), 2'147'483'647);
  EXPECT_EQ(Variant(2'147'483'647.5).ToInt32().error(), "Overflow");
  EXPECT_EQ(Variant("99999999999").ToInt32().error(), "Overflow");
  EXPECT_EQ(Variant(std::numeric_limits<double>::quiet_NaN()).ToInt32().error(), "Overflow");
  EXPECT_EQ(Variant("1e400").ToDouble().error(), "Overflow");
  EXPECT_EQ(Variant("1e-400").ToDouble().value(), 0.0);
}

TEST_F(VariantTest, CurrencyKeepsHostAmountsExact) {
  // The host's 2.675 scales to 268 minor units; a double would give 267.
  const Currency cy = Variant("2.675").ToCurrency().value();
  EXPECT_EQ(cy.units, 26'750);
  EXPECT_EQ(cy.ToMinorUnits(2).value(), 268);
  EXPECT_EQ(Variant(2.675).ToCurrency().value(), cy);
  EXPECT_EQ(Currency::FromUnits(26'250).ToMinorUnits(2).value(), 262);
  EXPECT_EQ(Currency::FromUnits(-26'250).ToMinorUnits(2).value(), -262);
  EXPECT_EQ(cy.ToMinorUnits(0).value(), 3);

  // Beyond four decimals, text rounds halves to even.
  EXPECT_EQ(Variant("0.00005").ToCurrency().value().units, 0);
  EXPECT_EQ(Variant("0.00015").ToCurrency().value().units, 2);
  EXPECT_EQ(Variant("0.000051").ToCurrency().value().units, 1);
  EXPECT_EQ(Variant("1.5e2").ToCurrency().value().units, 1'500'000);

  EXPECT_EQ(Variant("922337203685477.5807").ToCurrency().value().units,
            std::numeric_limits<int64_t>::max());
  EXPECT_EQ(Variant("922337203685477.5808").ToCurrency().error(), "Overflow");
  EXPECT_EQ(Variant(1e16).ToCurrency().error(), "Overflow");
  EXPECT_EQ(Currency::FromUnits(300'000'000'000).ToMinorUnits(2).error(), "Overflow");
  EXPECT_EQ(Currency::FromUnits(1).ToMinorUnits(std::numeric_limits<int32_t>::min()).value(), 0);
  EXPECT_EQ(Currency::FromUnits(1).ToMinorUnits(std::numeric_limits<int32_t>::max()).error(),
            "Overflow");

  EXPECT_EQ(Currency::FromMinorUnits(150, 2).value().units, 15'000);
  EXPECT_EQ(Currency::FromMinorUnits(-5, 3).value().units, -50);
  EXPECT_EQ(Currency::FromMinorUnits(std::numeric_limits<int64_t>::max(), 0).error(), "Overflow");
}

TEST_F(VariantTest, EmptyNullErrorsAndObjectsCoerceAsLateBindingDoes) {
  const Variant empty;
  EXPECT_EQ(empty.ToInt32().value(), 0);
  EXPECT_EQ(empty.ToString().value(), "");
  EXPECT_FALSE(empty.ToBool().value());
  EXPECT_EQ(empty.ToDate().value(), MakeDateTime(1899, 12, 30));
  EXPECT_EQ(empty.ToObject().error(), "Type mismatch");

  const Variant null = Variant::Null();
  EXPECT_EQ(null.ToString().error(), "Invalid use of Null");
  EXPECT_EQ(null.ToCurrency().error(), "Invalid use of Null");

  const Variant missing = Variant::Missing();
  EXPECT_TRUE(missing.IsMissing());
  EXPECT_FALSE(Variant::Error(5).IsMissing());
  EXPECT_EQ(missing.ToInt32().error(), "Type mismatch");

  const Variant nothing(nullptr);
  EXPECT_TRUE(nothing.IsObject());
  EXPECT_EQ(nothing.ToObject().value(), nullptr);
  EXPECT_EQ(nothing.ToString().error(), "Type mismatch");
  EXPECT_EQ(nothing.Describe(), "Nothing");
}

TEST_F(VariantTest, TextFormsOfNumbersBooleansAndDates) {
  EXPECT_EQ(Variant(0.1 + 0.2).ToString().value(), "0.3");  // 15 significant digits
  EXPECT_EQ(Variant(1e20).ToString().value(), "1E+20");
  EXPECT_EQ(Variant(Currency::FromUnits(-500)).ToString().value(), "-0.05");
  EXPECT_EQ(Variant(Currency::FromUnits(120'000)).ToString().value(), "12");
  EXPECT_EQ(Variant(false).ToString().value(), "False");
  env_.SetDecimalSeparator(",");
  EXPECT_EQ(Variant(12.5).ToString().value(), "12,5");
  EXPECT_EQ(Variant(Currency::FromUnits(125'000)).ToString().value(), "12,5");

  EXPECT_TRUE(Variant("true").ToBool().value());
  EXPECT_FALSE(Variant(" FALSE ").ToBool().value());
  EXPECT_TRUE(Variant("-1").ToBool().value());
  EXPECT_EQ(Variant("maybe").ToBool().error(), "Type mismatch");

  const DateTime t = MakeDateTime(2026, 3, 7, 9, 5, 2);
  EXPECT_EQ(Variant(t).ToString().value(), "2026-03-07 09:05:02");
  EXPECT_EQ(Variant(MakeDateTime(2026, 3, 7)).ToString().value(), "2026-03-07");
  EXPECT_EQ(Variant(MakeDateTime(1899, 12, 30, 18)).ToString().value(), "18:00:00");
  EXPECT_EQ(Variant("2026-03-07 09:05:02").ToDate().value(), t);
  EXPECT_EQ(Variant("2026-02-30").ToDate().error(), "Type mismatch");
}

TEST_F(VariantTest, DatesAreDaysSinceDayZeroWithTheTimeAsFraction) {
  EXPECT_EQ(Variant(MakeDateTime(1899, 12, 30)).ToDouble().value(), 0.0);
  EXPECT_EQ(Variant(MakeDateTime(2026, 1, 15, 18)).ToDouble().value(), 46'037.75);
  EXPECT_EQ(Variant(2.25).ToDate().value(), MakeDateTime(1900, 1, 1, 6));
  // Before day zero the fraction still counts forward from the (earlier) day.
  EXPECT_EQ(Variant(-1.25).ToDate().value(), MakeDateTime(1899, 12, 29, 6));
  EXPECT_EQ(Variant(MakeDateTime(1899, 12, 29, 6)).ToDouble().value(), -1.25);
  EXPECT_EQ(Variant(1e7).ToDate().error(), "Overflow");
}

TEST_F(VariantTest, ChangeTypeConvertsAndEqualityIncludesTheType) {
  EXPECT_NE(Variant(int16_t{1}), Variant(int32_t{1}));
  EXPECT_EQ(Variant(int16_t{1}).ChangeType(VariantType::kLong).value(), Variant(int32_t{1}));
  EXPECT_EQ(Variant("12.5").ChangeType(VariantType::kCurrency).value(),
            Variant(Currency::FromUnits(125'000)));
  EXPECT_EQ(Variant(int32_t{7}).ChangeType(VariantType::kString).value(), Variant("7"));
  EXPECT_EQ(Variant("x").ChangeType(VariantType::kLong).error(), "Type mismatch");
  EXPECT_EQ(Variant(int32_t{7}).ChangeType(VariantType::kObject).error(), "Type mismatch");
}

}  // namespace
}  // namespace ccaddin
