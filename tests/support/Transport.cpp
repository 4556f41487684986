#include "tests/support/Transport.h"

#include "face/HX_TSS_Listeners.h"

#include <stdexcept>
#include <unistd.h>

using FACE::RETURN_CODE_TYPE;

std::uint32_t ownDomain()
{
    return 1 + static_cast<std::uint32_t>(getpid()) % 200;
}

TransportConfig::TransportConfig()
    : m_keys{{"DomainId", std::to_string(ownDomain())},
             {"HistoryDepth", "10"},
             {"UseBestEffort", "false"},
             {"BackFillHistory", "false"},
             {"UseTransport", "SHM"},
             {"TcpAddress", "127.0.0.1"},
             {"TcpPort", "7100"}}
{}

TransportConfig& TransportConfig::set(const std::string& key, const std::string& text)
{
    m_keys.at(key) = text;
    return *this;
}

TransportConfig& TransportConfig::remove(const std::string& key)
{
    if (m_keys.erase(key) != 1) throw std::logic_error("no key " + key);
    return *this;
}

TransportConfig& TransportConfig::connect(const std::string& name, const std::string& type)
{
    return connect(name, "aspn2_msgs::idl::" + type, type + "PubSubType");
}

TransportConfig& TransportConfig::connect(const std::string& name, const std::string& topicType,
                                          const std::string& pubSubType)
{
    const auto element = [](const std::string& key, const std::string& text) {
        return text.empty() ? "" : "<" + key + ">" + text + "</" + key + ">";
    };
    m_connections += "  <Connection>" + element("Name", name) + "<Parameters>" + element("TopicType", topicType) +
                     element("PubSubType", pubSubType) + "</Parameters></Connection>\n";
    return *this;
}

std::string TransportConfig::text() const
{
    std::string text = "<HX_Configurations>\n  <Domain><Name>FastRtps</Name><Parameters>\n";
    for (const auto& [key, value] : m_keys) text += "    <" + key + ">" + value + "</" + key + ">\n";
    return text + "  </Parameters></Domain>\n" + m_connections + "</HX_Configurations>\n";
}

Transport::Transport(const TransportConfig& config, const std::string& participant,
                     FACE::TSS::HX_TSS::TypeSource typeSource)
    : m_tss(std::make_shared<FACE::TSS::HX_TSS>(participant, typeSource))
{
    initialize(m_directory.write("connections.xml", config.text()));
}

Transport::Transport(const std::string& path, const std::string& participant)
    : m_tss(std::make_shared<FACE::TSS::HX_TSS>(participant))
{
    initialize(path);
}

void Transport::initialize(const std::string& path)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
    m_tss->Set_Reference("", m_config, 0, code);
    m_tss->Initialize(path.c_str(), code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no transport: " + std::to_string(code));
}

long long Transport::connect(const std::string& name) const
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
    long long id = -1;
    int size = -1;
    m_tss->Create_Connection(name.c_str(), -1, id, size, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR)
        throw std::runtime_error("no connection " + name + ": " + std::to_string(code));
    return id;
}

bool Transport::waitForSubscribers(long long id, int count) const
{
    const auto& connection = m_tss->connectionMap_mutex_at(FACE::TSS::HX_TSS::keyOf(id));
    return eventually([&] { return connection.publisherListener->matched() == count; });
}

bool Transport::waitForPublishers(long long id, int count) const
{
    const auto& connection = m_tss->connectionMap_mutex_at(FACE::TSS::HX_TSS::keyOf(id));
    return eventually([&] { return connection.subscriberListener->matched() == count; });
}
