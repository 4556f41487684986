#include "lab/ctl/DecodeReport.h"

#include "lab/ctl/Progress.h"
#include "lab/ctl/RecordTypes.h"
#include "lab/ctl/Rendering.h"
#include "utilities/ConsoleLine.h"

namespace orvanectl {

void DecodeReport::frame(std::uint64_t offset, Bytes bytes)
{
    print("frame", offset, Json::object(), decodeFrame(bytes));
}

void DecodeReport::record(std::uint64_t offset, const aspn2_msgs::idl::GSSIP& record)
{
    print("record", offset, {{"record", decodeHeader(record.header())}}, decodeFrame(record.data()));
}

void DecodeReport::problem(std::uint64_t offset, const std::string& what)
{
    m_clean = false;
    complain(offset, what);
}

void DecodeReport::resumed(std::uint64_t offset, std::uint64_t skippedBytes)
{
    complain(offset, "the next frame begins here, " + std::to_string(skippedBytes) + " bytes left out");
}

void DecodeReport::print(const char* kind, std::uint64_t offset, Json fields, DecodedFrame decoded)
{
    fields.update(decoded.fields);
    std::string text;
    if (m_style.json) {
        Json whole = {{"offset", offset}, {"kind", kind}};
        whole.update(fields);
        if (!decoded.problems.empty()) whole["problems"] = decoded.problems;
        text = jsonLine(std::move(whole));
    } else {
        const Json id = fields.value(Json::json_pointer("/frame/message_id"), Json());
        const std::string message = id.is_null() ? "no message" : "message " + id.dump();
        if (fields.contains("record")) decoded.units["record"] = headerUnits();
        text = paragraph(std::string(kind) + " at " + std::to_string(offset) + ": " + message, fields, m_style.colour,
                         decoded.units);
    }
    m_output.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
    for (const std::string& what : decoded.problems) problem(offset, what);
}

void DecodeReport::complain(std::uint64_t offset, const std::string& text)
{
    if (m_style.progress) m_style.progress->hide();
    printLine(m_problems, "orvanectl: ", m_input, ": offset ", offset, ": ", text);
}

}  // namespace orvanectl
