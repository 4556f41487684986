#include "face/FACE_Configuration.h"
#include "face/FACE_Injectable.h"
#include "face/FACE_LCM.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

class Client : public FACE::Configuration_Injectable::Injectable {
public:
    void Set_Reference(const FACE::String&, const std::shared_ptr<FACE::Configuration>& reference, long long,
                       FACE::RETURN_CODE_TYPE::Value& return_code) override
    {
        m_reference = reference;
        return_code = FACE::RETURN_CODE_TYPE::NO_ERROR;
    }
    std::shared_ptr<FACE::Configuration> m_reference;
};

class TransportClient : public FACE::TSS::Base_Injectable::Injectable {
public:
    void Set_Reference(const FACE::String&, const std::shared_ptr<FACE::TSS::Base>& reference, long long,
                       FACE::RETURN_CODE_TYPE::Value& return_code) override
    {
        return_code = reference ? FACE::RETURN_CODE_TYPE::NO_ERROR : FACE::RETURN_CODE_TYPE::INVALID_PARAM;
    }
};

}  // namespace

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

TEST(InterfacesTest, InjectablesTakeAReference)
{
    FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
    Client client;
    client.Set_Reference("ignored", nullptr, 99, rc);
    EXPECT_EQ(rc, FACE::RETURN_CODE_TYPE::NO_ERROR);
    TransportClient transportClient;
    transportClient.Set_Reference("", nullptr, 0, rc);
    EXPECT_EQ(rc, FACE::RETURN_CODE_TYPE::INVALID_PARAM);
}
