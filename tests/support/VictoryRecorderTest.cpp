#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;

namespace {

int saveVclid(void* context, VapntsService*, const char* vclText)
{
    *static_cast<std::string*>(context) = vclText;
    return 5;
}

void tell(void* context, VapntsService*)
{
    ++*static_cast<int*>(context);
}

}  // namespace

TEST(VictoryRecorderTest, CallsStandInTheirOrderWithTheirArguments)
{
    VictoryRecorder victory;
    VapntsService* service = vapntsNewService("configuration", "vcl");
    EXPECT_EQ(vapntsInitPubGroup(service, 2, 1.0), 0);
    EXPECT_EQ(vapntsStartService(service), 0);
    EXPECT_THAT(victory.operations(), ElementsAre("vapntsNewService", "vapntsInitPubGroup", "vapntsStartService"));
    EXPECT_EQ(victory.last("vapntsNewService").text(1), "vcl");
    EXPECT_EQ(victory.last("vapntsInitPubGroup").service, service);
    EXPECT_EQ(victory.last("vapntsInitPubGroup").number(0), 2);
    EXPECT_EQ(victory.last("vapntsInitPubGroup").real(1), 1.0);
    EXPECT_THROW(victory.last("vapntsInitPubGroup").text(0), std::bad_any_cast);
    EXPECT_THROW(victory.last("vapntsDeleteService"), std::out_of_range);
}

TEST(VictoryRecorderTest, RecordsAreCopied)
{
    VictoryRecorder victory;
    VapntcSystemConfiguration configuration{};
    std::strcpy(configuration.systemName, "unit");
    vapntsTellSystemConfiguration(victory.newService(), configuration);
    const auto call = victory.last("vapntsTellSystemConfiguration");
    EXPECT_STREQ(call.record<VapntcSystemConfiguration>().systemName, "unit");
    EXPECT_THROW(call.record<VapntcBitResults>(), std::bad_any_cast);
}

TEST(VictoryRecorderTest, TimeOfATellIsCopiedOrNull)
{
    VictoryRecorder victory;
    const VapntcTime time{2024, 2, 3, 0, 4, 5, 6, 7};
    vapntsTellNavWarSaData(victory.newService(), VapntcNavWarSaRecord{}, &time);
    vapntsTellWarningMessagesData(victory.newService(), VapntcWarningMessagesRecord{}, nullptr);
    EXPECT_EQ(victory.last("vapntsTellNavWarSaData").time()->year, 2024u);
    EXPECT_EQ(victory.last("vapntsTellWarningMessagesData").time(), nullptr);
}

TEST(VictoryRecorderTest, ResultsAreScripted)
{
    VictoryRecorder victory;
    victory.answer("vapntsNewService", 0);
    victory.answer("vapntsStartService", 9);
    EXPECT_EQ(vapntsNewService("", ""), nullptr);
    EXPECT_EQ(vapntsStartService(victory.newService()), 9);
}

TEST(VictoryRecorderTest, CallbacksAreFiredWithTheirContext)
{
    VictoryRecorder victory;
    VapntsService* service = victory.newService();
    std::string saved;
    int told = 0;
    EXPECT_THROW(victory.fireTell(1), std::logic_error);
    vapntsInitSaveVclidCallback(service, saveVclid, &saved);
    vapntsInitTellCallback(service, 1, tell, &told);
    EXPECT_EQ(victory.fireSaveVclid("new"), 5);
    victory.fireTell(1);
    EXPECT_EQ(saved, "new");
    EXPECT_EQ(told, 1);
    EXPECT_EQ(victory.last("vapntsInitTellCallback").pointer(1), &told);
    vapntsDeleteService(service);
    EXPECT_THROW(victory.fireTell(1), std::logic_error);
}

TEST(VictoryRecorderTest, UseOfADeletedServiceIsNoticed)
{
    VictoryRecorder victory;
    VapntsService* service = vapntsNewService("", "");
    vapntsDeleteService(service);
    vapntsTellClearSystemData(service, 0);
    EXPECT_THAT(victory.usesOfDeletedServices(), ElementsAre("vapntsTellClearSystemData"));
}

TEST(VictoryRecorderTest, FaultsAreNumberedOverAllKinds)
{
    VictoryRecorder victory;
    EXPECT_EQ(vgpssAddFault(victory.gpss(), "text", 1, VHLTHC_SEVERITY_ALERT, 22, 1), 1u);
    EXPECT_EQ(vpossAddFault(victory.poss(), "text", 0, VHLTHC_SEVERITY_ERROR, 22, 1), 2u);
    EXPECT_EQ(vgpssRemoveFault(victory.gpss(), 1, 0), 0);
    EXPECT_EQ(victory.last("vgpssAddFault").number(2), 36);
    EXPECT_EQ(victory.last("vgpssRemoveFault").number(0), 1);
}

TEST(VictoryRecorderTest, FilesAreKeptInMemory)
{
    VictoryRecorder victory;
    char buffer[5] = "";
    EXPECT_NE(vutilReadStringFromFile("/a", 5, buffer), 0);
    EXPECT_EQ(vutilWriteStringToFile("text", "/a"), 0);
    EXPECT_EQ(vutilReadStringFromFile("/a", 5, buffer), 0);
    EXPECT_STREQ(buffer, "text");
    EXPECT_NE(vutilReadStringFromFile("/a", 4, buffer), 0);
    EXPECT_EQ(victory.file("/a"), "text");
}

TEST(VictoryRecorderTest, CallsOfOtherThreadsAreAwaited)
{
    VictoryRecorder victory;
    std::thread other([service = victory.newService()] { vapntsTellClearSystemData(service, 0); });
    EXPECT_TRUE(victory.waitForCalls("vapntsTellClearSystemData", 1));
    EXPECT_FALSE(victory.waitForCalls("vapntsTellClearSystemData", 2, std::chrono::milliseconds(1)));
    other.join();
}
