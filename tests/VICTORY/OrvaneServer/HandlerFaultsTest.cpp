#include "VICTORY/OrvaneServer/HandlerFaults.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HealthEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>
#include <string>

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

const std::string kServer = "OrvaneServer";

[[noreturn]] void fail()
{
    throw std::runtime_error("no luck");
}

/// Three handlers, a line each.
struct Handlers {
    static constexpr int kFirstLine = __LINE__ + 1;
    static void cbPVA() { HandlerFaults::handle(HandlerFaults::kPVA, kServer, fail); }
    static void cbZentorGssip() { HandlerFaults::handle(HandlerFaults::kZentorGssip, kServer, fail); }
    static void cbBitReport() { HandlerFaults::handle(HandlerFaults::kBitReport, kServer, fail); }
};

std::string lineOf(int handler)
{
    return std::to_string(Handlers::kFirstLine + handler);
}

/// What a handler reports: the event, and the line on the console behind the place.
struct Row {
    const HandlerFaults::Handler& handler;
    const char* event;
    const char* line;
};

}  // namespace

TEST(HandlerFaultsTest, AnExceptionHasTheHandlersTexts)
{
    using namespace HandlerFaults;
    const Row rows[] = {
        {kPVA, "3:no luck", "cbPVA : An exception occurred. Details: no luck"},
        {kZentorGssip, "3:no luck", "cbZentorGssip : An exception occurred. Details: no luck"},
        {kHxGssip, "3:no luck", "cbHxGssip : An exception occurred. Details: no luck"},
        {kUTCTime, "3:OrvaneServer: An exception occurred. Details: no luck",
         "cbUTCTime : An exception occurred in cbUTCTime. Details: OrvaneServer: An exception occurred. Details: no "
         "luck"},
        {kHalvexPNT, "3:OrvaneServer: An exception occurred. Details: no luck",
         "cbHalvexPNT : An exception occurred in cbUTCTime. Details: OrvaneServer: An exception occurred. Details: no "
         "luck"},
        {kMIS, "3:OrvaneServer: An exception occurred. Details: no luck",
         "cbMeasurementIncorporationStatus : An exception occurred in cbUTCTime. Details: OrvaneServer: An exception "
         "occurred. Details: no luck"},
        {kAssuranceState, "3:OrvaneServer: An exception occurred. Details: no luck",
         "cbAssuranceState : An exception occurred in cbAssuranceState. Details: OrvaneServer: An exception occurred. "
         "Details: no luck"},
        {kCmd, "3:OrvaneServer: An exception occurred. Details: no luck",
         "cbCmd : An exception occurred in cbCmd. Details: OrvaneServer: An exception occurred. Details: no luck"},
        {kRsp, "3:OrvaneServer: An exception occurred. Details: no luck",
         "cbRsp : An exception occurred in cbRsp. Details: OrvaneServer: An exception occurred. Details: no luck"}};
    for (const auto& row : rows) {
        const ConsoleCapture console(std::cout);
        HandlerFaults::handle(row.handler, kServer, fail);
        EXPECT_THAT(popHealthEvents(), ElementsAre(row.event)) << row.handler.name;
        EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\) " + std::string(row.line) + "\n"));
    }
}

TEST(HandlerFaultsTest, WhatIsNoStandardExceptionIsUnknown)
{
    using namespace HandlerFaults;
    const Row rows[] = {{kPVA, "3:OrvaneServer: Unknown c++ exception in cbPVA",
                         "cbPVA : OrvaneServer: Unknown c++ exception in cbPVA\n"},
                        {kUTCTime, "3:OrvaneServer: Unknown c++ exception in cbUTCTime",
                         "cbUTCTime : OrvaneServer: Unknown c++ exception in cbUTCTime\n"},
                        {kHalvexPNT, "3:OrvaneServer: Unknown c++ exception in cbHalvexPNT",
                         "cbHalvexPNT : OrvaneServer: Unknown c++ exception in cbHalvexPNT\n"},
                        {kMIS, "3:OrvaneServer: Unknown c++ exception in cbMeasurementIncorporationStatus",
                         "cbMeasurementIncorporationStatus : OrvaneServer: Unknown c++ exception in "
                         "cbMeasurementIncorporationStatus\n"},
                        {kAssuranceState, "3:OrvaneServer: Unknown c++ exception in cbAssuranceState",
                         "cbAssuranceState : OrvaneServer: Unknown c++ exception in cbAssuranceState\n"},
                        {kZentorGssip, "3:OrvaneServer: Unknown c++ exception in cbGssip",
                         "cbZentorGssip : OrvaneServer: Unknown c++ exception in cbGssip\n"},
                        {kHxGssip, "3:OrvaneServer: Unknown c++ exception in cbGssip",
                         "cbHxGssip : OrvaneServer: Unknown c++ exception in cbGssip\n"},
                        {kCmd, "3:OrvaneServer: Unknown c++ exception in cbCmd",
                         "cbCmd : OrvaneServer: Unknown c++ exception in cbCmd\n"},
                        {kRsp, "3:OrvaneServer: Unknown c++ exception in cbCmd.",
                         "cbRsp : OrvaneServer: Unknown c++ exception in cbCmd.\n"}};
    for (const auto& row : rows) {
        const ConsoleCapture console(std::cout);
        HandlerFaults::handle(row.handler, kServer, [] { throw 1; });
        EXPECT_THAT(popHealthEvents(), ElementsAre(row.event)) << row.handler.name;
        EXPECT_THAT(console.text(), testing::EndsWith(std::string(") ") + row.line));
    }
}

TEST(HandlerFaultsTest, ABitReportAndTheWorkerHaveAFormOfTheirOwnWithoutALineNumber)
{
    const ConsoleCapture console(std::cout);
    Handlers::cbBitReport();
    HandlerFaults::handle(HandlerFaults::kBitReport, kServer, [] { throw 1; });
    HandlerFaults::handle(HandlerFaults::kWorker, kServer, fail);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: cbBitReport() EXCEPTION: no luck",
                                               "3:OrvaneServer: cbBitReport() EXCEPTION: <unknown>",
                                               "3:OrvaneServer: workerThreadFunction() EXCEPTION: no luck"));
    EXPECT_EQ(console.text(), "OrvaneServer: cbBitReport() EXCEPTION: no luck\n"
                              "OrvaneServer: cbBitReport() EXCEPTION: <unknown>\n"
                              "OrvaneServer: workerThreadFunction() EXCEPTION: no luck\n");
}

TEST(HandlerFaultsTest, HandlersWithTheSameTextAreToldApartByTheirPlace)
{
    recordFaults();
    const ConsoleCapture console(std::cout);
    Handlers::cbPVA();
    Handlers::cbZentorGssip();
    Handlers::cbBitReport();
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:HandlerFaultsTest.cpp[" + lineOf(0) + "]:no luck",
                                               "3:HandlerFaultsTest.cpp[" + lineOf(1) + "]:no luck",
                                               "3:HandlerFaultsTest.cpp[" + lineOf(2) +
                                                   "]:OrvaneServer: cbBitReport() EXCEPTION: no luck"));
}

TEST(HandlerFaultsTest, TheRecordOfFaultsKeepsHandlersApart)
{
    recordFaults();
    const ConsoleCapture console(std::cout);
    Handlers::cbPVA();
    Handlers::cbPVA();
    Handlers::cbZentorGssip();
    Handlers::cbBitReport();
    const auto& record = FaultHysteresis::Instance();
    EXPECT_EQ(record.count(__FILE__ + lineOf(0)), 2U);
    EXPECT_EQ(record.count(__FILE__ + lineOf(1)), 1U);
    EXPECT_EQ(record.count(__FILE__ + lineOf(2)), 1U);
}

TEST(HandlerFaultsTest, TheConsoleShowsTheLineOfTheHandler)
{
    const ConsoleCapture console(std::cout);
    Handlers::cbPVA();
    Handlers::cbZentorGssip();
    EXPECT_EQ(console.text(),
              "OrvaneServer (" + lineOf(0) + ") cbPVA : An exception occurred. Details: no luck\n" +  //
                  "OrvaneServer (" + lineOf(1) + ") cbZentorGssip : An exception occurred. Details: no luck\n");
}

TEST(HandlerFaultsTest, WhatGoesWellIsNotReported)
{
    bool isRun = false;
    HandlerFaults::handle(HandlerFaults::kPVA, kServer, [&] { isRun = true; });
    EXPECT_TRUE(isRun);
    EXPECT_THAT(popHealthEvents(), testing::IsEmpty());
}
