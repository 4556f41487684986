#include "lab/ctl/serve/PageServer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ErrorOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <list>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace orvanectl;

namespace {

/// A viewer on a thread of its own, until the server or the test ends it.
class Viewer {
public:
    explicit Viewer(int port)
        : m_thread([this, port] {
              httplib::Client client("127.0.0.1", port);
              client.set_read_timeout(60);
              const auto result = client.Get(
                  "/events",
                  [this](const httplib::Response& response) {
                      m_status = response.status;
                      return true;
                  },
                  [this](const char* data, std::size_t size) {
                      const std::lock_guard lock(m_mutex);
                      m_text.append(data, size);
                      return !m_leaves;
                  });
              m_hasEnded = true;
          })
    {}
    ~Viewer()
    {
        m_leaves = true;
        m_thread.join();
    }

    int status() const { return m_status; }
    std::string text() const
    {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }
    void leave() { m_leaves = true; }
    bool hasEnded() const { return m_hasEnded; }

private:
    mutable std::mutex m_mutex;
    std::string m_text;
    std::atomic<int> m_status = 0;
    std::atomic<bool> m_leaves = false;
    std::atomic<bool> m_hasEnded = false;
    std::thread m_thread;
};

/// A connection on which anything may be said.
class RawClient {
public:
    explicit RawClient(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~RawClient() { ::close(m_socket); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /// Whether it could be sent.
    bool send(const std::string& text)
    {
        return ::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
    }

    /// Whether the server has ended it; what came is thrown away.
    bool isEnded()
    {
        char part[4096];
        ssize_t count = 1;
        while (count > 0) count = ::recv(m_socket, part, sizeof part, MSG_DONTWAIT);
        return count == 0 || errno != EAGAIN;
    }

    /// All that comes, until the server ends the connection.
    std::string received()
    {
        std::string text;
        char part[4096];
        for (ssize_t count; (count = ::recv(m_socket, part, sizeof part, 0)) > 0;)
            text.append(part, static_cast<std::size_t>(count));
        return text;
    }

private:
    int m_socket;
};

/// A server without a bus, at a port that was free.
struct PageServerTest : testing::Test {
    PageServerTest() { board.publish({{"a", "1"}}); }

    httplib::Headers ownHeaders() const
    {
        return {{"Origin", "http://127.0.0.1:" + std::to_string(port)}, {"X-Orvane-Token", guard.token()}};
    }

    /// Of a request that may be made, but for its length.
    std::string postHead() const
    {
        const std::string host = "127.0.0.1:" + std::to_string(port);
        return "POST /request HTTP/1.1\r\nHost: " + host + "\r\nOrigin: http://" + host +
               "\r\nX-Orvane-Token: " + guard.token() + "\r\nContent-Type: application/json\r\n";
    }

    /// For machines under load.
    httplib::Client client() const
    {
        httplib::Client client("127.0.0.1", port);
        client.set_connection_timeout(30);
        client.set_read_timeout(30);
        client.set_write_timeout(30);
        return client;
    }

    /// Of status -1 if there is none.
    static httplib::Response answerOf(const httplib::Result& result)
    {
        EXPECT_TRUE(result) << httplib::to_string(result.error());
        return result ? *result : httplib::Response();
    }

    httplib::Response post(const std::string& path, const httplib::Headers& headers, const std::string& body) const
    {
        return answerOf(client().Post(path, headers, body, "application/json"));
    }

    httplib::Response get(const std::string& path, const httplib::Headers& headers = {}) const
    {
        return answerOf(client().Get(path, headers));
    }

    ListeningSocket socket{"127.0.0.1", 0};
    const int port = socket.port();
    PageGuard guard{{}};
    FrameBoard board;
    PageRequests requests{"/no bus"};
    std::optional<PageServer> server{std::in_place, socket, guard, board, requests, std::chrono::hours(1)};
};

}  // namespace

TEST_F(PageServerTest, ThePageHasItsTokenAndAllowsNoOtherSource)
{
    const auto page = get("/");
    EXPECT_EQ(page.status, 200);
    EXPECT_NE(page.body.find("content=\"" + guard.token() + '"'), std::string::npos);
    EXPECT_TRUE(page.get_header_value("Content-Security-Policy").starts_with("default-src 'none'; script-src 'self';"));
    EXPECT_EQ(page.get_header_value("X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(page.get_header_value("Access-Control-Allow-Origin"), "");
}

TEST_F(PageServerTest, EveryFileThatThePageNamesIsServed)
{
    const std::string page = get("/").body;
    for (const char* const name : {"page.css", "page.js", "chart.min.js", "icon.svg"}) {
        EXPECT_NE(page.find('"' + std::string(name) + '"'), std::string::npos) << name;
        const auto file = get('/' + std::string(name));
        EXPECT_EQ(file.status, 200) << name;
        EXPECT_FALSE(file.body.empty()) << name;
    }
    EXPECT_EQ(get("/page.js").get_header_value("Content-Type"), "text/javascript; charset=utf-8");
    EXPECT_EQ(get("/pageXjs").status, 404);
    EXPECT_EQ(get("/../../etc/passwd").status, 404);
}

TEST_F(PageServerTest, AForeignNameOrSiteIsShownNothing)
{
    for (const char* const path : {"/", "/events", "/page.js"}) {
        EXPECT_EQ(get(path, {{"Host", "evil.example"}}).status, 403) << path;
        EXPECT_EQ(get(path, {{"Origin", "http://evil.example"}}).status, 403) << path;
    }
}

TEST_F(PageServerTest, AForeignSiteMayLeadToThePageAndLoadNothingOfIt)
{
    const httplib::Headers visit = {
        {"Sec-Fetch-Site", "cross-site"}, {"Sec-Fetch-Mode", "navigate"}, {"Sec-Fetch-Dest", "document"}};
    EXPECT_EQ(get("/", visit).status, 200);
    for (const char* const path : {"/events", "/page.js"}) EXPECT_EQ(get(path, visit).status, 403) << path;
    const httplib::Headers frame = {
        {"Sec-Fetch-Site", "cross-site"}, {"Sec-Fetch-Mode", "navigate"}, {"Sec-Fetch-Dest", "iframe"}};
    const httplib::Headers load = {
        {"Sec-Fetch-Site", "same-site"}, {"Sec-Fetch-Mode", "no-cors"}, {"Sec-Fetch-Dest", "image"}};
    EXPECT_EQ(get("/", frame).status, 403);
    for (const char* const path : {"/", "/events", "/page.js"}) EXPECT_EQ(get(path, load).status, 403) << path;
}

TEST_F(PageServerTest, PartsOfAFileAreNotServed)
{
    for (const char* const range : {"bytes=0-", "bytes=0-,0-,0-"}) {
        const auto answer = get("/page.css", {{"Range", range}});
        EXPECT_EQ(answer.status, 416) << range;
        EXPECT_EQ(answer.body, "") << range;
        EXPECT_EQ(get("/page.css", {{"Range", range}, {"Host", "evil.example"}}).body, "") << range;
    }
}

TEST_F(PageServerTest, ABodyOfUnknownLengthOrPackedIsRefusedUnread)
{
    // None of them is sent: who wants to read it waits for it.
    for (const auto& [header, status] : {std::pair{"Transfer-Encoding: chunked", "411 "},
                                         {"X-None: 0", "411 "},
                                         {"Content-Length: 2\r\nContent-Length: 2", "411 "},
                                         {"Content-Length: 2\r\nContent-Encoding: br", "415 "},
                                         {"Content-Length: -2", "400 "},
                                         {"Content-Length: 4097", "413 "},
                                         {"Content-Length: 18446744073709551617", "413 "}}) {
        RawClient client(port);
        client.send(postHead() + header + "\r\n\r\n");
        const std::string answer = client.received();
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 " + std::string(status))) << header << '\n' << answer;
    }
}

TEST_F(PageServerTest, ABodyIsNotReadWithoutTheToken)
{
    RawClient client(port);
    client.send("POST /request HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 4000\r\n\r\n");
    EXPECT_TRUE(client.received().starts_with("HTTP/1.1 403 "));
}

TEST_F(PageServerTest, ARequestOfAnotherSiteOrWithoutTheTokenIsRefused)
{
    const std::string body = R"({"name":"clear-data-all"})";
    EXPECT_EQ(post("/confirm", {{"Origin", "http://evil.example"}, {"X-Orvane-Token", guard.token()}}, body).status,
              403);
    EXPECT_EQ(post("/confirm", {{"X-Orvane-Token", guard.token()}}, body).status, 403);
    httplib::Headers headers = ownHeaders();
    headers.erase("X-Orvane-Token");
    EXPECT_EQ(post("/confirm", headers, body).status, 403);
    EXPECT_EQ(post("/confirm", ownHeaders(), body).status, 200);
}

TEST_F(PageServerTest, WhatErasesIsConfirmedInWordsBeforeItReachesTheBus)
{
    const std::string name = R"({"name":"clear-data-all")";
    EXPECT_NE(post("/request", ownHeaders(), name + "}").body.find("confirmed first"), std::string::npos);
    const auto question = post("/confirm", ownHeaders(), name + "}");
    const BusLink::Json asked = BusLink::Json::parse(question.body);
    EXPECT_NE(asked["warns"].get<std::string>().find("erases all of its data"), std::string::npos);
    const std::string confirmed = name + R"(,"confirmation":")" + asked["confirmation"].get<std::string>() + "\"}";
    EXPECT_NE(post("/request", ownHeaders(), confirmed).body.find("no bus at /no bus"), std::string::npos);
}

TEST_F(PageServerTest, OddBodiesAreAnsweredAndLargeOnesRefused)
{
    for (const char* const body : {"", "{", "7", "[]", R"({"name":7})", R"({"name":"no such"})"})
        EXPECT_NE(post("/request", ownHeaders(), body).body.find("\"ok\":false"), std::string::npos) << body;
    EXPECT_EQ(post("/request", ownHeaders(), std::string(5000, ' ')).status, 413);
}

TEST_F(PageServerTest, AViewerGetsFramesAsTheyCome)
{
    Viewer viewer(port);
    EXPECT_TRUE(eventually([&] { return viewer.text() == "data: {\"a\":1}\n\n"; })) << viewer.text();
    board.publish({{"a", "2"}});
    EXPECT_TRUE(eventually([&] { return viewer.text().ends_with("data: {\"a\":2}\n\n"); })) << viewer.text();
    viewer.leave();
    EXPECT_TRUE(eventually([&] {
        board.publish({});
        return server->viewers() == 0;
    }));
}

TEST_F(PageServerTest, SixteenLookOnAndTheNextComesLater)
{
    std::list<Viewer> viewers;
    for (int i = 0; i < 16; ++i) viewers.emplace_back(port);
    ASSERT_TRUE(eventually([&] { return server->viewers() == 16; }));
    for (Viewer& viewer : viewers) EXPECT_TRUE(eventually([&] { return viewer.status() == 200; }));
    EXPECT_EQ(get("/events").status, 503);
    EXPECT_EQ(get("/").status, 200);  // others are answered all the while
    server.reset();
}

TEST_F(PageServerTest, WhoSendsSlowlyIsGivenUp)
{
    server.reset();
    ListeningSocket own("127.0.0.1", 0);
    RawClient slow(own.port());
    const PageServer hasty(own, guard, board, requests, std::chrono::milliseconds(50));
    slow.send("GET ");
    // A byte each few milliseconds, for as long as they are taken.
    EXPECT_TRUE(eventually([&] { return !slow.send("/") || slow.isEnded(); }));
}

TEST_F(PageServerTest, WhoSendsWithoutAnEndIsGivenUp)
{
    const std::string part(65'536, 'x');
    for (const char* const begin : {"GET /", "GET / HTTP/1.1\r\nX: "}) {
        RawClient client(port);
        client.send(begin);
        int parts = 0;
        while (parts < 1000 && client.send(part)) ++parts;
        EXPECT_LT(parts, 1000) << begin;
    }
    RawClient client(port);
    client.send("GET / HTTP/1.1\r\n");
    int headers = 0;
    while (headers < 1'000'000 && client.send("X: y\r\n")) ++headers;
    EXPECT_LT(headers, 1'000'000);
}

TEST_F(PageServerTest, WhatFollowsARequestDoesNotTakeItsAnswerAway)
{
    RawClient client(port);
    client.send(postHead() + "Content-Length: 4097\r\n\r\n" + std::string(4097, ' '));
    EXPECT_THAT(client.received(), testing::EndsWith(R"({"ok":false,"error":"the request is too long"})"));
}

TEST_F(PageServerTest, ItsEndWaitsForNobody)
{
    RawClient slow(port);
    slow.send("GET / HT");
    ASSERT_EQ(get("/").status, 200);  // by then it is being read
    server.reset();
    EXPECT_TRUE(slow.isEnded());
}

TEST_F(PageServerTest, ItsEndEndsItsViewers)
{
    Viewer viewer(port);
    ASSERT_TRUE(eventually([&] { return viewer.status() == 200; }));
    server.reset();
    EXPECT_TRUE(eventually([&] { return viewer.hasEnded(); }));
    EXPECT_FALSE(client().Get("/"));
}

TEST_F(PageServerTest, APositionIsChangedByOurOwnPageAlone)
{
    server.reset();
    ReplayPosition position(std::chrono::seconds(60), std::chrono::steady_clock::now());
    ListeningSocket own("127.0.0.1", 0);
    const std::string site = "http://127.0.0.1:" + std::to_string(own.port());
    const PageServer replay(own, guard, board, requests, std::chrono::hours(1), &position);
    httplib::Client viewer("127.0.0.1", own.port());
    viewer.set_read_timeout(30);
    const auto ask = [&](const char* path, const httplib::Headers& headers, const std::string& body) {
        return answerOf(viewer.Post(path, headers, body, "application/json"));
    };
    const httplib::Headers good = {{"Origin", site}, {"X-Orvane-Token", guard.token()}};
    const std::string move = R"({"to":12})";
    EXPECT_EQ(ask("/position", {{"Origin", "http://evil.example"}, {"X-Orvane-Token", guard.token()}}, move).status,
              403);
    EXPECT_EQ(ask("/position", {{"Origin", site}, {"X-Orvane-Token", "x"}}, move).status, 403);
    EXPECT_EQ(ask("/position", good, std::string(5000, ' ')).status, 413);
    EXPECT_EQ(position.at(std::chrono::steady_clock::now()).changes, 0U);
    EXPECT_EQ(ask("/position", good, move).body, R"({"ok":true,"changes":1})");
    EXPECT_EQ(position.at(std::chrono::steady_clock::now()).place, std::chrono::seconds(12));
    for (const char* const path : {"/request", "/confirm"})
        EXPECT_EQ(ask(path, good, R"({"name":"clear-data-all"})").body,
                  R"({"ok":false,"error":"a recording is shown: nothing can be requested"})");
}

TEST_F(PageServerTest, WhatIsSentNowHasNoPosition)
{
    EXPECT_EQ(post("/position", ownHeaders(), R"({"to":12})").status, 404);
}

TEST(ListeningSocketTest, APlaceThatIsTakenIsRefused)
{
    ListeningSocket first("127.0.0.1", 0);
    EXPECT_EQ(errorOf([&] { ListeningSocket("127.0.0.1", first.port()); }),
              "cannot listen at 127.0.0.1 port " + std::to_string(first.port()) + ": Address already in use");
    EXPECT_EQ(errorOf([] { ListeningSocket("localhost", 0); }), "localhost: no address in numbers");
}

TEST(ListeningSocketTest, OneThatListensIsTakenOver)
{
    ListeningSocket first("127.0.0.1", 0);
    const int port = first.port();
    const ListeningSocket second(first.release());
    EXPECT_EQ(second.port(), port);
    EXPECT_EQ(second.host(), "127.0.0.1");
    EXPECT_EQ(errorOf([] { ListeningSocket(0); }), "descriptor 0 is no socket that listens");
}
