#include "lab/ctl/serve/PageGuard.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/random.h>
#include <system_error>

namespace orvanectl {

namespace {

std::string lowered(std::string text)
{
    // The names of hosts, in no locale.
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// The name before a port: "127.0.0.1", "[::1]". Empty if what stands behind it is none.
std::string nameOf(const std::string& host)
{
    const std::size_t bracket = host.starts_with('[') ? host.find(']') : 0;
    if (bracket == std::string::npos) return "";
    const std::size_t colon = host.find(':', bracket);
    if (colon == std::string::npos) return host.starts_with('[') && bracket + 1 != host.size() ? "" : host;
    if (host.starts_with('[') && colon != bracket + 1) return "";
    const std::string port = host.substr(colon + 1);
    const bool isPort = !port.empty() && port.size() <= 5 && port.find_first_not_of("0123456789") == std::string::npos;
    return isPort ? host.substr(0, colon) : "";
}

}  // namespace

std::string randomToken()
{
    std::array<unsigned char, 16> bytes{};
    std::size_t have = 0;
    while (have < bytes.size()) {
        const ssize_t count = ::getrandom(bytes.data() + have, bytes.size() - have, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw std::system_error(errno, std::generic_category(), "getrandom");
        have += static_cast<std::size_t>(count);
    }
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 15U];
    }
    return text;
}

bool isSameSecret(const std::string& a, const std::string& b)
{
    if (a.size() != b.size()) return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned>(static_cast<unsigned char>(a[i])) ^ static_cast<unsigned char>(b[i]);
    return difference == 0;
}

PageGuard::PageGuard(std::vector<std::string> names) : m_names(std::move(names)), m_token(randomToken())
{
    for (std::string& name : m_names) name = lowered(name);
    m_names.insert(m_names.end(), {"127.0.0.1", "localhost", "[::1]"});
}

bool PageGuard::isOwn(const std::string& host) const
{
    const std::string name = lowered(nameOf(host));
    return !name.empty() && std::ranges::find(m_names, name) != m_names.end();
}

std::optional<std::string> PageGuard::refusalToShow(const Asking& asking) const
{
    if (asking.hosts.size() != 1 || !isOwn(asking.hosts[0])) return "this page is not asked for by that name";
    for (const std::string& origin : asking.origins)
        if (lowered(origin) != "http://" + lowered(asking.hosts[0])) return "another site's page asks";
    for (const std::string& site : asking.sites)
        if (site != "same-origin" && site != "none" && !asking.isVisit) return "another site's page asks";
    return std::nullopt;
}

std::optional<std::string> PageGuard::refusalToChange(const Asking& asking) const
{
    if (auto refusal = refusalToShow(asking)) return refusal;
    if (asking.origins.size() != 1) return "nothing says whose page asks";
    if (!isSameSecret(asking.token, m_token)) return "the page is of an earlier run: load it again";
    if (lowered(asking.contentType.substr(0, asking.contentType.find(';'))) != "application/json")
        return "a request comes as application/json";
    return std::nullopt;
}

}  // namespace orvanectl
