#include "lab/ctl/serve/PageRequests.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <list>
#include <optional>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace orvanectl;

namespace {

using Json = BusLink::Json;

/// A socket that takes clients.
int listenAt(const std::string& path)
{
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(socket, 4), 0);
    return socket;
}

/// A bus for one client: it reads one line, and answers as the test says; it closes after an empty answer, and waits for
/// the client's end after any other or none.
class OneBus {
public:
    using Answer = std::function<std::optional<std::string>(const Json& request)>;

    OneBus(const std::string& path, Answer answer) : m_socket(listenAt(path))
    {
        m_thread = std::thread([this, answer = std::move(answer)] {
            const int client = ::accept(m_socket, nullptr, nullptr);
            std::string line;
            for (char c = 0; ::read(client, &c, 1) == 1 && c != '\n';) line += c;
            const std::optional<std::string> text = answer(Json::parse(line, nullptr, false));
            if (text) {
                EXPECT_EQ(::send(client, text->data(), text->size(), MSG_NOSIGNAL), static_cast<ssize_t>(text->size()));
            }
            char c = 0;
            while (text != "" && ::read(client, &c, 1) == 1) continue;
            ::close(client);
        });
    }
    ~OneBus()
    {
        m_thread.join();
        ::close(m_socket);
    }

private:
    int m_socket;
    std::thread m_thread;
};

/// A bus that takes clients and answers none, until its end.
class BusThatIsSilent {
public:
    explicit BusThatIsSilent(const std::string& path) : m_socket(listenAt(path)) {}
    ~BusThatIsSilent()
    {
        for (const int descriptor : m_clients) ::close(descriptor);
        ::close(m_socket);
    }
    BusThatIsSilent(const BusThatIsSilent&) = delete;
    BusThatIsSilent& operator=(const BusThatIsSilent&) = delete;

    void takeClient() { m_clients.push_back(::accept(m_socket, nullptr, nullptr)); }

private:
    const int m_socket;
    std::vector<int> m_clients;
};

struct PageRequestsTest : testing::Test {
    TemporaryDirectory directory;
    const std::string path = (directory.path() / "bus").string();
    PageRequests requests{path};
};

}  // namespace

TEST_F(PageRequestsTest, AnAnswerIsToldAsALineForPeople)
{
    OneBus bus(path, [](const Json& request) {
        Json answer = {
            {"type", "answer"}, {"request", request["request"]}, {"id", request["id"]}, {"ok", true}, {"returned", 1}};
        return "{\"type\":\"hello\"}\nno json\n" + answer.dump() + '\n';
    });
    const Json answer = requests.make("bit-run", "");
    EXPECT_EQ(answer["ok"], true);
    EXPECT_EQ(answer["text"], "bit-run  ok true  returned 1");
}

TEST_F(PageRequestsTest, AConfirmedRequestGoesOutAsItsButtonSays)
{
    std::string asked;
    {
        OneBus bus(path, [&](const Json& request) {
            asked = request["request"].get<std::string>() + ' ' + request["data"].get<std::string>();
            return Json({{"type", "answer"}, {"id", request["id"]}, {"ok", true}}).dump() + '\n';
        });
        const std::string confirmation = requests.confirmation("clear-data-crypto")["confirmation"];
        EXPECT_EQ(requests.make("clear-data-crypto", confirmation)["ok"], true);
    }
    EXPECT_EQ(asked, "clear-data crypto");
}

TEST_F(PageRequestsTest, AnotherClientsAnswerIsNotTaken)
{
    OneBus bus(path, [](const Json&) {
        return std::string(R"({"type":"answer","id":"other","ok":true})") + "\n" +
               R"({"type":"error","error":"no such request"})" + "\n";
    });
    const Json answer = requests.make("status", "");
    EXPECT_EQ(answer["ok"], false);
    EXPECT_EQ(answer["text"], "error  error no such request");
}

TEST_F(PageRequestsTest, ABusThatClosesIsAnError)
{
    OneBus bus(path, [](const Json&) { return ""; });
    EXPECT_EQ(requests.make("status", "")["error"], "the bus has closed without an answer");
}

TEST_F(PageRequestsTest, ABusThatIsSilentIsGivenUp)
{
    PageRequests hasty(path, std::chrono::milliseconds(1));
    OneBus bus(path, [](const Json&) { return std::nullopt; });
    EXPECT_EQ(hasty.make("status", "")["error"], "no answer came in time");
}

TEST_F(PageRequestsTest, WithoutABusItSaysSo)
{
    EXPECT_EQ(requests.make("status", "")["error"], "no bus at " + path + ": No such file or directory");
}

TEST_F(PageRequestsTest, WhatErasesIsNotMadeWithoutItsOwnConfirmation)
{
    const std::string other = requests.confirmation("bit-clear")["confirmation"];
    for (const std::string& confirmation : {std::string(), other})
        EXPECT_EQ(requests.make("clear-data-all", confirmation)["error"],
                  "this has to be confirmed first, within a minute");
}

TEST_F(PageRequestsTest, AConfirmationIsNotUsedUpWhileTooManyAreUnderWay)
{
    std::list<std::thread> others;
    const std::string confirmation = requests.confirmation("clear-data-all")["confirmation"];
    {
        BusThatIsSilent bus(path);
        for (int i = 0; i < PageRequests::kMostAtOnce; ++i) {
            others.emplace_back([this] { requests.make("status", ""); });
            bus.takeClient();
        }
        EXPECT_EQ(requests.make("clear-data-all", confirmation)["error"], "too many requests are under way");
    }
    for (std::thread& other : others) other.join();
    EXPECT_EQ(requests.make("clear-data-all", confirmation)["error"], "no bus at " + path + ": Connection refused");
}

TEST_F(PageRequestsTest, EveryRequestOfItsListIsOneOfTheBus)
{
    EXPECT_EQ(PageRequests::all().size(), PageRequests::list().size());
    for (const PageRequest& request : PageRequests::all())
        EXPECT_TRUE(Json::parse(request.body, nullptr, false).is_object()) << request.name;
    EXPECT_EQ(requests.confirmation("status")["error"], "this needs no confirmation");
    EXPECT_EQ(requests.make("shutdown", "")["error"], "there is no such request");
}
