#ifndef TESTS_SUPPORT_ONECONNECTION_H
#define TESTS_SUPPORT_ONECONNECTION_H

#include "tests/support/Transport.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

/// A transport with one connection, which has a subscriber already: what is published on it arrives within the write.
template <class T>
class OneConnection {
public:
    using Front = FACE::TSS::Details::HX_TypedTS<T>;

    /// @param type  of the catalogue, `T` by its name
    /// @param name  the topic; two of these under one name hear each other
    explicit OneConnection(const std::string& type, const std::string& name = "One")
        : m_transport(std::make_unique<Transport>(TransportConfig().connect(name, type), "desk")),
          m_id(m_transport->connect(name)), m_front(m_transport->typed<T>())
    {
        FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_front->Register_Callback(
            m_id,
            [this, keep = inbox.callback()](long long connection, long long transaction, const T& message,
                                            const auto& header, const auto& qos, auto& rc) {
                if (onArrival) onArrival(message);
                keep(connection, transaction, message, header, qos, rc);
            },
            code);
        if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no subscriber");
    }

    const std::shared_ptr<Front>& front() const { return m_front; }
    long long id() const { return m_id; }

    /// Makes sure that not even the first record is missed: else a publisher may be ahead of being matched.
    void registerSender() const
    {
        FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_front->Register_Sender(m_id, code);
        if (code > FACE::RETURN_CODE_TYPE::NO_ACTION || !m_transport->waitForSubscribers(m_id))
            throw std::runtime_error("no sender");
    }

    void unregisterSender() const
    {
        FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
        (*m_transport)->Unregister_Sender(m_id, code);
        if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("sender stays");
    }

    /// Ends transport and front; true if nobody else has held them.
    bool end()
    {
        const std::weak_ptr<Front> front = m_front;
        m_front.reset();
        m_transport.reset();
        return front.expired();
    }

    std::function<void(const T&)> onArrival;  // within the write; set it while nothing is published
    Inbox<T> inbox;

private:
    std::unique_ptr<Transport> m_transport;  // ends before what its callback writes to
    long long m_id;
    std::shared_ptr<Front> m_front;
};

#endif
