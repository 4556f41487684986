#include "VICTORY/OrvaneServer/ClearDataRequest.h"

#include <gtest/gtest.h>

namespace {

ClearDataRequest requestOfNumber(VapntcSystemData data)
{
    return requestOf(&data);
}

}  // namespace

TEST(ClearDataRequestTest, NoDataIsAZeroize)
{
    EXPECT_EQ(requestOf(nullptr).type, ClearDataCommand::CLEAR_ZEROIZE);
    EXPECT_EQ(requestOf(nullptr).complaint, "");
}

TEST(ClearDataRequestTest, AllDataIsADestroy)
{
    EXPECT_EQ(requestOfNumber(0).type, ClearDataCommand::CLEAR_DESTROY);
    EXPECT_EQ(requestOfNumber(0).complaint, "");
}

TEST(ClearDataRequestTest, CryptographicDataIsRefused)
{
    EXPECT_EQ(requestOfNumber(1).type, std::nullopt);
    EXPECT_EQ(requestOfNumber(1).complaint, ": VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT.");
}

TEST(ClearDataRequestTest, AnInvalidRequestGoesOnAsNoCommand)
{
    EXPECT_EQ(requestOfNumber(-1).type, ClearDataCommand::CLEAR_NONE);
    EXPECT_EQ(requestOfNumber(-1).complaint, ": Received VAPNTC_SYSTEM_DATA_INVALID. Nothing to do.");
}

TEST(ClearDataRequestTest, AnyOtherNumberIsRefusedWithTheNumber)
{
    EXPECT_EQ(requestOfNumber(2).type, std::nullopt);
    EXPECT_EQ(requestOfNumber(2).complaint, ": Unknown systemDataType: 2");
    EXPECT_EQ(requestOfNumber(-2).complaint, ": Unknown systemDataType: -2");
}
