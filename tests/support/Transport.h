#ifndef TESTS_SUPPORT_TRANSPORT_H
#define TESTS_SUPPORT_TRANSPORT_H

#include "face/HX_Config.h"
#include "face/HX_TSS.h"
#include "face/HX_TypedTS.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// A DDS domain for this process: 1 to 200, by its id, so that tests beside each other do not meet even where they
/// share a network.
std::uint32_t ownDomain();

/// Has the library log nothing. It would do so on `std::cout` from a thread of its own, at any time, and so into a
/// `ConsoleCapture` that is about to end.
void silenceLibrary();

/// The text of a connection file that the transport accepts, to be varied key by key. To begin with: shared memory on
/// this process's own domain, reliable, a depth of 10, no back-fill, no connection. Making the first one silences the
/// library (`silenceLibrary`).
class TransportConfig {
public:
    TransportConfig();

    /// Gives a key of the container "FastRtps" another text, or takes it out.
    TransportConfig& set(const std::string& key, const std::string& text);
    TransportConfig& remove(const std::string& key);

    /// Adds a connection of a type of the catalogue, such as "UTCTime", or of any two names.
    TransportConfig& connect(const std::string& name, const std::string& type);
    TransportConfig& connect(const std::string& name, const std::string& topicType, const std::string& pubSubType);

    std::string text() const;

private:
    std::map<std::string, std::string> m_keys;
    std::string m_connections;
};

/// An initialized transport on a file of its own, or on one that exists. Throws `std::runtime_error` if it can't be
/// had.
class Transport {
public:
    explicit Transport(const TransportConfig& config, const std::string& participant = "test",
                       FACE::TSS::HX_TSS::TypeSource typeSource = &FACE::TSS::Topics::GetPubSubType);
    explicit Transport(const std::string& path, const std::string& participant = "test");

    FACE::TSS::HX_TSS& operator*() const { return *m_tss; }
    FACE::TSS::HX_TSS* operator->() const { return m_tss.get(); }

    /// The id of a connection, created if need be; throws if that fails.
    long long connect(const std::string& name) const;

    /// A typed front that refers to this transport.
    template <class T>
    std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>> typed() const
    {
        auto front = std::make_shared<FACE::TSS::Details::HX_TypedTS<T>>();
        FACE::RETURN_CODE_TYPE::Value code = FACE::RETURN_CODE_TYPE::NO_ACTION;
        front->Set_Reference("", m_tss, 0, code);
        return front;
    }

    /// True once the connection's publisher, or subscriber, is matched with so many of the other kind.
    bool waitForSubscribers(long long id, int count = 1) const;
    bool waitForPublishers(long long id, int count = 1) const;

private:
    void initialize(const std::string& path);

    TemporaryDirectory m_directory;
    std::shared_ptr<FACE::HX_Config> m_config = std::make_shared<FACE::HX_Config>();
    std::shared_ptr<FACE::TSS::HX_TSS> m_tss;
};

/// Everything that a callback has been given. Any thread. A callback that comes after its end, as those of a transport
/// that goes after it do, is still kept somewhere.
template <class T>
class Inbox {
public:
    struct Item {
        long long connection;
        long long transaction;
        T message;
        FACE::TSS::HEADER_TYPE header;
        std::vector<std::pair<std::string, std::string>> qos;
    };

    FACE::TSS::Read_Callback<T> callback()
    {
        return [state = m_state](long long connection, long long transaction, const T& message,
                                 const FACE::TSS::HEADER_TYPE& header,
                                 const FACE::Sequence<FACE::TSS::QoS_Element>& qos, FACE::RETURN_CODE_TYPE::Value&) {
            Item item{connection, transaction, message, header, {}};
            for (std::uint32_t i = 0; i < qos.length(); ++i)
                item.qos.emplace_back(qos[i].name.buffer(), qos[i].value.buffer());
            const std::lock_guard lock(state->mutex);
            state->items.push_back(std::move(item));
        };
    }

    std::vector<Item> items() const
    {
        const std::lock_guard lock(m_state->mutex);
        return m_state->items;
    }

    std::size_t size() const
    {
        const std::lock_guard lock(m_state->mutex);
        return m_state->items.size();
    }

    bool waitFor(std::size_t count) const
    {
        return eventually([&] { return size() >= count; });
    }

private:
    struct State {
        std::mutex mutex;
        std::vector<Item> items;
    };

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

#endif
