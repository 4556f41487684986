#include "face/HX_TSS.h"

#include "face/FACE_Text.h"
#include "face/HX_Config_Helpers.h"
#include "face/HX_TSS_Listeners.h"
#include "utilities/ConsoleLine.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/subscriber/Subscriber.h>

#include <iostream>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace FACE::TSS {

using eprosima::fastrtps::Domain;
using eprosima::fastrtps::ParticipantAttributes;
using eprosima::fastrtps::Publisher;
using eprosima::fastrtps::PublisherAttributes;
using eprosima::fastrtps::Subscriber;
using eprosima::fastrtps::SubscriberAttributes;

namespace {

/// Characters of a topic's and a type's name that the library keeps.
constexpr std::size_t kLongestName = 255;

/// A container of the configuration, closed with this object.
class OpenContainer {
public:
    OpenContainer(Configuration& config, const String& name) : m_config(config)
    {
        m_config.Open(name, m_handle, m_code);
    }
    ~OpenContainer()
    {
        RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
        if (m_code == RETURN_CODE_TYPE::NO_ERROR) m_config.Close(m_handle, ignored);
    }
    OpenContainer(const OpenContainer&) = delete;
    OpenContainer& operator=(const OpenContainer&) = delete;

    int handle() const { return m_handle; }
    RETURN_CODE_TYPE::Value code() const { return m_code; }

private:
    Configuration& m_config;
    int m_handle = -1;
    RETURN_CODE_TYPE::Value m_code = RETURN_CODE_TYPE::NO_ERROR;
};

}  // namespace

/// Counts a write of a connection from before the library is entered until after it is left.
class HX_TSS::WriteInProgress {
public:
    /// Throws as `HX_TSS::write`; with no effect if the connection has no publisher.
    WriteInProgress(HX_TSS& tss, std::uint32_t id, TypeTest isType) : m_tss(tss)
    {
        const MutexLock lock(m_tss.m_mutex);
        m_connection = &m_tss.m_connections.at(id);
        if (!m_connection->publisher) return;
        if (m_connection->writtenAs != isType) {
            m_tss.requireType(*m_connection, isType, "publisher");
            m_connection->writtenAs = isType;
        }
        m_publisher = m_connection->publisher;
        ++m_connection->writes;
    }
    ~WriteInProgress()
    {
        if (!m_publisher) return;
        const MutexLock lock(m_tss.m_mutex);
        const bool isAwaited = --m_connection->writes == 0 && !m_connection->publisher;
        if (isAwaited) m_tss.m_written.notify_all();
    }
    WriteInProgress(const WriteInProgress&) = delete;
    WriteInProgress& operator=(const WriteInProgress&) = delete;

    Publisher* publisher() const { return m_publisher; }

private:
    HX_TSS& m_tss;
    Connection_t* m_connection = nullptr;
    Publisher* m_publisher = nullptr;
};

HX_TSS::Connection_t::Connection_t(std::string connectionName, std::string typeName, TopicDataType* typeSupport)
    : name(std::move(connectionName)), topicType(std::move(typeName)), pubSubType(typeSupport)
{}

HX_TSS::Connection_t::~Connection_t() = default;
HX_TSS::Connection_t::Connection_t(Connection_t&& other) noexcept = default;
HX_TSS::Connection_t& HX_TSS::Connection_t::operator=(Connection_t&& other) noexcept = default;

void HX_TSS::Connection_t::setPublisher(std::unique_ptr<Listeners::PublisherListenerBase> listener, Publisher* endpoint)
{
    publisherListener = std::move(listener);
    publisher = endpoint;
}

void HX_TSS::Connection_t::setSubscriber(std::unique_ptr<Listeners::SubscriberListenerBase> listener,
                                         Subscriber* endpoint)
{
    subscriberListener = std::move(listener);
    subscriber = endpoint;
}

void HX_TSS::Connection_t::clearPublisher()
{
    publisher = nullptr;
    publisherListener.reset();
}

void HX_TSS::Connection_t::clearSubscriber()
{
    subscriber = nullptr;
    subscriberListener.reset();
}

HX_TSS::HX_TSS(const std::string& participant_name, TypeSource typeSource)
    : m_participantName(participant_name), m_typeSource(typeSource)
{}

HX_TSS::~HX_TSS()
{
    if (m_initialized) Domain::removeParticipant(m_participant);
}

void HX_TSS::Set_Reference(const String&, const std::shared_ptr<Configuration>& reference, long long,
                           RETURN_CODE_TYPE::Value& return_code)
{
    if (m_configuration) {
        return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    } else if (!reference) {
        return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    } else {
        m_configuration = reference;
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    }
}

void HX_TSS::Initialize(const String& configuration_path, RETURN_CODE_TYPE::Value& return_code)
{
    if (m_initialized) {
        return_code = RETURN_CODE_TYPE::NO_ACTION;
        return;
    }
    return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (!m_configuration) return;

    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    m_configuration->Initialize(configuration_path, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) {
        printLine(std::cout, "CFR:", code, " Configuration ", textOf(configuration_path), " was not available");
        return;
    }
    const OpenContainer container(*m_configuration, "FastRtps");
    if (container.code() != RETURN_CODE_TYPE::NO_ERROR) {
        printLine(std::cout, "CFR:", container.code(), " Domain FastRtps was not available");
        return;
    }
    HX_TSS_Settings settings = readSettings(*m_configuration, container.handle(), code);
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    if (code != RETURN_CODE_TYPE::NO_ERROR) return;

    try {
        m_settings = std::move(settings);
        createParticipant();
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    } catch (const std::exception& error) {
        printLine(std::cerr, error.what());
    }
}

void HX_TSS::createParticipant()
{
    const ParticipantAttributes attributes = participantAttributes(m_settings, m_participantName);
    if (m_settings.domainId <= kHighestDomainId) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        m_participant = Domain::createParticipant(attributes);
#pragma GCC diagnostic pop
    }
    if (!m_participant) throw std::runtime_error("Error creating participant " + m_participantName);
    m_initialized = true;
}

void HX_TSS::Create_Connection(const String& connection_name, long long, long long& connection_id, int&,
                               RETURN_CODE_TYPE::Value& return_code)
{
    connection_id = -1;
    return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (!m_initialized || !m_configuration) return;

    const std::string name = textOf(connection_name);
    connection_id = findConnection(name);
    return_code = RETURN_CODE_TYPE::NO_ERROR;
    if (connection_id >= 0) return;

    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    const OpenContainer container(*m_configuration, connection_name);
    if (container.code() == RETURN_CODE_TYPE::NO_ERROR)
        connection_id = makeConnection(name, container.handle(), return_code);
}

long long HX_TSS::findConnection(const std::string& name)
{
    const MutexLock lock(m_mutex);
    const auto found = m_ids.find(name);
    return found == m_ids.end() ? -1 : static_cast<long long>(found->second);
}

long long HX_TSS::makeConnection(const std::string& name, int handle, RETURN_CODE_TYPE::Value& return_code)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    String topicType;
    String pubSubType;
    HX_Config_Helpers::Get_String_Parameter(*m_configuration, handle, "TopicType", topicType, code);
    HX_Config_Helpers::Get_String_Parameter(*m_configuration, handle, "PubSubType", pubSubType, code);
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    if (code != RETURN_CODE_TYPE::NO_ERROR) return -1;

    Connection_t connection(name, textOf(topicType), nullptr);
    connection.pubSubType.reset(m_typeSource(textOf(pubSubType)));  // owned at once, whatever memory runs out
    TopicDataType* const type = connection.pubSubType.get();
    const bool isFirstOfType = type && !isTopicRegistered(type->getName());
    if (!type || !okRegisterTopic(type)) {
        printLine(std::cerr, "!!!!! Could NOT register topic ", static_cast<const void*>(type), " with participant ",
                  m_participantName);
        return_code = RETURN_CODE_TYPE::NO_ACTION;
        return -1;
    }
    try {
        const MutexLock lock(m_mutex);
        const auto id = static_cast<std::uint32_t>(m_connections.size());
        m_ids.emplace(name, id);
        m_connections.emplace(id, std::move(connection));
        return_code = RETURN_CODE_TYPE::NO_ERROR;
        return id;
    } catch (...) {
        {
            const MutexLock lock(m_mutex);
            m_ids.erase(name);
        }
        if (isFirstOfType) Domain::unregisterType(m_participant, type->getName());  // it goes with the connection
        throw;
    }
}

bool HX_TSS::okRegisterTopic(TopicDataType* type)
{
    return isTopicRegistered(type->getName()) || Domain::registerType(m_participant, type);
}

bool HX_TSS::isTopicRegistered(const char* typeName)
{
    TopicDataType* registered = nullptr;
    return Domain::getRegisteredType(m_participant, typeName, &registered);
}

void HX_TSS::Destroy_Connection(long long, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = m_initialized ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::NOT_AVAILABLE;
}

void HX_TSS::Unregister_Sender(long long connection_id, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (!m_initialized) return;
    try {
        Connection_t& connection = connectionMap_mutex_at(keyOf(connection_id));
        if (connection.isPublisher()) removePublisher(connection);
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    } catch (const std::out_of_range&) {
        return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    } catch (...) {
        return_code = RETURN_CODE_TYPE::NO_ACTION;
    }
}

void HX_TSS::removePublisher(Connection_t& connection)
{
    Publisher* const publisher = connection.publisher;
    {
        const MutexLock lock(m_mutex);
        connection.publisher = nullptr;
        while (connection.writes > 0) m_written.wait(m_mutex);
    }
    try {
        Domain::removePublisher(publisher);
    } catch (...) {
        const MutexLock lock(m_mutex);
        connection.publisher = publisher;
        throw;
    }
    const MutexLock lock(m_mutex);
    connection.clearPublisher();
}

void HX_TSS::Unregister_Callback(long long connection_id, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (!m_initialized) return;
    try {
        Connection_t& connection = connectionMap_mutex_at(keyOf(connection_id));
        if (connection.isSubscriber()) {
            Domain::removeSubscriber(connection.subscriber);
            connection.clearSubscriber();
        }
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    } catch (const std::out_of_range&) {
        return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    } catch (...) {
        return_code = RETURN_CODE_TYPE::NO_ACTION;
    }
}

HX_TSS::Connection_t& HX_TSS::connectionMap_mutex_at(std::uint32_t id)
{
    const MutexLock lock(m_mutex);
    return m_connections.at(id);
}

std::uint32_t HX_TSS::keyOf(long long connection_id)
{
    constexpr auto kNone = std::numeric_limits<std::uint32_t>::max();
    return connection_id < 0 || connection_id > kNone ? kNone : static_cast<std::uint32_t>(connection_id);
}

void HX_TSS::requireType(const Connection_t& connection, TypeTest isType, const char* endpoint) const
{
    if (!isType(*connection.pubSubType)) refuseEndpoint(endpoint, connection);
}

void HX_TSS::requireTypeName(const Connection_t& connection, const char* endpoint) const
{
    const auto registeredAs = std::string_view(connection.topicType).substr(0, kLongestName);
    if (registeredAs != connection.pubSubType->getName()) refuseEndpoint(endpoint, connection);
}

void HX_TSS::registerPublisher(Connection_t& connection)
{
    auto listener = std::make_unique<Listeners::PublisherListenerBase>(m_participantName);
    const PublisherAttributes attributes = publisherAttributes(m_settings, connection.name, connection.topicType);
    if (!attributes.topic.checkQos() || !attributes.qos.checkQos()) refuseQos("publisher", connection);
    requireTypeName(connection, "publisher");
    Publisher* const publisher = Domain::createPublisher(m_participant, attributes, listener.get());
    if (!publisher) refuseEndpoint("publisher", connection);
    const MutexLock lock(m_mutex);
    connection.setPublisher(std::move(listener), publisher);
}

void HX_TSS::registerSubscriber(Connection_t& connection, std::unique_ptr<Listeners::SubscriberListenerBase> listener)
{
    const SubscriberAttributes attributes = subscriberAttributes(m_settings, connection.name, connection.topicType);
    if (!attributes.topic.checkQos() || !attributes.qos.checkQos()) refuseQos("subscriber", connection);
    requireTypeName(connection, "subscriber");
    listener->setQos(attributes.qos);
    Subscriber* const subscriber = Domain::createSubscriber(m_participant, attributes, listener.get());
    if (!subscriber) refuseEndpoint("subscriber", connection);
    connection.setSubscriber(std::move(listener), subscriber);
}

RETURN_CODE_TYPE::Value HX_TSS::write(std::uint32_t id, const void* message, TypeTest isType)
{
    const WriteInProgress write(*this, id, isType);
    if (!write.publisher()) return RETURN_CODE_TYPE::NOT_AVAILABLE;
    const bool isTaken = write.publisher()->write(const_cast<void*>(message));  // which only reads it
    return isTaken ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::DATA_OVERFLOW;
}

void HX_TSS::refuseQos(const char* endpoint, const Connection_t& connection) const
{
    throw std::runtime_error("Participant " + m_participantName + " invalid " + endpoint +
                             " QOS for topic: " + connection.name + "; see error log");
}

void HX_TSS::refuseEndpoint(const char* endpoint, const Connection_t& connection) const
{
    throw std::runtime_error("Participant " + m_participantName + " error creating " + endpoint +
                             " for topic: " + connection.name);
}

}  // namespace FACE::TSS
