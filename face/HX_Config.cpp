#include "face/HX_Config.h"

#include <tinyxml2.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;
using tinyxml2::XMLNode;
using tinyxml2::XMLText;

namespace FACE {

namespace {

constexpr const char* kRoot = "HX_Configurations";

[[noreturn]] void refuse(const char* what)
{
    throw std::logic_error(std::string("HX_Config: ") + what + " is null");
}

/// The text of a string that must be valid, which holds it, with a terminator behind it.
std::string_view required(const String& text, const char* what)
{
    if (const char* characters = text.buffer()) return {characters, text.length()};
    refuse(what);
}

/// Loads only regular files: all others can't be loaded anyway, and a named pipe would block.
std::unique_ptr<XMLDocument> loaded(const std::string& path)
{
    try {
        std::error_code error;
        if (!std::filesystem::is_regular_file(path, error)) return nullptr;
        auto document = std::make_unique<XMLDocument>(true, tinyxml2::PRESERVE_WHITESPACE);
        return document->LoadFile(path.c_str()) == tinyxml2::XML_SUCCESS ? std::move(document) : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;  // a file that does not fit into memory is a bad file like others
    }
}

/// The name of a container, in the document; empty if it has none.
std::string_view nameOf(const XMLElement& container)
{
    const XMLElement* name = container.FirstChildElement("Name");
    const char* text = name ? name->GetText() : nullptr;
    return text ? text : std::string_view();
}

int sizeOf(const char* text)
{
    return static_cast<int>(std::min<std::size_t>(std::strlen(text), std::numeric_limits<int>::max()));
}

/// The node that `GetText` reads: the first that is no comment. `SetText` would put the new text before the comments
/// and leave the old one behind them.
XMLText* textNodeOf(XMLElement& parameter)
{
    XMLNode* node = parameter.FirstChild();
    while (node && node->ToComment()) node = node->NextSibling();
    return node ? node->ToText() : nullptr;
}

void setText(XMLText& node, const std::string& value)
{
    // The end mark of a character section can't stand in one: as plain text it is escaped.
    if (value.find("]]>") != std::string::npos) node.SetCData(false);
    node.SetValue(value.c_str());
}

}  // namespace

HX_Config::HX_Config() = default;

HX_Config::~HX_Config() = default;

void HX_Config::Initialize(const String& configuration_path, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NO_ERROR;
    if (m_initialized) return;  // without waiting for a save
    const MutexLock lock(m_mutex);
    if (m_initialized) return;

    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    std::string path(required(configuration_path, "path"));
    m_document = loaded(path);
    if (!m_document) return;
    XMLElement* root = m_document->FirstChildElement(kRoot);
    if (!root) {
        std::cout << "Configuration XML - " + path + " Error: Unable to locate the HX_Configurations object\n"
                  << std::flush;
        return;
    }
    try {
        indexContainers(*root);
        const char* location = root->Attribute("xsi:noNamespaceSchemaLocation");
        m_schema = location ? location : "";
    } catch (const std::bad_alloc&) {
        return;  // as for a file that does not fit into memory
    }
    m_path = std::move(path);
    m_initialized = true;
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void HX_Config::Open(const String& container_name, int& handle, RETURN_CODE_TYPE::Value& return_code)
{
    static std::atomic<int> s_HandleCount = 0;  // of all instances, so that no handle fits another one's set

    return_code = RETURN_CODE_TYPE::INVALID_MODE;
    if (!m_initialized) return;
    return_code = RETURN_CODE_TYPE::NO_ERROR;
    const std::string_view key = required(container_name, "name");

    const auto sameName = [&](const auto& entry) { return entry.second.name == key; };
    if (const auto open = std::ranges::find_if(m_sets, sameName); open != m_sets.end()) {
        handle = open->first;
        return;
    }
    const Container container = findContainer(key, Direction::Forward);
    if (!container.element) {
        return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
        return;
    }
    const std::string_view type = container.element->Value();
    const auto sameType = [&](const auto& entry) { return entry.second.type == type; };
    if (const auto open = std::ranges::find_if(m_sets, sameType); open != m_sets.end()) {
        select(open->second, container);
        handle = open->first;
        return;
    }
    const int next = s_HandleCount++;
    config_set& set = m_sets[next];
    set.type = type;
    select(set, container);
    handle = next;
}

void HX_Config::Get_Size(int handle, const String& set_name, int& size, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    config_set* set = setOf(handle);
    if (!set) return;
    const char* text = textOfParameter(*set, required(set_name, "name"));
    if (!text) return;
    size = sizeOf(text);
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void HX_Config::Read(int handle, const String& set_name, void* buffer, int buffer_size, int& bytes_read,
                     RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    bytes_read = 0;
    config_set* set = setOf(handle);
    if (!set) return;
    const char* text = textOfParameter(*set, required(set_name, "name"));
    return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    if (!text || (!buffer && buffer_size > 0)) return;
    if (buffer_size > 0) {
        bytes_read = std::min(sizeOf(text), buffer_size);
        std::memset(buffer, 0, static_cast<std::size_t>(buffer_size));
        std::memcpy(buffer, text, static_cast<std::size_t>(bytes_read));
    }
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void HX_Config::Write(int handle, const String& set_name, void* buffer, int size, int& bytes_written,
                      RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    bytes_written = 0;
    config_set* set = setOf(handle);
    if (!set) return;
    if (size < 0) throw std::length_error("HX_Config: negative size");
    if (!buffer && size > 0) throw std::logic_error("HX_Config: buffer is null");
    const std::string value =
        size > 0 ? std::string(static_cast<const char*>(buffer), static_cast<std::size_t>(size)) : std::string();
    const std::string_view name = required(set_name, "name");

    return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    if (name.empty()) return;  // the name of a container is read only
    XMLElement* parameter = parameterOf(*set, name);
    XMLText* text = parameter ? textNodeOf(*parameter) : nullptr;
    if (!text) return;
    setText(*text, value);

    const MutexLock lock(m_mutex);
    return_code = RETURN_CODE_TYPE::NO_ACTION;
    if (!save()) return;
    bytes_written = size;
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void HX_Config::Seek(int handle, WHENCE_TYPE::Value whence, int offset, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    config_set* set = setOf(handle);
    if (!set) return;

    XMLElement* container = nullptr;
    Direction direction = offset < 0 ? Direction::Backward : Direction::Forward;
    switch (whence) {
    case WHENCE_TYPE::WHENCE_BEGIN:
        container = findContainer(set->type, Direction::Forward).element;
        break;
    case WHENCE_TYPE::WHENCE_CURRENT:
        container = set->element;
        break;
    case WHENCE_TYPE::WHENCE_END:
        container = findContainer(set->type, Direction::Backward).element;
        direction = offset < 0 ? Direction::Forward : Direction::Backward;
        break;
    default:  // a number that is no value of the enumeration
        return;
    }

    std::int64_t steps = offset;  // the lowest offset has no magnitude of its own width
    if (steps < 0) steps = -steps;
    for (; container && steps > 0; --steps)
        container = direction == Direction::Forward ? container->NextSiblingElement(set->type.data())
                                                    : container->PreviousSiblingElement(set->type.data());
    if (!container) {
        return_code = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    select(*set, {container, nameOf(*container)});
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void HX_Config::Close(int handle, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = m_sets.erase(handle) > 0 ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_CONFIG;
}

std::string HX_Config::schema() const
{
    const MutexLock lock(m_mutex);
    return m_schema;
}

void HX_Config::select(config_set& set, const Container& container)
{
    set.element = container.element;
    set.name = container.name;
    set.parameters = container.element->FirstChildElement("Parameters");
    set.parameter = nullptr;
}

/// The element of a parameter, or of the container's name if that of the parameter is empty.
XMLElement* HX_Config::parameterOf(config_set& set, std::string_view name)
{
    if (name.empty()) return set.element->FirstChildElement("Name");
    if (!set.parameter || name != set.parameter->Value())
        set.parameter = set.parameters ? set.parameters->FirstChildElement(name.data()) : nullptr;
    return set.parameter;
}

const char* HX_Config::textOfParameter(config_set& set, std::string_view name)
{
    const XMLElement* parameter = parameterOf(set, name);
    return parameter ? parameter->GetText() : nullptr;
}

HX_Config::config_set* HX_Config::setOf(int handle)
{
    const auto found = m_sets.find(handle);
    return found == m_sets.end() ? nullptr : &found->second;
}

/// Names and element names never change: only parameters can be written.
void HX_Config::indexContainers(XMLElement& root)
{
    m_containers.clear();
    const auto enter = [this](std::string_view key, const Container& container) {
        const auto [found, isFirst] = m_containers.try_emplace(key, Matches{container, container});
        if (!isFirst) found->second.last = container;
        return &*found;
    };
    decltype(m_containers)::pointer type = nullptr;  // of the container before, and mostly of the next as well
    for (XMLElement* element = root.FirstChildElement(); element; element = element->NextSiblingElement()) {
        const Container container{element, nameOf(*element)};
        if (container.name.empty()) continue;
        enter(container.name, container);
        if (type && type->first == element->Value())
            type->second.last = container;
        else
            type = enter(element->Value(), container);
    }
}

/// The first container in a direction whose name or element name is the key.
HX_Config::Container HX_Config::findContainer(std::string_view key, Direction direction) const
{
    const auto found = m_containers.find(key);
    if (found == m_containers.end()) return {};
    return direction == Direction::Forward ? found->second.first : found->second.last;
}

/// Rewrites the file in place. The document is printed without a look at what the stream answers, so the stream is
/// asked for its errors here.
bool HX_Config::save()
{
    const int descriptor = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_SYNC | O_CLOEXEC, 0644);
    if (descriptor < 0) return false;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(::fdopen(descriptor, "w"), &std::fclose);
    if (!stream) {
        ::close(descriptor);
        return false;
    }
    const bool printed = m_document->SaveFile(stream.get(), false) == tinyxml2::XML_SUCCESS;
    const bool flushed = std::fflush(stream.get()) == 0 && !std::ferror(stream.get());
    return std::fclose(stream.release()) == 0 && printed && flushed;
}

}  // namespace FACE
