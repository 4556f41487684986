#include "lab/unit/CommandAnswers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace unitsim;

namespace {

/// The answers as "server/topic text", a report as "server/topic report".
std::vector<std::string> told(const std::string& command, const Settings& settings = Settings())
{
    std::vector<std::string> texts;
    for (const PlannedAnswer& answer : answersTo(command, settings))
        texts.push_back(std::to_string(answer.server) + "/" + std::to_string(answer.topic) + " " +
                        (answer.kind == PlannedAnswer::Kind::BitReport ? "report" : answer.text));
    return texts;
}

Settings answering(Answers answers)
{
    Settings settings;
    settings.answers = answers;
    return settings;
}

using Texts = std::vector<std::string>;

}  // namespace

TEST(CommandAnswersTest, ClearingIsAcceptedAndPasses)
{
    EXPECT_EQ(told("REQUEST_ZEROIZE"), (Texts{"51/0 REQUEST_ZEROIZE_ACK", "51/0 SYSTEM_ZEROIZE_PASS"}));
    EXPECT_EQ(told("REQUEST_DESTROY"), (Texts{"51/0 REQUEST_DESTROY_ACK", "51/0 SYSTEM_DESTROY_PASS"}));
    EXPECT_EQ(told("ZENTORM_CV_ZEROIZE"), (Texts{"39/0 ZENTORM_CV_ZEROIZE_ACK", "39/0 ZENTORM_CV_ZEROIZE_PASS"}));
}

TEST(CommandAnswersTest, ClearingTakesItsTime)
{
    Settings settings;
    settings.answerDelaySeconds = 0.5;
    settings.eraseSeconds = 2.0;
    const auto answers = answersTo("REQUEST_ZEROIZE", settings);
    EXPECT_EQ(answers.at(0).delaySeconds, 0.5);
    EXPECT_EQ(answers.at(1).delaySeconds, 2.5);
}

TEST(CommandAnswersTest, ClearingCanBeRefusedFailOrStall)
{
    EXPECT_EQ(told("REQUEST_ZEROIZE", answering(Answers::Nothing)), Texts{});
    EXPECT_EQ(told("REQUEST_ZEROIZE", answering(Answers::Nack)), Texts{"51/0 REQUEST_ZEROIZE_NACK"});
    EXPECT_EQ(told("REQUEST_ZEROIZE", answering(Answers::AckOnly)), Texts{"51/0 REQUEST_ZEROIZE_ACK"});
    EXPECT_EQ(told("REQUEST_DESTROY", answering(Answers::Fail)),
              (Texts{"51/0 REQUEST_DESTROY_ACK", "51/0 SYSTEM_DESTROY_FAIL"}));
}

TEST(CommandAnswersTest, LastAnswerComesAfterAnyFirstOne)
{
    using enum Answers::First;
    EXPECT_EQ(told("REQUEST_ZEROIZE", answering({Nack, Answers::Then::Pass})),
              (Texts{"51/0 REQUEST_ZEROIZE_NACK", "51/0 SYSTEM_ZEROIZE_PASS"}));
    EXPECT_EQ(told("REQUEST_ZEROIZE", answering({Nack, Answers::Then::Fail})),
              (Texts{"51/0 REQUEST_ZEROIZE_NACK", "51/0 SYSTEM_ZEROIZE_FAIL"}));
    EXPECT_EQ(told("REQUEST_DESTROY", answering({Answers::First::None, Answers::Then::Pass})),
              Texts{"51/0 SYSTEM_DESTROY_PASS"});
    EXPECT_EQ(told("REQUEST_DESTROY", answering({Answers::First::None, Answers::Then::Fail})),
              Texts{"51/0 SYSTEM_DESTROY_FAIL"});
    EXPECT_EQ(told("REQUEST_CBIT,39", answering({Nack, Answers::Then::Pass})),
              (Texts{"32/0 REQUEST_CBIT_NACK", "32/1 report"}));
}

TEST(CommandAnswersTest, SevenComponentsTellTheirPartNumbers)
{
    EXPECT_EQ(told("REQUEST_PARTNUMBERS"),
              (Texts{"53/0 PARTNUMBERS,SW1:4.2.0,HWPN1:345-1290-118B,HWSN1:0042,OS1:12.5",
                     "53/1 PARTNUMBERS,FW1:2.7,HWPN1:345-1291-001A,HWSN1:0107",
                     "39/0 PARTNUMBERS,SW1:6.11,FW1:3.4,HWPN1:822-2503-004,HWSN1:G01933",
                     "47/0 PARTNUMBERS,SW1:1.9,FW1:1.3,HWPN1:990-0001-011,HWSN1:T0511,FW2:2.3,HWPN2:990-0002-012,"
                     "HWSN2:K0512,SW5:5.0,SW6:5.1,AT:AT-7",
                     "47/2 PARTNUMBERS,FW1:0.8,HWPN1:990-0003-013,HWSN1:T0611",
                     "49/0 PARTNUMBERS,SW1:3.0.1,HWPN1:770-4410-002", "38/0 PARTNUMBERS,SW1:2600.4,HWSN1:JL-88"}));
}

TEST(CommandAnswersTest, SilentComponentsTellNothing)
{
    Settings settings;
    settings.silentComponents = {"TARVO", "GPS", "Halvex", "Sarvent", "TARVOSW", "PNT-Q"};
    EXPECT_EQ(told("REQUEST_PARTNUMBERS", settings), Texts{"38/0 PARTNUMBERS,SW1:2600.4,HWSN1:JL-88"});
    EXPECT_EQ(told("REQUEST_PARTNUMBERS", answering(Answers::Nothing)), Texts{});
}

TEST(CommandAnswersTest, BuiltInTestReportsTheServersAskedFor)
{
    EXPECT_EQ(told("REQUEST_CBIT,57,39"), (Texts{"32/0 REQUEST_CBIT_ACK", "32/1 report"}));
    const auto answers = answersTo("REQUEST_CBIT,57,39", Settings());
    EXPECT_EQ(answers.at(1).components, (std::vector<std::int32_t>{57, 39}));
    EXPECT_EQ(answersTo("REQUEST_CBIT", Settings()).at(1).components.size(), 6U);
    EXPECT_EQ(told("REQUEST_CBIT,39", answering(Answers::AckOnly)), Texts{"32/0 REQUEST_CBIT_ACK"});
    EXPECT_EQ(told("REQUEST_CBIT,39", answering(Answers::Nack)), Texts{"32/0 REQUEST_CBIT_NACK"});
}

TEST(CommandAnswersTest, CommandsOfOthersAreNotAnswered)
{
    for (const char* command : {"", "REQUEST_ZEROIZE,1", "request_zeroize", "START_ZEROIZE", "REQUEST_CBITS",
                                "BITSERVER_PING", "REQUEST_COMPONENT_CBIT", ","})
        EXPECT_EQ(told(command), Texts{}) << command;
}

TEST(CommandAnswersTest, ReportTellsWhoFailed)
{
    const auto answers = answersTo("REQUEST_CBIT,57,39", Settings());
    const auto report = bitReport(answers.at(1), {{39, Finding::Error}});
    EXPECT_FALSE(report.bit_rollup());
    EXPECT_EQ(report.num_servers_expected(), 2);
    EXPECT_EQ(report.num_servers_available(), 2);
    ASSERT_EQ(report.bit_components().size(), 2U);
    EXPECT_EQ(report.bit_components()[0].server_id(), 57);
    EXPECT_FALSE(report.bit_components()[0].error_received());
    EXPECT_EQ(report.bit_components()[1].server_id(), 39);
    EXPECT_TRUE(report.bit_components()[1].has_communicated());
    EXPECT_TRUE(report.bit_components()[1].error_received());
    EXPECT_TRUE(bitReport(answers.at(1), {}).bit_rollup());
}

TEST(CommandAnswersTest, ReportTellsHowAServerFailed)
{
    const auto answers = answersTo("REQUEST_CBIT,39", Settings());
    const auto silent = bitReport(answers.at(1), {{39, Finding::Silent}});
    EXPECT_FALSE(silent.bit_components().at(0).has_communicated());
    EXPECT_FALSE(silent.bit_rollup());
    EXPECT_EQ(silent.num_servers_expected(), 1);
    EXPECT_EQ(silent.num_servers_available(), 0);
    const auto critical = bitReport(answers.at(1), {{39, Finding::Critical}});
    EXPECT_TRUE(critical.bit_components().at(0).critical_received());
    EXPECT_FALSE(critical.bit_rollup());
}

TEST(CommandAnswersTest, WarningOfAServerPasses)
{
    const auto report = bitReport(answersTo("REQUEST_CBIT,39", Settings()).at(1), {{39, Finding::Warning}});
    EXPECT_TRUE(report.bit_components().at(0).warn_received());
    EXPECT_FALSE(report.bit_components().at(0).error_received());
    EXPECT_TRUE(report.bit_rollup());
}

TEST(CommandAnswersTest, FailedTestFindsAnErrorOfAllOthers)
{
    const auto answers = answersTo("REQUEST_CBIT,57,39", answering(Answers::Fail));
    const auto report = bitReport(answers.at(1), {{39, Finding::Good}});
    EXPECT_FALSE(report.bit_rollup());
    EXPECT_TRUE(report.bit_components().at(0).error_received());
    EXPECT_FALSE(report.bit_components().at(1).error_received());
}
