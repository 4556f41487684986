#include "tests/lab/libvictory/BusClient.h"
#include "tests/lab/libvictory/Program.h"

#include <gtest/gtest.h>

using Json = BusClient::Json;

namespace {

constexpr const char* kText = "Fake Fault for Compliance Testing";

template <class Service>
struct Kind {
    std::uint32_t (*add)(Service*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction);
    int (*remove)(Service*, std::uint32_t, VhlthcAction);
};

/// Adds two faults and removes both, the first of them twice, in a service that nothing else has.
template <class Service>
void expectATable(const Kind<Service>& kind)
{
    static char place;
    auto* const service = reinterpret_cast<Service*>(&place);
    EXPECT_EQ(kind.add(service, kText, 1, VHLTHC_SEVERITY_ERROR, 22, 1), 1U);
    EXPECT_EQ(kind.add(service, kText, 0, VHLTHC_SEVERITY_ALERT, 22, 1), 2U);
    EXPECT_EQ(kind.remove(service, 1, 0), 0);
    EXPECT_NE(kind.remove(service, 1, 0), 0);
    EXPECT_EQ(kind.remove(service, 2, 0), 0);
    EXPECT_EQ(kind.add(nullptr, kText, 1, VHLTHC_SEVERITY_ERROR, 22, 1), 0U);
}

}  // namespace

TEST(FaultsTest, EveryKindOfServiceHasATableOfItsOwn)
{
    expectATable<VgpssService>({vgpssAddFault, vgpssRemoveFault});
    expectATable<VdotsService>({vdotsAddFault, vdotsRemoveFault});
    expectATable<VgensService>({vgensAddFault, vgensRemoveFault});
    expectATable<VorisService>({vorisAddFault, vorisRemoveFault});
    expectATable<VpossService>({vpossAddFault, vpossRemoveFault});
}

TEST(FaultsTest, IdsBeginAtOneAndAreNotUsedAgain)
{
    const Program program;
    EXPECT_EQ(vapntsAddFault(program.service(), kText, 1, VHLTHC_SEVERITY_ERROR, 22, 1), 1U);
    EXPECT_EQ(vapntsRemoveFault(program.service(), 1, 0), 0);
    EXPECT_EQ(vapntsAddFault(program.service(), kText, 1, VHLTHC_SEVERITY_ERROR, 22, 1), 2U);
    EXPECT_NE(vapntsRemoveFault(program.service(), 1, 0), 0);
}

TEST(FaultsTest, FaultWithoutATextIsRefused)
{
    const Program program;
    EXPECT_EQ(vapntsAddFault(program.service(), nullptr, 1, VHLTHC_SEVERITY_ERROR, 22, 1), 0U);
}

TEST(FaultsTest, TwoHundredAndFirstFaultIsRefused)
{
    const Program program;
    for (int fault = 0; fault < 200; ++fault) ASSERT_NE(vapntsAddFault(program.service(), "", 0, 33, 22, 1), 0U);
    EXPECT_EQ(vapntsAddFault(program.service(), "", 0, 33, 22, 1), 0U);
}

TEST(FaultsTest, BusListsTheFaults)
{
    const Program program;
    vapntsAddFault(program.service(), kText, 1, VHLTHC_SEVERITY_EMERGENCY, 22, 1);
    BusClient client(program.busPath());
    const Json answer = client.ask({{"request", "faults"}});
    EXPECT_EQ(answer["faults"].front(),
              Json::parse(R"({"kind":"vapnts","id":1,"text":"Fake Fault for Compliance Testing",
              "acknowledged":true,"severity":37,"category":22,"action":1})"));
}

TEST(FaultsTest, BusTellsOfEveryChange)
{
    const Program program;
    BusClient client(program.busPath());
    client.nextWith("type", "service");
    vapntsAddFault(program.service(), kText, 0, VHLTHC_SEVERITY_ERROR, 22, 1);
    EXPECT_EQ(client.nextWith("type", "faults")["faults"].size(), 1U);
    vapntsRemoveFault(program.service(), 1, 0);
    EXPECT_EQ(client.nextWith("type", "faults")["faults"].size(), 0U);
}

TEST(FaultsTest, FaultsEndWithTheirService)
{
    Program program;
    vapntsAddFault(program.service(), kText, 1, VHLTHC_SEVERITY_ERROR, 22, 1);
    program.end();
    BusClient client(program.busPath());
    EXPECT_EQ(client.ask({{"request", "faults"}})["faults"], Json::array());
}
