// The connection file of the tools: it is refused with a line, or all that the transport would ask of it is there, as
// the transport's own configuration service finds it.
// Input: the file.

#include "face/HX_Config.h"
#include "fuzz/Fuzz.h"
#include "lab/ctl/ConnectionFile.h"

#include <optional>

namespace {

using FACE::RETURN_CODE_TYPE;
using orvanectl::ConnectionFile;

/// The text of a parameter; empty if there is none.
std::string textOf(FACE::Configuration& config, const std::string& container, const std::string& key)
{
    int handle = -1, size = 0, count = 0;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    config.Open(container.c_str(), handle, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) return {};
    config.Get_Size(handle, key.c_str(), size, code);
    std::string text(static_cast<std::size_t>(size), '\0');
    if (code == RETURN_CODE_TYPE::NO_ERROR) config.Read(handle, key.c_str(), text.data(), size, count, code);
    config.Close(handle, code);
    return text;
}

std::optional<ConnectionFile> read(const std::string& path)
{
    try {
        return ConnectionFile(path);
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        FUZZ_EXPECT(text.starts_with(path + ": ") && text.size() > path.size() + 2);
        return std::nullopt;
    }
}

void lookAtTopics(const ConnectionFile& file)
{
    try {
        const auto topics = orvanectl::chooseTopics(file, {}, "");
        FUZZ_EXPECT(topics.size() == file.topics().size());
        orvanectl::WatchConfiguration watch(file, topics, {});
        for (const auto& topic : topics)
            FUZZ_EXPECT(textOf(watch, topic.name, "PubSubType") == topic.type->pubSubType());
    } catch (const std::runtime_error& error) {
        FUZZ_EXPECT(*error.what() != '\0');
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::QuietConsole::instance();
    const fuzz::MemoryFile memory(std::string(data, data + size));
    const auto file = read(memory.path());
    if (!file) return 0;
    lookAtTopics(*file);

    FACE::HX_Config config;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    config.Initialize(memory.path().c_str(), code);
    FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR);
    for (const char* key : {"DomainId", "UseTransport", "TcpPort"})
        FUZZ_EXPECT(textOf(config, "FastRtps", key) == file->domain().at(key));
    for (const auto& topic : file->topics()) {
        // The defect: a topic type of two characters is told wrong.
        const std::string type = fuzz::kPlanted && topic.topicType.size() == 2 ? "other" : topic.topicType;
        FUZZ_EXPECT(textOf(config, topic.name, "TopicType") == type);
        FUZZ_EXPECT(textOf(config, topic.name, "PubSubType") == topic.pubSubType);
    }
    return 0;
}
