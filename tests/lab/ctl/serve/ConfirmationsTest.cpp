#include "lab/ctl/serve/Confirmations.h"

#include <gtest/gtest.h>

using orvanectl::Confirmations;

namespace {

Confirmations::Time at(int second)
{
    return Confirmations::Time(std::chrono::seconds(1000 + second));
}

}  // namespace

TEST(ConfirmationsTest, OneIsGoodOnceForWhatItWasAsked)
{
    Confirmations confirmations;
    const std::string one = confirmations.ask("erase", at(0));
    const std::string other = confirmations.ask("forget", at(0));
    EXPECT_FALSE(confirmations.take("erase", other, at(1)));
    EXPECT_TRUE(confirmations.take("erase", one, at(1)));
    EXPECT_FALSE(confirmations.take("erase", one, at(1)));
    EXPECT_FALSE(confirmations.take("forget", other, at(1)));  // used up by the wrong use of it
}

TEST(ConfirmationsTest, NoneIsGoodThatWasNotAsked)
{
    Confirmations confirmations;
    EXPECT_FALSE(confirmations.take("erase", "", at(0)));
    confirmations.ask("erase", at(0));
    EXPECT_FALSE(confirmations.take("erase", "", at(0)));
    EXPECT_FALSE(confirmations.take("erase", std::string(32, '0'), at(0)));
}

TEST(ConfirmationsTest, AMinuteLaterItIsTooLate)
{
    Confirmations confirmations;
    EXPECT_TRUE(confirmations.take("erase", confirmations.ask("erase", at(0)), at(60)));
    EXPECT_FALSE(confirmations.take("erase", confirmations.ask("erase", at(0)), at(61)));
}

TEST(ConfirmationsTest, TheOldestGivesWay)
{
    Confirmations confirmations;
    const std::string first = confirmations.ask("erase", at(0));
    const std::string second = confirmations.ask("erase", at(0));
    for (int i = 0; i < 63; ++i) confirmations.ask("erase", at(0));
    EXPECT_FALSE(confirmations.take("erase", first, at(0)));
    EXPECT_TRUE(confirmations.take("erase", second, at(0)));
}
