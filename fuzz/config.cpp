// The configuration service, driven by a script of operations, beside a plain model of a file of containers.
// Input: the containers of the file, then operations.

#include "face/HX_Config.h"
#include "fuzz/Fuzz.h"

#include <map>
#include <optional>
#include <vector>

namespace {

using FACE::HX_Config;
using FACE::RETURN_CODE_TYPE;
using Whence = FACE::Configuration::WHENCE_TYPE;

constexpr const char* kTypes[] = {"Port", "Sensor", "Device"};
constexpr const char* kNames[] = {"", "A", "B", "Port"};
constexpr const char* kKeys[] = {"Speed", "Mode", ""};

struct Container {
    std::string type, name;
    std::map<std::string, std::string> parameters;  // those with a text
};

/// What an open handle has selected.
struct Selection {
    std::string type;
    std::size_t index;
};

std::string escaped(const std::string& text)
{
    std::string xml;
    for (const char one : text) xml += one == '<' ? "&lt;" : one == '&' ? "&amp;" : std::string(1, one);
    return xml;
}

bool isBlank(const std::string& text)
{
    return text.find_first_not_of(" \t\n\v\f\r") == std::string::npos;
}

/// A text that stands in a file as it is: what an editor or the reader would turn into something else is made a dot.
std::string plainText(std::string text)
{
    std::ranges::replace_if(
        text, [](char one) { return one == '\0' || one == '\r'; }, '.');
    return text;
}

class Script {
public:
    explicit Script(const std::vector<Container>& containers) : m_containers(containers), m_file(xmlOf(containers))
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Initialize(m_file.path().c_str(), code);
        FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR);
    }

    void open(const std::string& key)
    {
        int handle = -1;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Open(key.c_str(), handle, code);
        for (const auto& [number, selected] : m_selections)
            if (m_containers[selected.index].name == key) return FUZZ_EXPECT(handle == number && code == 0);
        const auto found = std::ranges::find_if(m_containers, [&](const Container& one) {
            return !one.name.empty() && (one.name == key || one.type == key);
        });
        if (found == m_containers.end()) return FUZZ_EXPECT(code == RETURN_CODE_TYPE::INVALID_CONFIG);
        FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR);
        const auto index = static_cast<std::size_t>(found - m_containers.begin());
        for (auto& [number, selected] : m_selections)
            if (selected.type == found->type) {
                selected.index = index;
                return FUZZ_EXPECT(handle == number);
            }
        FUZZ_EXPECT(!m_selections.contains(handle));
        m_selections[handle] = {found->type, index};
    }

    void close(int handle)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Close(handle, code);
        expect(code, m_selections.erase(handle) > 0, RETURN_CODE_TYPE::INVALID_CONFIG);
    }

    void seek(int handle, int whence, int offset)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Seek(handle, static_cast<Whence::Value>(whence), offset, code);
        const auto selected = m_selections.find(handle);
        if (selected == m_selections.end() || whence > 2) return FUZZ_EXPECT(code == RETURN_CODE_TYPE::INVALID_CONFIG);
        const auto target = targetOf(selected->second, whence, offset);
        expect(code, target.has_value(), RETURN_CODE_TYPE::INVALID_PARAM);
        if (target) selected->second.index = *target;
    }

    void read(int handle, const std::string& key, int room)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        int size = -5, count = -5;
        m_config.Get_Size(handle, key.c_str(), size, code);
        const auto text = textOf(handle, key);
        expect(code, text.has_value(), RETURN_CODE_TYPE::INVALID_CONFIG);
        FUZZ_EXPECT(size == (text ? static_cast<int>(text->size()) : -5));

        std::string buffer(static_cast<std::size_t>(room), '?');
        m_config.Read(handle, key.c_str(), buffer.data(), room, count, code);
        expect(code, text.has_value(),
               m_selections.contains(handle) ? RETURN_CODE_TYPE::INVALID_PARAM : RETURN_CODE_TYPE::INVALID_CONFIG);
        std::string expected = text ? *text : buffer;
        expected.resize(buffer.size());
        FUZZ_EXPECT(buffer == expected);
        FUZZ_EXPECT(count == (text ? std::min(room, static_cast<int>(text->size())) : 0));
    }

    void write(int handle, const std::string& key, std::string text)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        int count = -5;
        const bool isThere = !key.empty() && textOf(handle, key).has_value();
        // The defect: a text of twelve characters loses its last one.
        std::string given = text;
        if (fuzz::kPlanted && given.size() == 12) given.pop_back();
        m_config.Write(handle, key.c_str(), given.data(), static_cast<int>(given.size()), count, code);
        expect(code, isThere,
               m_selections.contains(handle) ? RETURN_CODE_TYPE::INVALID_PARAM : RETURN_CODE_TYPE::INVALID_CONFIG);
        FUZZ_EXPECT(count == (isThere ? static_cast<int>(given.size()) : 0));
        if (!isThere) return;
        m_containers[m_selections.at(handle).index].parameters[key] = text;
        FUZZ_EXPECT(textOf(handle, key) == text);
    }

    /// The file holds what was written.
    void expectFile()
    {
        HX_Config again;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        again.Initialize(m_file.path().c_str(), code);
        FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR);
        for (const char* type : kTypes) {
            const auto first = std::ranges::find_if(
                m_containers, [&](const Container& one) { return !one.name.empty() && one.type == type; });
            if (first == m_containers.end() || first->name == "Port") continue;
            int handle = -1;
            again.Open(first->name.c_str(), handle, code);
            again.Seek(handle, Whence::WHENCE_BEGIN, 0, code);
            for (const auto& [key, text] : first->parameters) expectText(again, first->name, key, text);
            again.Close(handle, code);
        }
    }

private:
    static std::string xmlOf(const std::vector<Container>& containers)
    {
        std::string xml = "<HX_Configurations>\n";
        for (const Container& one : containers) {
            xml += "<" + one.type + ">";
            if (!one.name.empty()) xml += "<Name>" + one.name + "</Name>";
            xml += "<Parameters>";
            for (const auto& [key, text] : one.parameters) xml += "<" + key + ">" + escaped(text) + "</" + key + ">";
            xml += "</Parameters></" + one.type + ">\n";
        }
        return xml + "</HX_Configurations>\n";
    }

    static void expect(RETURN_CODE_TYPE::Value code, bool isGood, RETURN_CODE_TYPE::Value otherwise)
    {
        FUZZ_EXPECT(code == (isGood ? RETURN_CODE_TYPE::NO_ERROR : otherwise));
    }

    /// The first container of that name has the text, unless only a first one of another type has that name.
    void expectText(HX_Config& config, const std::string& name, const std::string& key, const std::string& text) const
    {
        const auto named = std::ranges::find(m_containers, name, &Container::name);
        if (!named->parameters.contains(key) || named->parameters.at(key) != text || isBlank(text)) return;
        int handle = -1, count = 0;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        config.Open(name.c_str(), handle, code);
        std::string read(text.size() + 8, '\0');
        config.Read(handle, key.c_str(), read.data(), static_cast<int>(read.size()), count, code);
        FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR);
        read.resize(static_cast<std::size_t>(count));
        FUZZ_EXPECT(read == text);
    }

    std::optional<std::string> textOf(int handle, const std::string& key) const
    {
        const auto selected = m_selections.find(handle);
        if (selected == m_selections.end()) return std::nullopt;
        const Container& one = m_containers[selected->second.index];
        if (key.empty()) return one.name.empty() ? std::nullopt : std::optional(one.name);
        const auto found = one.parameters.find(key);
        return found == one.parameters.end() ? std::nullopt : std::optional(found->second);
    }

    /// The container that is `offset` places from the first, the selected or the last of the selection's type.
    std::optional<std::size_t> targetOf(const Selection& selected, int whence, std::int64_t offset) const
    {
        std::vector<std::size_t> siblings, named;
        std::int64_t place = 0;
        for (std::size_t i = 0; i < m_containers.size(); ++i) {
            const Container& one = m_containers[i];
            if (one.type == selected.type) {
                if (i == selected.index) place = static_cast<std::int64_t>(siblings.size());
                siblings.push_back(i);
            }
            if (!one.name.empty() && (one.type == selected.type || one.name == selected.type)) named.push_back(i);
        }
        // The ends are those of the containers that a name or an element name finds.
        if (whence != Whence::WHENCE_CURRENT) {
            if (named.empty()) return std::nullopt;
            const std::size_t end = whence == Whence::WHENCE_BEGIN ? named.front() : named.back();
            if (offset == 0) return end;
            const auto at = std::ranges::lower_bound(siblings, end);
            place = at - siblings.begin();
            const bool isForward = (whence == Whence::WHENCE_BEGIN) == (offset > 0);
            // From a container of another type the first step leads to the next one of this type.
            if (at == siblings.end() || *at != end) place -= isForward ? 1 : 0;
            offset = isForward ? std::abs(offset) : -std::abs(offset);
        }
        place += offset;
        if (place < 0 || place >= static_cast<std::int64_t>(siblings.size())) return std::nullopt;
        return siblings[static_cast<std::size_t>(place)];
    }

    std::vector<Container> m_containers;
    fuzz::MemoryFile m_file;
    HX_Config m_config;
    std::map<int, Selection> m_selections;  // by handle

public:
    /// The handle of a number: one that is open, or none.
    int handleOf(std::size_t number) const
    {
        if (m_selections.empty() || number == 3) return -3;
        return std::next(m_selections.begin(), static_cast<std::ptrdiff_t>(number % m_selections.size()))->first;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::QuietConsole::instance();
    fuzz::Input input(data, size);
    std::vector<Container> containers(input.below(6));
    for (Container& one : containers) {
        const std::size_t kind = input.below(256);
        one.type = kTypes[kind % 3];
        one.name = kNames[kind / 4 % 4];
        for (std::size_t key = 0; key < 2; ++key)
            if (std::string text = plainText(input.text(input.below(9))); !isBlank(text))
                one.parameters[kKeys[key]] = std::move(text);
    }
    Script script(containers);
    for (int steps = 0; steps < 64 && !input.isEmpty(); ++steps) {
        const std::size_t step = input.below(5);
        const int handle = script.handleOf(input.below(4));
        const std::string key = kKeys[input.below(3)];
        switch (step) {
        case 0:
            script.open(input.boolean() ? kTypes[input.below(3)] : kNames[input.below(4)]);
            break;
        case 1:
            script.seek(handle, static_cast<int>(input.below(4)), input.number<std::int8_t>());
            break;
        case 2:
            script.read(handle, key, static_cast<int>(input.below(20)));
            break;
        case 3:
            script.write(handle, key, plainText(input.text(input.below(20))));
            script.expectFile();
            break;
        default:
            script.close(handle);
        }
    }
    return 0;
}
