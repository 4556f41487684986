#ifndef LAB_CTL_SERVE_SERVEPLACE_H
#define LAB_CTL_SERVE_SERVEPLACE_H

#include "lab/ctl/serve/ListeningSocket.h"
#include "lab/ctl/serve/ServeRun.h"

#include <memory>
#include <string>
#include <vector>

namespace orvanectl {

/// Where a page is to be seen, by its options. One thread at a time.
class ServePlace {
public:
    /// Throws `std::runtime_error` for what can't be listened at.
    explicit ServePlace(const ServeOptions& options)
        : m_socket(options.descriptor >= 0 ? std::make_unique<ListeningSocket>(options.descriptor)
                                           : std::make_unique<ListeningSocket>(options.address, options.port)),
          m_address("http://" + m_socket->host() + ':' + std::to_string(m_socket->port()) + '/'), m_names(options.names)
    {
        m_names.push_back(m_socket->host());
    }

    ListeningSocket& socket() { return *m_socket; }

    /// "http://127.0.0.1:8642/"
    const std::string& address() const { return m_address; }

    /// By which the page is asked for besides those of loopback.
    const std::vector<std::string>& names() const { return m_names; }

private:
    std::unique_ptr<ListeningSocket> m_socket;
    std::string m_address;
    std::vector<std::string> m_names;
};

}  // namespace orvanectl

#endif
