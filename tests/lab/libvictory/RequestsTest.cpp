#include "tests/lab/libvictory/BusClient.h"
#include "tests/lab/libvictory/Program.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>

using Json = BusClient::Json;

namespace {

/// A started service whose requests' call-backs note what they are given.
class RequestsTest : public testing::Test {
protected:
    void SetUp() override
    {
        VapntsService* const service = m_program.service();
        ASSERT_EQ(vapntsInitSaveVclidCallback(service, saveVclid, this), 0);
        ASSERT_EQ(vapntsInitTellClearSystemDataCallback(service, clearSystemData, this), 0);
        ASSERT_EQ(vapntsInitTellSystemConfigurationCallback(service, systemConfiguration, this), 0);
        ASSERT_EQ(vapntsStartService(service), 0);
        m_client.emplace(m_program.busPath());
    }
    void TearDown() override { m_program.end(); }

    void initBuiltInTests()
    {
        VapntsService* const service = m_program.service();
        ASSERT_EQ(vapntsInitTellExecuteBuiltInTestsCallback(service, run, this, 0), 0);
        ASSERT_EQ(vapntsInitTellGetBuiltInTestResultsCallback(service, results, this), 0);
        ASSERT_EQ(vapntsInitTellClearBuiltInTestResultsCallback(service, clear, this), 0);
    }

    Json ask(const std::string& request) { return m_client->ask(Json::parse(request)); }
    std::string errorOf(const std::string& request)
    {
        const Json answer = ask(request);
        EXPECT_EQ(answer["ok"], false);
        return answer.value("error", "");
    }

    static RequestsTest& self(void* context) { return *static_cast<RequestsTest*>(context); }
    static int saveVclid(void* context, VapntsService*, const char* text)
    {
        self(context).m_saved = text;
        return 7;
    }
    static int clearSystemData(void* context, VapntsService* service, VapntcSystemData* data)
    {
        self(context).m_cleared = data ? std::to_string(*data) : "null";
        vapntsTellClearSystemData(service, 0);
        return 1;
    }
    static void systemConfiguration(void* context, VapntsService*) { ++self(context).m_asked; }
    static void notingNull(void* context, VapntsService*) { s_nullContexts += context == nullptr; }
    static void run(void*, VapntsService* service) { vapntsTellExecuteBuiltInTests(service, 180.0, "3"); }
    static void results(void* context, VapntsService* service, VapntcBitRequests requests)
    {
        self(context).m_requests = requests;
        const auto list = std::make_unique<VapntcBitResults>();
        vapntsTellGetBuiltInTestResults(service, *list);
    }
    static void clear(void* context, VapntsService* service, VapntcBitRequests requests)
    {
        self(context).m_requests = requests;
        vapntsTellClearBuiltInTestResults(service, 1);
    }

    Program m_program;
    std::optional<BusClient> m_client;
    // Written on threads of the library, read once the answer is there.
    std::string m_saved;
    std::string m_cleared;
    std::atomic<int> m_asked{0};
    static inline std::atomic<int> s_nullContexts = 0;
    VapntcBitRequests m_requests{};
};

}  // namespace

TEST_F(RequestsTest, AnswerHasTheCallBacksReturnAndTheClientsId)
{
    EXPECT_EQ(ask(R"({"request":"clear-data","data":"all","id":"mine"})"),
              Json::parse(R"({"type":"answer","request":"clear-data","id":"mine","ok":true,"returned":1})"));
}

TEST_F(RequestsTest, ClearDataSaysWhatIsToBeCleared)
{
    const auto cleared = [&](const std::string& data) {
        ask(R"({"request":"clear-data","data":)" + data + "}");
        return m_cleared;
    };
    EXPECT_EQ(cleared(R"("all")"), "0");
    EXPECT_EQ(cleared(R"("crypto")"), "1");
    EXPECT_EQ(cleared(R"("invalid")"), "-1");
    EXPECT_EQ(cleared("5"), "5");
    EXPECT_EQ(cleared("-2147483648"), "-2147483648");
    EXPECT_EQ(cleared("null"), "null");
    ask(R"({"request":"clear-data","data":2})");
    ask(R"({"request":"clear-data"})");
    EXPECT_EQ(m_cleared, "null");
}

TEST_F(RequestsTest, WhatIsToldWithinARequestIsMarkedWithIt)
{
    m_client->send({{"request", "clear-data"}, {"id", 12}});
    EXPECT_EQ(m_client->nextWith("tell", "clear-system-data")["during"],
              Json::parse(R"({"request":"clear-data","id":12})"));
    vapntsTellClearSystemData(m_program.service(), 0);
    EXPECT_FALSE(m_client->nextWith("tell", "clear-system-data").contains("during"));
}

TEST_F(RequestsTest, ConfigurationIsAskedFor)
{
    EXPECT_EQ(ask(R"({"request":"system-configuration"})")["ok"], true);
    EXPECT_EQ(m_asked, 1);
}

TEST_F(RequestsTest, BuiltInTestsHaveNoCallBackUntilOneIsSet)
{
    EXPECT_EQ(errorOf(R"({"request":"bit-run"})"), "the service has set no call-back for this");
    EXPECT_EQ(errorOf(R"({"request":"bit-results"})"), "the service has set no call-back for this");
    EXPECT_EQ(errorOf(R"({"request":"bit-clear"})"), "the service has set no call-back for this");
    initBuiltInTests();
    EXPECT_EQ(ask(R"({"request":"bit-run"})")["ok"], true);
}

TEST_F(RequestsTest, BuiltInTestCallBackWithAnotherLastArgumentIsRefused)
{
    EXPECT_NE(vapntsInitTellExecuteBuiltInTestsCallback(m_program.service(), run, this, 1), 0);
}

TEST_F(RequestsTest, BuiltInTestsAreRunAskedForAndCleared)
{
    initBuiltInTests();
    m_client->send({{"request", "bit-run"}});
    const Json told = m_client->nextWith("tell", "execute-built-in-tests");
    EXPECT_EQ(told["expectedSeconds"], 180.0);
    EXPECT_EQ(told["id"], "3");
    m_client->send({{"request", "bit-results"}});
    EXPECT_EQ(m_client->nextWith("tell", "built-in-test-results")["record"],
              Json::parse(R"({"results":[],"resultCount":0})"));
    m_client->send({{"request", "bit-clear"}});
    EXPECT_EQ(m_client->nextWith("tell", "clear-built-in-test-results")["cleared"], 1);
}

TEST_F(RequestsTest, IdsOfTestsArePassedOn)
{
    initBuiltInTests();
    ask(R"({"request":"bit-results","ids":["0","12"]})");
    EXPECT_EQ(m_requests.requestCount, 2);
    EXPECT_STREQ(m_requests.builtInTestIds[0], "0");
    EXPECT_STREQ(m_requests.builtInTestIds[1], "12");
    ask(R"({"request":"bit-clear"})");
    EXPECT_EQ(m_requests.requestCount, 0);
}

TEST_F(RequestsTest, CountOfIdsIsToldAsItIs)
{
    initBuiltInTests();
    for (const std::int32_t count : {-1, 50, 51, 1000}) {
        ask(R"({"request":"bit-results","ids":["0"],"count":)" + std::to_string(count) + "}");
        EXPECT_EQ(m_requests.requestCount, count);
    }
}

TEST_F(RequestsTest, LongestIdAndListArePassedOnAndNoLonger)
{
    initBuiltInTests();
    const Json longest = {{"request", "bit-results"}, {"ids", Json::array({std::string(255, 'x')})}};
    EXPECT_EQ(m_client->ask(longest)["ok"], true);
    EXPECT_EQ(std::string(m_requests.builtInTestIds[0]), std::string(255, 'x'));
    const Json tooLong = {{"request", "bit-results"}, {"ids", Json::array({std::string(256, 'x')})}};
    EXPECT_EQ(m_client->ask(tooLong)["error"], "an id has 255 characters at most");
    const Json fifty = {{"request", "bit-results"}, {"ids", std::vector<std::string>(50, "1")}};
    EXPECT_EQ(m_client->ask(fifty)["ok"], true);
    EXPECT_EQ(m_requests.requestCount, 50);
    const Json tooMany = {{"request", "bit-results"}, {"ids", std::vector<std::string>(51, "1")}};
    EXPECT_EQ(m_client->ask(tooMany)["error"], "ids must be a list of 50 texts at most");
}

TEST_F(RequestsTest, VclTextIsSavedByTheProgram)
{
    EXPECT_EQ(ask(R"({"request":"save-vcl","text":"<vcl:VCL/>\n"})")["returned"], 7);
    EXPECT_EQ(m_saved, "<vcl:VCL/>\n");
}

TEST_F(RequestsTest, VclTextOfAFullFileIsSavedWhole)
{
    const std::string text(65535, '\x01');  // six characters each on the line
    EXPECT_EQ(m_client->ask({{"request", "save-vcl"}, {"text", text}})["ok"], true);
    EXPECT_EQ(m_saved, text);
}

TEST_F(RequestsTest, VclTextWithAZeroIsRefused)
{
    EXPECT_EQ(errorOf(R"({"request":"save-vcl","text":"a\u0000b"})"), "text has a zero within");
}

TEST_F(RequestsTest, TextIsPrintedWhereItIsAskedFor)
{
    const DescriptorCapture output(1);
    const DescriptorCapture errors(2);
    const ConsoleCapture stream(std::cout);
    ask(R"({"request":"print","text":"SOAP 1.2 fault SOAP-ENV:Sender"})");
    ask(R"({"request":"print","text":"no end","stream":"stderr","newline":false})");
    ask(R"({"request":"print","text":"C++","stream":"cout"})");
    EXPECT_EQ(output.text(), "SOAP 1.2 fault SOAP-ENV:Sender\n");
    EXPECT_EQ(errors.text(), "no end");
    EXPECT_EQ(stream.text(), "C++\n");
}

TEST_F(RequestsTest, HeldTellTakesItsTime)
{
    EXPECT_EQ(ask(R"({"request":"hold-tell","tell":"clear-system-data","milliseconds":50})")["ok"], true);
    const auto start = std::chrono::steady_clock::now();
    vapntsTellClearSystemData(m_program.service(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_EQ(m_client->nextWith("type", "held"),
              Json::parse(R"({"type":"held","tell":"clear-system-data","milliseconds":50})"));
}

TEST_F(RequestsTest, BlockedTellBlocksNoOtherAndGoesOnOnceReleased)
{
    ask(R"({"request":"hold-tell","tell":"clear-system-data","milliseconds":60000})");
    std::atomic<bool> returned{false};
    std::thread telling([&] {
        vapntsTellClearSystemData(m_program.service(), 0);
        returned = true;
    });
    m_client->nextWith("type", "held");
    EXPECT_EQ(vapntsTellClearBuiltInTestResults(m_program.service(), 1), 0);
    m_client->nextWith("tell", "clear-built-in-test-results");
    EXPECT_FALSE(returned);
    m_client->send({{"request", "release-tell"}, {"tell", "clear-system-data"}});
    EXPECT_EQ(m_client->nextWith("tell", "clear-system-data")["result"], 0);
    telling.join();
}

TEST_F(RequestsTest, ReleaseWithoutANameReleasesAll)
{
    ask(R"({"request":"hold-tell","tell":"clear-system-data","milliseconds":60000})");
    ask(R"({"request":"release-tell"})");
    EXPECT_EQ(vapntsTellClearSystemData(m_program.service(), 0), 0);
}

TEST_F(RequestsTest, HeldDeletionTakesItsTime)
{
    EXPECT_EQ(ask(R"({"request":"hold-delete","milliseconds":50})")["ok"], true);
    const auto start = std::chrono::steady_clock::now();
    m_program.end();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(RequestsTest, DeletionThatIsHeldNoLongerEndsAtOnce)
{
    ask(R"({"request":"hold-delete","milliseconds":60000})");
    ask(R"({"request":"hold-delete","milliseconds":0})");
    const auto start = std::chrono::steady_clock::now();
    m_program.end();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(RequestsTest, CallBackIsMadeSoOftenBesideItself)
{
    EXPECT_EQ(ask(R"({"request":"misbehave","call":"system-configuration","times":20})")["ok"], true);
    EXPECT_TRUE(eventually([&] { return m_asked == 20; }));
}

TEST_F(RequestsTest, CallBackIsMadeWithoutItsContext)
{
    EXPECT_EQ(vapntsInitTellSystemConfigurationCallback(m_program.service(), notingNull, this), 0);
    ask(R"({"request":"misbehave","call":"system-configuration","context":false})");
    EXPECT_TRUE(eventually([] { return s_nullContexts == 1; }));
}

TEST_F(RequestsTest, CallBacksAreMadeDuringTheDeletion)
{
    ask(R"({"request":"misbehave","call":"system-configuration","times":3,"when":"deletion"})");
    EXPECT_EQ(m_asked, 0);
    m_program.end();
    EXPECT_EQ(m_asked, 3);
}

TEST_F(RequestsTest, CallBackOfAServiceThatIsGoneIsMadeOnceTheNextIsStarted)
{
    ask(R"({"request":"misbehave","call":"clear-data","when":"restart"})");
    m_program.end();
    EXPECT_EQ(m_cleared, "");
    VapntsService* const next = vapntsNewService(kConfiguration, vclWith("1000", "1000").c_str());
    EXPECT_EQ(vapntsStartService(next), 0);
    EXPECT_EQ(m_client->nextWith("type", "misuse")["what"], "vapntsTellClearSystemData: there is no such service");
    vapntsDeleteService(next);
    EXPECT_EQ(m_cleared, "null");
}

TEST_F(RequestsTest, HelpListsWhatThereIs)
{
    const Json answer = ask(R"({"request":"help"})");
    EXPECT_EQ(answer["requests"].size(), 15U);
    EXPECT_EQ(answer["requests"][4]["request"], "clear-data");
    EXPECT_EQ(answer["requests"][4]["keys"], Json::array({"data"}));
    EXPECT_EQ(answer["tells"].size(), 10U);
}

TEST_F(RequestsTest, WrongRequestIsAnsweredByWhatIsWrong)
{
    EXPECT_EQ(errorOf(R"({"request":"dance"})"), "there is no such request; ask for help");
    EXPECT_EQ(errorOf(R"({"request":"clear-data","date":"all"})"), "there is no date in this request");
    EXPECT_EQ(errorOf(R"({"request":"clear-data","data":"some"})"),
              "data must be all, crypto, invalid, a number or null");
    EXPECT_EQ(errorOf(R"({"request":"clear-data","data":2147483648})"),
              "data must be a whole number from -2147483648 to 2147483647");
    EXPECT_EQ(errorOf(R"({"request":"clear-data","data":18446744073709551615})"),
              "data must be a whole number from -2147483648 to 2147483647");
    EXPECT_EQ(errorOf(R"({"request":"clear-data","data":1.5})"),
              "data must be a whole number from -2147483648 to 2147483647");
    EXPECT_EQ(errorOf(R"({"request":"bit-results","ids":[1]})"), "ids must be a list of texts");
    EXPECT_EQ(errorOf(R"({"request":"bit-clear","ids":"1"})"), "ids must be a list of 50 texts at most");
    EXPECT_EQ(errorOf(R"({"request":"save-vcl"})"), "text must be a text");
    EXPECT_EQ(errorOf(R"({"request":"print","text":"a","stream":"file"})"),
              "stream must be stdout, stderr, cout or cerr");
    EXPECT_EQ(errorOf(R"({"request":"print","text":"a","newline":1})"), "newline must be true or false");
    EXPECT_EQ(errorOf(R"({"request":"hold-tell","tell":"clear-system-data","milliseconds":60001})"),
              "milliseconds must be a whole number from 0 to 60000");
    EXPECT_EQ(errorOf(R"({"request":"hold-tell","tell":"x","milliseconds":1})"), "there is no tell x");
    EXPECT_EQ(errorOf(R"({"request":"misbehave","call":"dance"})"), "there is no call-back dance");
    EXPECT_EQ(errorOf(R"({"request":"misbehave","call":"bit-run","when":"soon"})"),
              "when must be now, deletion or restart");
    EXPECT_EQ(errorOf(R"({"request":"misbehave","call":"bit-run","times":65})"),
              "times must be a whole number from 1 to 64");
    EXPECT_EQ(errorOf(R"({"request":"hold-delete","milliseconds":-1})"),
              "milliseconds must be a whole number from 0 to 60000");
    EXPECT_EQ(m_cleared, "");
}

TEST_F(RequestsTest, LineThatIsNoRequestIsAnErrorAndTheConnectionGoesOn)
{
    const auto errorFor = [&](const std::string& line) {
        m_client->sendRaw(line + '\n');
        return m_client->nextWith("type", "error")["error"].get<std::string>();
    };
    EXPECT_EQ(errorFor("{").substr(0, 9), "not JSON:");
    EXPECT_EQ(errorFor("").substr(0, 9), "not JSON:");
    EXPECT_EQ(errorFor("\xFF\xFE").substr(0, 9), "not JSON:");
    EXPECT_EQ(errorFor("[1]"), "a request is an object");
    EXPECT_EQ(errorFor("{}"), "request must be a text");
    EXPECT_EQ(errorFor(R"({"request":1})"), "request must be a text");
    EXPECT_EQ(errorFor(R"({"request":"help","id":[]})"), "id must be a number or a text of 100 characters at most");
    EXPECT_EQ(errorFor(std::string(400000, '[')).substr(0, 9), "not JSON:");
    EXPECT_EQ(ask(R"({"request":"system-configuration"})")["ok"], true);
}

TEST_F(RequestsTest, LineThatIsTooLongIsAnErrorAndTheConnectionGoesOn)
{
    m_client->sendRaw(std::string(524289, 'x') + std::string(524288, 'y') + '\n');
    EXPECT_EQ(m_client->nextWith("type", "error")["error"], "a line is longer than 524288");
    EXPECT_EQ(m_client->ask({{"request", "status"}})["phase"], "started");
}

TEST_F(RequestsTest, RequestIsReadHoweverItIsCut)
{
    for (const char character : std::string("{\"request\":\"status\"}\n")) m_client->sendRaw(std::string(1, character));
    EXPECT_EQ(m_client->nextWith("type", "answer")["phase"], "started");
    m_client->sendRaw("{\"request\":\"status\",\"id\":1}\n{\"request\":\"status\",\"id\":2}\n");
    EXPECT_EQ(m_client->nextWith("type", "answer")["id"], 1);
    EXPECT_EQ(m_client->nextWith("type", "answer")["id"], 2);
}

TEST_F(RequestsTest, ServiceThatIsGoneIsTheAnswer)
{
    m_program.end();
    EXPECT_EQ(errorOf(R"({"request":"bit-run"})"), "there is no service");
    EXPECT_EQ(ask(R"({"request":"status"})")["service"], nullptr);
}

TEST(RequestsOfANewServiceTest, ServiceThatIsNotStartedIsTheAnswer)
{
    const Program program;
    BusClient client(program.busPath());
    EXPECT_EQ(client.ask({{"request", "system-configuration"}})["error"], "the service is not started");
}

TEST(RequestsOfABusyServiceTest, RequestsWaitInABoundedQueueAndAreAnsweredAtTheEnd)
{
    struct Gate {
        std::atomic<bool> open{false};
        std::atomic<int> entered{0};
    } gate;
    Program program;
    ASSERT_EQ(vapntsInitTellSystemConfigurationCallback(
                  program.service(),
                  [](void* context, VapntsService*) {
                      auto& own = *static_cast<Gate*>(context);
                      ++own.entered;
                      own.open.wait(false);
                  },
                  &gate),
              0);
    ASSERT_EQ(vapntsStartService(program.service()), 0);
    BusClient client(program.busPath());
    for (int request = 0; request < 4; ++request) client.send({{"request", "system-configuration"}});
    ASSERT_TRUE(eventually([&] { return gate.entered == 4; }));
    for (int request = 0; request < 65; ++request) client.send({{"request", "system-configuration"}});
    EXPECT_EQ(client.nextWith("type", "answer")["error"], "too many requests wait");

    std::thread deleting([&] { program.end(); });
    ASSERT_TRUE(eventually([&] { return client.ask({{"request", "status"}})["phase"] == "stopped"; }));
    gate.open = true;
    gate.open.notify_all();
    deleting.join();
    int done = 0;
    int cancelled = 0;
    for (int answer = 0; answer < 68; ++answer) {
        const Json line = client.nextWith("request", "system-configuration");
        done += line["ok"] == true ? 1 : 0;
        cancelled += line.value("error", "") == "the service has ended" ? 1 : 0;
    }
    EXPECT_EQ(done, 4);
    EXPECT_EQ(cancelled, 64);
}
