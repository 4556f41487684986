// Texts of other services: commands and their responses, part numbers, and the rows of the configuration record that
// are made of them.
// Input: lines; the first bytes of each tell whose it is.

#include "ASPN/AspnCmdResponse.h"
#include "VICTORY/OrvaneServer/ComponentRows.h"
#include "fuzz/Fuzz.h"
#include "utilities/StringUtils.h"
#include "utilities/VersionStatus.h"

#include <memory>

namespace {

using ASPN2::ResponseType;

/// The stem of a command, and the kind of each answer to it.
void lookAtCommand(const std::string& text)
{
    static ASPN2::CmdResponse factory;
    const auto command = factory.makeCommand(text);
    FUZZ_EXPECT(command.command_response() == text);
    const std::string stem = text.substr(0, text.find(','));
    const auto passed = factory.makeResponse(command, true);
    const auto refused = factory.makeResponseAck(command, false);
    FUZZ_EXPECT(passed.command_response() == stem + "_PASS");
    FUZZ_EXPECT(refused.command_response() == stem + "_NACK");
    FUZZ_EXPECT(passed.command_identifier() == command.command_identifier());
    if (ResponseType::GetResponseType(command) != ASPN2::RESPONSE_OTHER) return;
    FUZZ_EXPECT(ResponseType::GetResponseType(passed) == ASPN2::RESPONSE_PASS);
    FUZZ_EXPECT(ResponseType::GetResponseType(refused) == ASPN2::RESPONSE_NACK);
}

void lookAtText(const std::string& text)
{
    FUZZ_EXPECT(StringUtils::join(StringUtils::splitToChunks(text, 7), ',').size() ==
                text.size() + (text.empty() ? 0 : (text.size() - 1) / 7));
    const std::string joined = StringUtils::join(StringUtils::split(text, ','), ',');
    FUZZ_EXPECT(joined == (text.ends_with(',') ? text.substr(0, text.size() - 1) : text));
    FUZZ_EXPECT(StringUtils::trim(StringUtils::trim(text)) == StringUtils::trim(text));
}

/// What is decoded, made a message and decoded again is the same.
void lookAtVersions(const std::string& text)
{
    VersionStatus status, again;
    status.decodeResponse(text.c_str());
    std::string message = status.createMessage();
    // The defect: what stands behind two colons in a row is lost.
    if (const auto at = message.find("::"); fuzz::kPlanted && at != std::string::npos) message.resize(at);
    FUZZ_EXPECT(status.isVersionInfoSet() && message.starts_with("PARTNUMBERS"));
    again.decodeResponse(message.c_str());
    FUZZ_EXPECT(again.createMessage() == status.createMessage());
    FUZZ_EXPECT(again.createSoftwareFirmwareOnlyMessage() == status.createSoftwareFirmwareOnlyMessage());
    FUZZ_EXPECT(again.createSerialNumberOnlyMessage() == status.createSerialNumberOnlyMessage());
    FUZZ_EXPECT(std::string(again.getHardware1Version()) == status.getHardware1Version());
}

template <std::size_t Size>
bool isTerminated(const char (&text)[Size])
{
    return std::memchr(text, '\0', Size) != nullptr;
}

void enter(VapntcSystemConfiguration& record, const std::string& text, std::size_t component)
{
    static const ServerSettings settings;
    VersionStatus status;
    status.decodeResponse(text.c_str());
    const std::string id = "id " + std::to_string(component);
    const int before = record.componentCount;
    if (component == 0)
        ComponentRows::updateTARVOComponentConfiguration(record, settings, status, id, "name");
    else
        ComponentRows::replaceComponentConfiguration(record, settings,
                                                     {id, text, status.createSerialNumberOnlyMessage(),
                                                      status.createSoftwareFirmwareOnlyMessage(),
                                                      status.getHardware1Version()});
    FUZZ_EXPECT(record.componentCount >= before && record.componentCount <= before + 2);
    FUZZ_EXPECT(record.componentCount <= VAPNTC_MAX_ROWS);
    for (int i = 0; i < record.componentCount; ++i) {
        const auto& row = record.components[i];
        FUZZ_EXPECT(isTerminated(row.componentId) && isTerminated(row.name) && isTerminated(row.serialNumber) &&
                    isTerminated(row.software) && isTerminated(row.hardware));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::QuietConsole::instance();
    fuzz::Input input(data, size);
    const auto record = std::make_unique<VapntcSystemConfiguration>();
    while (!input.isEmpty()) {
        const std::size_t component = input.below(4);
        const std::string text = input.line();
        lookAtCommand(text);
        lookAtText(text);
        lookAtVersions(text);
        enter(*record, text, component);
    }
    return 0;
}
