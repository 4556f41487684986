#include "lab/ctl/ConnectionFile.h"

#include "face/FACE_Text.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/text/NearestWord.h"

#include <tinyxml2.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

namespace orvanectl {

using FACE::RETURN_CODE_TYPE;

namespace {

constexpr const char* kDomain = "FastRtps";
constexpr const char* kDomainKeys[] = {"DomainId",     "HistoryDepth", "UseBestEffort", "BackFillHistory",
                                       "UseTransport", "TcpAddress",   "TcpPort"};

[[noreturn]] void refuse(const std::string& path, const std::string& what)
{
    throw std::runtime_error(path + ": " + what);
}

std::string textOfElement(const tinyxml2::XMLElement* element)
{
    const char* const text = element ? element->GetText() : nullptr;
    return text ? text : "";
}

std::map<std::string, std::string> parametersOf(const tinyxml2::XMLElement& container)
{
    std::map<std::string, std::string> parameters;
    const tinyxml2::XMLElement* const list = container.FirstChildElement("Parameters");
    for (const auto* one = list ? list->FirstChildElement() : nullptr; one; one = one->NextSiblingElement())
        parameters.try_emplace(one->Value(), textOfElement(one));
    std::erase_if(parameters, [](const auto& parameter) { return parameter.second.empty(); });
    return parameters;
}

/// The first container with a name whose name or element name is the key; null if there is none.
const tinyxml2::XMLElement* findContainer(const tinyxml2::XMLElement& root, const std::string& key)
{
    const tinyxml2::XMLElement* container = root.FirstChildElement();
    for (; container; container = container->NextSiblingElement()) {
        const std::string name = textOfElement(container->FirstChildElement("Name"));
        if (!name.empty() && (name == key || key == container->Value())) break;
    }
    return container;
}

void load(const std::string& path, tinyxml2::XMLDocument& document)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error) refuse(path, error.message());
    if (!std::filesystem::is_regular_file(status)) refuse(path, "not a file");
    const tinyxml2::XMLError result = document.LoadFile(path.c_str());
    if (result == tinyxml2::XML_SUCCESS) return;
    if (result == tinyxml2::XML_ERROR_FILE_COULD_NOT_BE_OPENED) refuse(path, "can't be opened");
    refuse(path, "no XML" + (document.ErrorLineNum() > 0 ? ", line " + std::to_string(document.ErrorLineNum()) : ""));
}

std::string quoted(const std::string& name)
{
    return '"' + printable(name) + '"';
}

/// The nearest of the topics, or all.
std::string meantIn(const std::vector<ConnectionFile::Topic>& topics, const std::string& name)
{
    std::vector<std::string> names;
    names.reserve(topics.size());
    for (const ConnectionFile::Topic& topic : topics) names.push_back(topic.name);
    const std::string nearest = labtext::nearestWord(name, names);
    if (!nearest.empty()) return "; did you mean " + printable(nearest) + '?';
    std::string all;
    for (const std::string& one : names) all += (all.empty() ? "" : ", ") + printable(one);
    return ", which has: " + (all.empty() ? "none" : all);
}

const RecordType* typeOfTopic(const ConnectionFile& file, const std::string& name)
{
    const auto topic = std::ranges::find(file.topics(), name, &ConnectionFile::Topic::name);
    if (topic == file.topics().end())
        throw UnknownName("no topic " + quoted(name) + " in " + file.path() + meantIn(file.topics(), name));
    const auto types = recordTypes();
    const auto type = std::ranges::find(types, topic->pubSubType, &RecordType::pubSubType);
    if (type == types.end())
        refuse(file.path(), "topic " + quoted(name) + ": no type " + quoted(topic->pubSubType) +
                                "; there are: " + namesOfRecordTypes());
    if (topic->topicType != type->typeName())
        refuse(file.path(), "topic " + quoted(name) + ": TopicType " + quoted(topic->topicType) + " is not that of " +
                                topic->pubSubType);
    return &*type;
}

}  // namespace

ConnectionFile::ConnectionFile(const std::string& path) : m_path(path)
{
    tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    load(path, document);
    const tinyxml2::XMLElement* const root = document.FirstChildElement("HX_Configurations");
    if (!root) refuse(path, "no document element HX_Configurations");

    const tinyxml2::XMLElement* const domain = findContainer(*root, kDomain);
    if (!domain) refuse(path, std::string("no container ") + kDomain);
    m_domain = parametersOf(*domain);
    for (const char* key : kDomainKeys)
        if (!m_domain.contains(key)) refuse(path, std::string(kDomain) + ": no " + key);

    for (const auto* container = root->FirstChildElement(); container; container = container->NextSiblingElement()) {
        const std::string name = textOfElement(container->FirstChildElement("Name"));
        if (container == domain || container != findContainer(*root, name)) continue;
        const auto parameters = parametersOf(*container);
        const auto topicType = parameters.find("TopicType"), pubSubType = parameters.find("PubSubType");
        if (topicType != parameters.end() && pubSubType != parameters.end())
            m_topics.push_back({name, topicType->second, pubSubType->second});
    }
}

std::vector<WatchedTopic> chooseTopics(const ConnectionFile& file, const std::vector<std::string>& names,
                                       const std::string& type)
{
    const RecordType* const given = type.empty() ? nullptr : findRecordType(type);
    if (!type.empty() && !given) throw UnknownName(unknownTypeName(type));

    std::vector<std::string> wanted = names;
    if (wanted.empty())
        for (const ConnectionFile::Topic& topic : file.topics()) wanted.push_back(topic.name);
    if (wanted.empty()) refuse(file.path(), "no topic");
    std::vector<WatchedTopic> topics;
    for (const std::string& name : wanted)
        if (std::ranges::find(topics, name, &WatchedTopic::name) == topics.end())
            topics.push_back({name, given ? given : typeOfTopic(file, name)});
    return topics;
}

WatchConfiguration::WatchConfiguration(const ConnectionFile& file, const std::vector<WatchedTopic>& topics,
                                       Delivery delivery)
{
    auto domain = file.domain();
    domain["BackFillHistory"] = delivery.backfill ? "true" : "false";
    if (!delivery.backfill) domain["UseBestEffort"] = "true";
    m_containers.push_back({kDomain, std::move(domain)});
    for (const WatchedTopic& topic : topics)
        m_containers.push_back(
            {topic.name, {{"TopicType", topic.type->typeName()}, {"PubSubType", topic.type->pubSubType()}}});
}

void WatchConfiguration::Initialize(const FACE::String&, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void WatchConfiguration::Open(const FACE::String& container_name, int& handle, RETURN_CODE_TYPE::Value& return_code)
{
    const auto found = std::ranges::find(m_containers, FACE::textOf(container_name), &Container::name);
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    if (found == m_containers.end()) return;
    handle = static_cast<int>(found - m_containers.begin());
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

const std::string* WatchConfiguration::textOf(int handle, const FACE::String& key) const
{
    if (handle < 0 || static_cast<std::size_t>(handle) >= m_containers.size()) return nullptr;
    const auto& parameters = m_containers[static_cast<std::size_t>(handle)].parameters;
    const auto found = parameters.find(FACE::textOf(key));
    return found == parameters.end() ? nullptr : &found->second;
}

void WatchConfiguration::Get_Size(int handle, const FACE::String& set_name, int& size,
                                  RETURN_CODE_TYPE::Value& return_code)
{
    const std::string* const text = textOf(handle, set_name);
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    if (!text) return;
    size = static_cast<int>(std::min<std::size_t>(text->size(), std::numeric_limits<int>::max()));
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void WatchConfiguration::Read(int handle, const FACE::String& set_name, void* buffer, int buffer_size, int& bytes_read,
                              RETURN_CODE_TYPE::Value& return_code)
{
    bytes_read = 0;
    const std::string* const text = textOf(handle, set_name);
    return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    if (!text || !buffer || buffer_size < 0) return;
    const std::size_t size = std::min(text->size(), static_cast<std::size_t>(buffer_size));
    std::memset(buffer, 0, static_cast<std::size_t>(buffer_size));
    std::memcpy(buffer, text->data(), size);
    bytes_read = static_cast<int>(size);
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void WatchConfiguration::Close(int, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void WatchConfiguration::Write(int, const FACE::String&, void*, int, int& bytes_written,
                               RETURN_CODE_TYPE::Value& return_code)
{
    bytes_written = 0;
    return_code = RETURN_CODE_TYPE::NO_ACTION;
}

void WatchConfiguration::Seek(int, WHENCE_TYPE::Value, int, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NO_ACTION;
}

}  // namespace orvanectl
