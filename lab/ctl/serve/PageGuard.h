#ifndef LAB_CTL_SERVE_PAGEGUARD_H
#define LAB_CTL_SERVE_PAGEGUARD_H

#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// What an HTTP request says of where it comes from.
struct Asking {
    std::vector<std::string> hosts;    ///< each `Host` header
    std::vector<std::string> origins;  ///< each `Origin` header
    std::string token;
    std::string contentType;
    std::vector<std::string> sites = {};  ///< each `Sec-Fetch-Site` header
    bool isVisit = false;                 ///< a tab is to show the page itself, by a link or a bookmark
};

/// A text of 32 hexadecimal digits that nobody can guess. Throws `std::system_error` when the system gives none.
std::string randomToken();

/// Whether two texts are equal, in a time that does not tell where they differ.
bool isSameSecret(const std::string& a, const std::string& b);

/// Keeps pages of other sites out. A browser sends along which name the page was asked for by (`Host`) and which site's
/// page asks (`Origin`, and `Sec-Fetch-Site` where that is missing), and lets no page set them. A name that is not ours
/// may have been pointed at this machine by its owner, so it is refused too. Any thread.
class PageGuard {
public:
    /// Loopback is among the names always.
    /// @param names  under which the page may be asked for besides, without a port
    explicit PageGuard(std::vector<std::string> names);

    /// Stands in our own page, and comes back with each request that changes something.
    const std::string& token() const { return m_token; }

    /// Why nothing is to be shown; nothing if it may be.
    std::optional<std::string> refusalToShow(const Asking& asking) const;

    /// Why nothing is to be changed; nothing if it may be.
    std::optional<std::string> refusalToChange(const Asking& asking) const;

private:
    bool isOwn(const std::string& host) const;

    std::vector<std::string> m_names;
    std::string m_token;
};

}  // namespace orvanectl

#endif
