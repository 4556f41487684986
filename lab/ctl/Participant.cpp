#include "lab/ctl/Participant.h"

#include <fastdds/dds/log/Log.hpp>

#include <iostream>
#include <sstream>
#include <stdexcept>

namespace orvanectl {

using FACE::RETURN_CODE_TYPE;
using FACE::TSS::HX_TSS;

namespace {

/// Keeps from a stream what is written in a scope. Only while no other thread writes to it.
class Withheld {
public:
    explicit Withheld(std::ostream& stream) : m_stream(stream), m_buffer(stream.rdbuf(m_text.rdbuf())) {}
    ~Withheld() { m_stream.rdbuf(m_buffer); }
    Withheld(const Withheld&) = delete;
    Withheld& operator=(const Withheld&) = delete;

private:
    std::ostringstream m_text;
    std::ostream& m_stream;
    std::streambuf* m_buffer;
};

}  // namespace

std::shared_ptr<HX_TSS> makeParticipant(const ConnectionFile& file, const std::vector<WatchedTopic>& topics,
                                        Delivery delivery)
{
    // It would log on the standard output, among the records.
    eprosima::fastdds::dds::Log::ClearConsumers();
    auto transport = std::make_shared<HX_TSS>(kParticipant);
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    transport->Set_Reference("", std::make_shared<WatchConfiguration>(file, topics, delivery), 0, code);
    {
        const Withheld errors(std::cerr);
        transport->Initialize(file.path().c_str(), code);
    }
    if (code != RETURN_CODE_TYPE::NO_ERROR)
        throw std::runtime_error(file.path() + ": no DDS participant can be made: domain " +
                                 printable(file.domain().at("DomainId")) + ", transport " +
                                 printable(file.domain().at("UseTransport")));
    return transport;
}

long long connect(HX_TSS& transport, const std::string& file, const std::string& topic)
{
    long long connection = -1;
    int size = 0;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    transport.Create_Connection(topic.c_str(), -1, connection, size, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR)
        throw std::runtime_error(file + ": no connection for topic " + printable(topic));
    return connection;
}

}  // namespace orvanectl
