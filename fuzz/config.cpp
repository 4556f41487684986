// The configuration service, driven by a script of operations, beside a plain model of a file of containers.
// Input: the containers of the file, then operations.

#include "face/HX_Config.h"
#include "fuzz/Fuzz.h"
#include "fuzz/model/ConfigModel.h"

#include <optional>
#include <vector>

namespace {

using FACE::HX_Config;
using FACE::RETURN_CODE_TYPE;
using Whence = FACE::Configuration::WHENCE_TYPE;

constexpr const char* kTypes[] = {"Port", "Sensor", "Device"};
constexpr const char* kNames[] = {"", "A", "B", "Port"};
constexpr const char* kKeys[] = {"Speed", "Mode", ""};

using Container = ConfigModel::Container;
using Result = ConfigModel::Result;

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

std::string xmlOf(const std::vector<Container>& containers)
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

/// A file that a service and a model of it have open.
class Script {
public:
    Script(const std::string& path, const std::vector<Container>& containers) : m_model(containers)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Initialize(path.c_str(), code);
        FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR);
    }

    const ConfigModel& model() const { return m_model; }

    int open(const std::string& key)
    {
        int handle = -1;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Open(key.c_str(), handle, code);
        FUZZ_EXPECT(m_model.open(key, resultOf(code), handle));
        return handle;
    }

    void close(int handle)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Close(handle, code);
        FUZZ_EXPECT(resultOf(code) == m_model.close(handle));
    }

    /// @param whence  0 to 2; others are none
    Result seek(int handle, int whence, int offset)
    {
        constexpr ConfigModel::From kFrom[] = {ConfigModel::From::Begin, ConfigModel::From::Current,
                                               ConfigModel::From::End};
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        m_config.Seek(handle, static_cast<Whence::Value>(whence), offset, code);
        const auto result = m_model.seek(handle, whence < 3 ? std::optional(kFrom[whence]) : std::nullopt, offset);
        FUZZ_EXPECT(resultOf(code) == result);
        return result;
    }

    void read(int handle, const std::string& key, int room)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        int size = -5, count = -5;
        m_config.Get_Size(handle, key.c_str(), size, code);
        const auto text = m_model.text(handle, key);
        FUZZ_EXPECT(resultOf(code) == (text ? Result::Good : Result::NoConfig));
        FUZZ_EXPECT(size == (text ? static_cast<int>(text->size()) : -5));

        std::string buffer(static_cast<std::size_t>(room), '?');
        m_config.Read(handle, key.c_str(), buffer.data(), room, count, code);
        FUZZ_EXPECT(resultOf(code) == (text ? Result::Good : m_model.missing(handle)));
        std::string expected = text ? *text : buffer;
        expected.resize(buffer.size());
        FUZZ_EXPECT(buffer == expected);
        FUZZ_EXPECT(count == (text ? std::min(room, static_cast<int>(text->size())) : 0));
    }

    void write(int handle, const std::string& key, const std::string& text)
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        int count = -5;
        // The defect: a text of twelve characters loses its last one.
        std::string given = text;
        if (fuzz::kPlanted && given.size() == 12) given.pop_back();
        m_config.Write(handle, key.c_str(), given.data(), static_cast<int>(given.size()), count, code);
        const auto result = m_model.write(handle, key, text);
        FUZZ_EXPECT(resultOf(code) == result);
        FUZZ_EXPECT(count == (result == Result::Good ? static_cast<int>(given.size()) : 0));
    }

private:
    static Result resultOf(RETURN_CODE_TYPE::Value code)
    {
        FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR || code == RETURN_CODE_TYPE::INVALID_CONFIG ||
                    code == RETURN_CODE_TYPE::INVALID_PARAM);
        if (code == RETURN_CODE_TYPE::NO_ERROR) return Result::Good;
        return code == RETURN_CODE_TYPE::INVALID_CONFIG ? Result::NoConfig : Result::NoParameter;
    }

    ConfigModel m_model;
    HX_Config m_config;
};

/// The file holds what was written: whoever opens it anew reads that, of each container that can be walked to.
void expectFile(const std::string& path, std::vector<Container> containers)
{
    // A file doesn't tell a text of blanks from none.
    for (Container& one : containers)
        std::erase_if(one.parameters, [](const auto& entry) { return isBlank(entry.second); });
    Script again(path, containers);
    for (const char* type : kTypes) {
        const int handle = again.open(type);
        for (auto result = again.seek(handle, 0, 0); result == Result::Good; result = again.seek(handle, 1, 1))
            for (const char* key : kKeys) again.read(handle, key, 24);
    }
}

/// A handle that is open, or none.
int handleOf(const ConfigModel& model, std::size_t number)
{
    const auto handles = model.handles();
    return handles.empty() || number == 3 ? -3 : handles[number % handles.size()];
}

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
    const fuzz::MemoryFile file(xmlOf(containers));
    Script script(file.path(), containers);
    for (int steps = 0; steps < 64 && !input.isEmpty(); ++steps) {
        const std::size_t step = input.below(5);
        const int handle = handleOf(script.model(), input.below(4));
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
            expectFile(file.path(), script.model().containers());
            break;
        default:
            script.close(handle);
        }
    }
    return 0;
}
