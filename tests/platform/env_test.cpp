#include <gtest/gtest.h>

#include <clocale>
#include <vector>

#include "platform/env.h"
#include "platform/virtual_env.h"

namespace ccaddin {
namespace {

TEST(DateTime, SerialRoundTripAcrossLeapDayAndYearEnd) {
  for (const DateTime& t : {MakeDateTime(2024, 2, 29, 23, 59, 59, 999), MakeDateTime(1999, 12, 31),
                            MakeDateTime(1899, 12, 30), MakeDateTime(2100, 3, 1, 12)}) {
    EXPECT_EQ(DateTime::FromSerialMs(t.ToSerialMs()), t);
  }
  EXPECT_EQ(MakeDateTime(2024, 2, 28, 23, 0).PlusMilliseconds(2 * 3'600'000),
            MakeDateTime(2024, 2, 29, 1, 0));
}

TEST(DateTime, DaysUntilCountsCalendarDaysNotElapsedTime) {
  EXPECT_EQ(MakeDateTime(2026, 1, 1, 23, 59).DaysUntil(MakeDateTime(2026, 1, 2, 0, 1)), 1);
  EXPECT_EQ(MakeDateTime(2026, 1, 1).DaysUntil(MakeDateTime(2026, 1, 8, 23)), 7);
  EXPECT_EQ(MakeDateTime(2024, 2, 1).DaysUntil(MakeDateTime(2024, 3, 1)), 29);
  EXPECT_EQ(MakeDateTime(2026, 1, 8).DaysUntil(MakeDateTime(2026, 1, 1)), -7);
}

TEST(DateTime, TextFormsAndValidity) {
  const DateTime t = MakeDateTime(2026, 3, 7, 9, 5, 2);
  EXPECT_EQ(t.Yyyymmdd(), "20260307");
  EXPECT_EQ(t.Hhmmss(), "090502");
  EXPECT_TRUE(t.IsValid());
  EXPECT_FALSE(MakeDateTime(2026, 2, 29).IsValid());
  EXPECT_FALSE(MakeDateTime(2026, 13, 1).IsValid());
  EXPECT_FALSE(MakeDateTime(2026, 1, 1, 24).IsValid());
}

TEST(VirtualEnv, ScheduledActionsRunInTimeOrderAtTheirOwnTime) {
  VirtualEnv env(MakeDateTime(2026, 1, 1));
  std::vector<std::pair<int, int>> seen;  // (action, millisecond of the clock when it ran)
  env.RunAfter(300, [&] { seen.emplace_back(3, env.Now().millisecond); });
  env.RunAfter(50, [&] {
    seen.emplace_back(1, env.Now().millisecond);
    env.RunAfter(150, [&] { seen.emplace_back(2, env.Now().millisecond); });
  });
  env.Sleep(250);
  EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{1, 50}, {2, 200}}));
  EXPECT_EQ(env.Now().millisecond, 250);
  env.Sleep(100);
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_EQ(seen[2], std::make_pair(3, 300));
}

TEST(VirtualEnv, DoEventsRunsDueActionsAndStepsTheClock) {
  VirtualEnv env(MakeDateTime(2026, 1, 1));
  int clicks = 0;
  env.RunAfter(0, [&] { ++clicks; });
  env.RunAfter(20, [&] { ++clicks; });
  env.DoEvents();
  EXPECT_EQ(clicks, 1);
  env.SetDoEventsStep(10);
  env.DoEvents();
  env.DoEvents();
  env.DoEvents();
  EXPECT_EQ(clicks, 2);
  EXPECT_EQ(env.Now().millisecond, 30);
  EXPECT_EQ(env.do_events_calls(), 4);
}

TEST(Env, DecimalSeparatorFollowsTheProcessLocale) {
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(Env::Default()->DecimalSeparator(), ".");
}

}  // namespace
}  // namespace ccaddin
