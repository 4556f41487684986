#ifndef FACE_HX_TSS_H
#define FACE_HX_TSS_H

#include "face/FACE_Injectable.h"
#include "face/FACE_TSS.h"
#include "face/HX_TSS_Settings.h"
#include "face/HX_Topic_Helpers.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

namespace eprosima::fastrtps {

class Participant;
class Publisher;
class Subscriber;

}  // namespace eprosima::fastrtps

namespace FACE::TSS {

namespace Listeners {

class PublisherListenerBase;
class SubscriberListenerBase;

}  // namespace Listeners

/// The transport of a process on Fast DDS: one participant, and all connections, each a topic of the connection's name.
///
///     constructed -- Set_Reference --> referenced -- Initialize --> initialized
///
/// A connection comes from the container of its name in the connection file and lives as long as this object. It may
/// have a publisher and a subscriber, which the typed front (face/HX_TypedTS.h) registers. Everything else about it is
/// the same for all of them and stands in the container "FastRtps" (face/HX_TSS_Settings.h).
///
/// Any thread may call `write`, `connectionMap_mutex_at`, `requireType` and `isInitialized` at any time from
/// `Initialize` to the destructor. All else is for one thread at a time, and for none that is inside a callback. The
/// mutex is a leaf: the library is never called under it, since a write runs the callbacks of this process itself.
/// The last reference must not go inside a callback: the destructor ends the threads that callbacks run on.
class HX_TSS : public Base, public Configuration_Injectable::Injectable {
public:
    using TopicDataType = eprosima::fastdds::dds::TopicDataType;

    /// Whether a type support is that of the type to be sent or received.
    using TypeTest = bool (*)(const TopicDataType&);

    class Connection_t {
    public:
        /// Takes the type support, which may be null: then the connection can't be used.
        Connection_t(std::string connectionName, std::string typeName, TopicDataType* typeSupport);
        ~Connection_t();
        Connection_t(Connection_t&& other) noexcept;
        Connection_t& operator=(Connection_t&& other) noexcept;

        bool isPublisher() const { return publisher != nullptr; }
        bool isSubscriber() const { return subscriber != nullptr; }

        /// Take the listener and delete an earlier one.
        void setPublisher(std::unique_ptr<Listeners::PublisherListenerBase> listener,
                          eprosima::fastrtps::Publisher* endpoint);
        void setSubscriber(std::unique_ptr<Listeners::SubscriberListenerBase> listener,
                           eprosima::fastrtps::Subscriber* endpoint);

        /// Forget the endpoint and delete its listener. The endpoint must be gone already.
        void clearPublisher();
        void clearSubscriber();

        std::string name;       // also the topic's
        std::string topicType;  // by which the type is registered
        std::unique_ptr<TopicDataType> pubSubType;
        std::unique_ptr<Listeners::PublisherListenerBase> publisherListener;
        eprosima::fastrtps::Publisher* publisher = nullptr;  // changed, and read by `write`, under the map's mutex
        std::unique_ptr<Listeners::SubscriberListenerBase> subscriberListener;
        eprosima::fastrtps::Subscriber* subscriber = nullptr;
        int writes = 0;                // that are inside the library; under the map's mutex
        TypeTest writtenAs = nullptr;  // the test that the type support has passed; under the map's mutex
    };

    /// What makes a type support by its name, for the caller to own; null for an unknown one.
    using TypeSource = TopicDataType* (*)(const std::string& pubSubType);

    /// @param participant_name  what discovery shows and messages quote
    /// @param typeSource        where type supports come from
    explicit HX_TSS(const std::string& participant_name, TypeSource typeSource = &Topics::GetPubSubType);
    ~HX_TSS() override;
    HX_TSS(const HX_TSS&) = delete;
    HX_TSS& operator=(const HX_TSS&) = delete;

    /// Reads the connection file, and makes the participant. `NO_ACTION` when that is done already. `NOT_AVAILABLE`
    /// without a configuration, or if the file or its container "FastRtps" can't be had (one line on the standard
    /// output each). `INVALID_CONFIG` if a key is missing or no participant can be made (one line on the standard
    /// error). A path that is not valid throws the configuration's `std::logic_error`; the code is `NOT_AVAILABLE`
    /// then. A failure may be followed by another try, but the configuration stays with the first file it has read.
    void Initialize(const String& configuration_path, RETURN_CODE_TYPE::Value& return_code) override;

    /// Makes the connection of the name that the file has and registers its type, or finds the one made before; ids run
    /// 0, 1, 2 ... and -1 is none. The time-out is ignored, and `max_message_size` not written. `NOT_AVAILABLE` before
    /// `Initialize`, `INVALID_CONFIG` if the file has no such container or that lacks a key, `NO_ACTION` if the type is
    /// unknown or refused (one line on the standard error). A name that is not valid throws the configuration's
    /// `std::logic_error`; id and code are -1 and `INVALID_CONFIG` then.
    void Create_Connection(const String& connection_name, long long timeout, long long& connection_id,
                           int& max_message_size, RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// Does nothing, deliberately, whatever the id; `NOT_AVAILABLE` before `Initialize`.
    void Destroy_Connection(long long connection_id, RETURN_CODE_TYPE::Value& return_code) override;

    /// Remove the publisher, or the subscriber, where there is one; it may be registered again. `NOT_AVAILABLE` before
    /// `Initialize`, `INVALID_PARAM` for an unknown id, `NO_ACTION` if the library throws. The first one waits for the
    /// writes that are under way, and lets no new one begin.
    void Unregister_Sender(long long connection_id, RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);
    void Unregister_Callback(long long connection_id, RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// `NOT_AVAILABLE` when a configuration is held already, else `INVALID_PARAM` for null.
    void Set_Reference(const String& interface_name, const std::shared_ptr<Configuration>& reference, long long id,
                       RETURN_CODE_TYPE::Value& return_code) override;

    bool isInitialized() const { return m_initialized; }
    const std::string& participantName() const { return m_participantName; }

    /// The connection of an id; `std::out_of_range` if there is none. It stays where it is for good.
    Connection_t& connectionMap_mutex_at(std::uint32_t id) EXCLUDES(m_mutex);

    /// The key of an id in the map. What is no key becomes 0xFFFFFFFF, which never has a connection.
    static std::uint32_t keyOf(long long connection_id);

    /// Throws `std::runtime_error` unless the type support of the connection passes the test. Anything else would have
    /// the library read one type as another.
    /// @param endpoint  "publisher" or "subscriber", for the text
    void requireType(const Connection_t& connection, TypeTest isType, const char* endpoint) const;

    /// Give the connection, which has none, a publisher or a subscriber. Throw `std::runtime_error` if the library
    /// refuses the settings or the endpoint, or if the type support has not the name that the file gives. The type must
    /// have been tested.
    void registerPublisher(Connection_t& connection) EXCLUDES(m_mutex);
    void registerSubscriber(Connection_t& connection, std::unique_ptr<Listeners::SubscriberListenerBase> listener);

    /// Publishes a message: `NO_ERROR`, `NOT_AVAILABLE` if there is no publisher, or `DATA_OVERFLOW` if the library
    /// does not take it. Throws `std::out_of_range` for an unknown id, `std::runtime_error` if the connection is of
    /// another type, and what a callback in this process throws: that one runs within this call.
    /// @param message  of the type that `isType` stands for
    RETURN_CODE_TYPE::Value write(std::uint32_t id, const void* message, TypeTest isType) EXCLUDES(m_mutex);

private:
    class WriteInProgress;

    void createParticipant();
    bool okRegisterTopic(TopicDataType* type);
    bool isTopicRegistered(const char* typeName);
    long long findConnection(const std::string& name) EXCLUDES(m_mutex);
    long long makeConnection(const std::string& name, int handle, RETURN_CODE_TYPE::Value& return_code)
        EXCLUDES(m_mutex);
    void removePublisher(Connection_t& connection) EXCLUDES(m_mutex);
    void requireTypeName(const Connection_t& connection, const char* endpoint) const;
    [[noreturn]] void refuseQos(const char* endpoint, const Connection_t& connection) const;
    [[noreturn]] void refuseEndpoint(const char* endpoint, const Connection_t& connection) const;

    std::atomic<bool> m_initialized = false;
    std::shared_ptr<Configuration> m_configuration;
    const std::string m_participantName;
    const TypeSource m_typeSource;
    eprosima::fastrtps::Participant* m_participant = nullptr;  // removed before the connections, whose types it uses
    HX_TSS_Settings m_settings;
    std::map<std::uint32_t, Connection_t> m_connections GUARDED_BY(m_mutex);
    std::unordered_map<std::string, std::uint32_t> m_ids GUARDED_BY(m_mutex);  // of the connections, by name
    RankedMutex<LockRank::Transport> m_mutex;
    std::condition_variable_any m_written;  // the last write of a connection has ended
};

}  // namespace FACE::TSS

#endif
