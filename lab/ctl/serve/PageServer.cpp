#include "lab/ctl/serve/PageServer.h"

#include "lab/ctl/serve/BoundedServer.h"
#include "lab/ctl/serve/PageAssets.h"

#include <atomic>
#include <chrono>
#include <httplib.h>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace orvanectl {

namespace {

using Json = PageRequests::Json;

/// Each viewer has one to itself, and the rest are for all else.
constexpr std::size_t kThreads = PageServer::kMostViewers + 12;
constexpr std::size_t kLongestBody = 4096;

RequestStream::Limits limitsOf(std::chrono::milliseconds requestTime)
{
    RequestStream::Limits limits;
    limits.request = requestTime;
    return limits;
}

std::vector<std::string> headersOf(const httplib::Request& request, const char* name)
{
    std::vector<std::string> texts;
    const auto [first, last] = request.headers.equal_range(name);
    for (auto header = first; header != last; ++header) texts.push_back(header->second);
    return texts;
}

Asking askingOf(const httplib::Request& request)
{
    Asking asking;
    asking.hosts = headersOf(request, "Host");
    asking.origins = headersOf(request, "Origin");
    asking.sites = headersOf(request, "Sec-Fetch-Site");
    asking.isVisit = request.method == "GET" && request.path == "/" &&
                     headersOf(request, "Sec-Fetch-Mode") == std::vector<std::string>{"navigate"} &&
                     headersOf(request, "Sec-Fetch-Dest") == std::vector<std::string>{"document"};
    asking.token = request.get_header_value("X-Orvane-Token");
    asking.contentType = request.get_header_value("Content-Type");
    return asking;
}

struct Refusal {
    int status;
    std::string words;
};

/// Of a body that is not as long as it says from the first, and short: the library would read on and on, or unpack it.
std::optional<Refusal> refusalOfBody(const httplib::Request& request)
{
    const std::vector<std::string> lengths = headersOf(request, "Content-Length");
    if (request.has_header("Transfer-Encoding") || lengths.size() != 1)
        return Refusal{411, "a request says how long it is"};
    if (request.has_header("Content-Encoding")) return Refusal{415, "a request comes as it is, not packed"};
    const std::string& length = lengths.front();
    if (length.empty() || length.find_first_not_of("0123456789") != std::string::npos)
        return Refusal{400, "the length of the request is no number"};
    if (length.size() > 5 || std::stoul(length) > kLongestBody) return Refusal{413, "the request is too long"};
    return std::nullopt;
}

void answer(httplib::Response& response, int status, const Json& body)
{
    response.status = status;
    response.set_content(body.dump(-1, ' ', false, Json::error_handler_t::replace), "application/json");
}

std::string textIn(const Json& body, const char* key)
{
    if (!body.is_object()) return "";
    const auto found = body.find(key);
    return found != body.end() && found->is_string() ? found->get<std::string>() : "";
}

}  // namespace

class PageServer::Impl {
public:
    Impl(ListeningSocket& socket, const PageGuard& guard, FrameBoard& board, PageRequests& requests,
         std::chrono::milliseconds requestTime, ReplayPosition* position)
        : m_guard(guard), m_board(board), m_requests(requests), m_server(limitsOf(requestTime))
    {
        m_server.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
        m_server.set_payload_max_length(kLongestBody);
        m_server.set_tcp_nodelay(true);
        m_server.set_default_headers(
            {{"Content-Security-Policy",
              "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self' data:; "
              "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
             {"X-Content-Type-Options", "nosniff"},
             {"Referrer-Policy", "no-referrer"},
             {"Cross-Origin-Resource-Policy", "same-origin"},
             {"Cache-Control", "no-store"}});
        // Before anything of a body is read.
        m_server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            // The library would send what is answered once for each range: so this has nothing in it.
            if (!request.ranges.empty()) {
                response.status = 416;
                return httplib::Server::HandlerResponse::Handled;
            }
            const auto refusal = refusalOf(request);
            if (!refusal) return httplib::Server::HandlerResponse::Unhandled;
            answer(response, refusal->status, {{"ok", false}, {"error", refusal->words}});
            return httplib::Server::HandlerResponse::Handled;
        });
        addPages();
        m_server.Get("/events", [this](const httplib::Request&, httplib::Response& response) { show(response); });
        if (position)
            addPosition(*position);
        else
            addRequests();
        m_server.adopt(socket.release());
        m_thread = std::thread([this] {
            m_server.listen_after_bind();
            m_hasEnded = true;
        });
    }

    ~Impl()
    {
        m_board.close();
        m_requests.end();
        m_server.endConnections();
        while (!m_server.is_running() && !m_hasEnded) std::this_thread::yield();
        m_server.stop();
        m_thread.join();
    }

    int viewers() const { return m_viewers; }
    bool hasFailed() const { return m_hasEnded; }

private:
    std::optional<Refusal> refusalOf(const httplib::Request& request) const
    {
        const Asking asking = askingOf(request);
        const bool isToChange = request.method != "GET" && request.method != "HEAD";
        if (const auto words = isToChange ? m_guard.refusalToChange(asking) : m_guard.refusalToShow(asking))
            return Refusal{403, *words};
        return isToChange ? refusalOfBody(request) : std::nullopt;
    }

    void addPages()
    {
        for (const PageAsset& asset : pageAssets()) {
            std::string text(asset.text);
            constexpr std::string_view kPlace = "{{token}}";
            if (const std::size_t place = text.find(kPlace); place != std::string::npos)
                text.replace(place, kPlace.size(), m_guard.token());
            const bool isPage = asset.name == "index.html";
            // The library takes the path as a pattern.
            std::string path = "/";
            for (const char c : isPage ? std::string_view() : asset.name)
                path += c == '.' ? std::string("\\.") : std::string(1, c);
            m_server.Get(path,
                         [text, type = std::string(asset.type)](const httplib::Request&, httplib::Response& response) {
                             response.set_content(text, type);
                         });
        }
    }

    template <class Make>
    void addRequest(const char* path, Make make)
    {
        m_server.Post(path, [make](const httplib::Request& request, httplib::Response& response) {
            const Json body = Json::parse(request.body, nullptr, false);
            answer(response, 200, make(body));
        });
    }

    void addRequests()
    {
        addRequest("/confirm", [this](const Json& body) { return m_requests.confirmation(textIn(body, "name")); });
        addRequest("/request", [this](const Json& body) {
            return m_requests.make(textIn(body, "name"), textIn(body, "confirmation"));
        });
    }

    void addPosition(ReplayPosition& position)
    {
        const auto refuse = [](const Json&) -> Json {
            return {{"ok", false}, {"error", "a recording is shown: nothing can be requested"}};
        };
        addRequest("/confirm", refuse);
        addRequest("/request", refuse);
        addRequest("/position",
                   [&](const Json& body) { return position.change(body, std::chrono::steady_clock::now()); });
    }

    void show(httplib::Response& response)
    {
        if (++m_viewers > kMostViewers) {
            --m_viewers;
            response.set_header("Retry-After", "5");
            return answer(response, 503, {{"ok", false}, {"error", "16 others look on already"}});
        }
        response.set_chunked_content_provider(
            "text/event-stream",
            [this, seen = std::uint64_t(0)](std::size_t, httplib::DataSink& sink) mutable {
                const auto frame = m_board.next(seen);
                if (!frame) {
                    sink.done();
                    return false;
                }
                seen = frame->number;
                const std::string event = "data: " + frame->text + "\n\n";
                return sink.write(event.data(), event.size());
            },
            [this](bool) { --m_viewers; });
    }

    const PageGuard& m_guard;
    FrameBoard& m_board;
    PageRequests& m_requests;
    std::atomic<int> m_viewers = 0;
    std::atomic<bool> m_hasEnded = false;
    BoundedServer m_server;
    std::thread m_thread;  // last: it uses the above until it is joined
};

PageServer::PageServer(ListeningSocket& socket, const PageGuard& guard, FrameBoard& board, PageRequests& requests,
                       std::chrono::milliseconds requestTime, ReplayPosition* position)
    : m_impl(std::make_unique<Impl>(socket, guard, board, requests, requestTime, position))
{}

PageServer::~PageServer() = default;

int PageServer::viewers() const
{
    return m_impl->viewers();
}

bool PageServer::hasFailed() const
{
    return m_impl->hasFailed();
}

}  // namespace orvanectl
