#include "face/FACE_Configuration.h"
#include "face/FACE_IOSS.h"
#include "face/FACE_Injectable.h"
#include "face/FACE_LCM.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

TEST(InterfacesTest, WhenceNumbers)
{
    using Whence = FACE::Configuration::WHENCE_TYPE;
    EXPECT_EQ(Whence::WHENCE_BEGIN, 0);
    EXPECT_EQ(Whence::WHENCE_CURRENT, 1);
    EXPECT_EQ(Whence::WHENCE_END, 2);
}

TEST(InterfacesTest, RequestedAndReportedStatesShareTheirNumbersCrosswise)
{
    using namespace FACE::LCM::Halvex;
    EXPECT_EQ(RequestedState::START, 0);
    EXPECT_EQ(RequestedState::STOP, 1);
    EXPECT_EQ(ReportedState::RUNNING, 0);
    EXPECT_EQ(ReportedState::STOPPED, 1);
    static_assert(!std::is_convertible_v<ReportedState::Value, RequestedState::Value>);
}

TEST(InterfacesTest, InjectablesTakeANameAReferenceAnIdAndACode)
{
    using FACE::RETURN_CODE_TYPE;
    using FACE::Configuration_Injectable::Injectable;
    static_assert(std::is_same_v<decltype(&Injectable::Set_Reference),
                                 void (Injectable::*)(const FACE::String&, const std::shared_ptr<FACE::Configuration>&,
                                                      long long, RETURN_CODE_TYPE::Value&)>);
    using Base_Injectable = FACE::TSS::Base_Injectable::Injectable;
    static_assert(std::is_same_v<decltype(&Base_Injectable::Set_Reference),
                                 void (Base_Injectable::*)(const FACE::String&, const std::shared_ptr<FACE::TSS::Base>&,
                                                           long long, RETURN_CODE_TYPE::Value&)>);
    EXPECT_TRUE(std::is_abstract_v<Injectable>);
    EXPECT_TRUE(std::is_abstract_v<Base_Injectable>);
}

TEST(InterfacesTest, OperationsOfTheConfigurationStandInTheirOrder)
{
    using FACE::Configuration;
    const std::vector<std::uintptr_t> slots = {
        virtualSlot(&Configuration::Initialize), virtualSlot(&Configuration::Open),
        virtualSlot(&Configuration::Get_Size),   virtualSlot(&Configuration::Read),
        virtualSlot(&Configuration::Write),      virtualSlot(&Configuration::Seek),
        virtualSlot(&Configuration::Close)};
    for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + sizeof(void*)) << i;
    EXPECT_TRUE(std::has_virtual_destructor_v<Configuration>);
}

namespace {

template <class Service>
void checkSlotsOf()
{
    const std::vector<std::uintptr_t> slots = {virtualSlot(&Service::Initialize),
                                               virtualSlot(&Service::Open_Connection),
                                               virtualSlot(&Service::Close_Connection),
                                               virtualSlot(&Service::Read),
                                               virtualSlot(&Service::Write),
                                               virtualSlot(&Service::Configure_Connection_Parameters),
                                               virtualSlot(&Service::Get_Connection_Configuration),
                                               virtualSlot(&Service::Configure_Bus_Parameters),
                                               virtualSlot(&Service::Get_Bus_Configuration),
                                               virtualSlot(&Service::Get_Connection_Status),
                                               virtualSlot(&Service::Get_Bus_Status),
                                               virtualSlot(&Service::Register_Notification_Event),
                                               virtualSlot(&Service::Unregister_Notification_Event),
                                               virtualSlot(&Service::Set_Reference)};
    for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + sizeof(void*)) << i;
    EXPECT_TRUE(std::has_virtual_destructor_v<Service>);
}

}  // namespace

TEST(InterfacesTest, OperationsOfADeviceServiceStandInTheirOrder)
{
    checkSlotsOf<FACE::IOSS::MCSQ::IO_Service>();
    checkSlotsOf<FACE::IOSS::Devmem::IO_Service>();
}

TEST(InterfacesTest, NumbersOfDeviceStatesAndEvents)
{
    using namespace FACE::IOSS;
    EXPECT_EQ(NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, 0);
    EXPECT_EQ(CONNECTION_STATE_TYPE::CLOSED, 0);
    EXPECT_EQ(CONNECTION_STATE_TYPE::OPENING, 1);
    EXPECT_EQ(CONNECTION_STATE_TYPE::OPEN, 2);
    EXPECT_EQ(CONNECTION_STATE_TYPE::FAILED, 4);
    EXPECT_EQ(sizeof(CONNECTION_STATUS_TYPE), 16U);
}
