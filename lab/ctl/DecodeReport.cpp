#include "lab/ctl/DecodeReport.h"

#include "lab/ctl/FieldWriting.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/RecordTypes.h"
#include "lab/ctl/Rendering.h"
#include "utilities/ConsoleLine.h"

namespace orvanectl {

namespace {

const char* kindOf(const aspn2_msgs::idl::GSSIP* record)
{
    return record ? "record" : "frame";
}

}  // namespace

void DecodeReport::frame(std::uint64_t offset, Bytes bytes)
{
    print(offset, nullptr, bytes);
}

void DecodeReport::record(std::uint64_t offset, const aspn2_msgs::idl::GSSIP& record)
{
    print(offset, &record, record.data());
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

void DecodeReport::print(std::uint64_t offset, const aspn2_msgs::idl::GSSIP* record, Bytes frame)
{
    const auto problems = m_style.json ? printLine(offset, record, frame) : printParagraph(offset, record, frame);
    for (const std::string& what : problems) problem(offset, what);
}

std::vector<std::string> DecodeReport::printLine(std::uint64_t offset, const aspn2_msgs::idl::GSSIP* record,
                                                 Bytes frame)
{
    m_line.begin();
    m_line.member("offset", offset);
    m_line.member("kind", kindOf(record));
    if (record) {
        m_line.name("record");
        writeHeader(record->header(), m_line);
    }
    std::vector<std::string> problems = writeFrame(frame, m_line);
    if (!problems.empty()) {
        m_line.name("problems");
        m_line.beginArray();
        for (const std::string& what : problems) m_line.text(what);
        m_line.endArray();
    }
    m_output << m_line.end();
    return problems;
}

std::vector<std::string> DecodeReport::printParagraph(std::uint64_t offset, const aspn2_msgs::idl::GSSIP* record,
                                                      Bytes frame)
{
    DecodedFrame decoded = decodeFrame(frame);
    Json fields = Json::object();
    if (record) {
        fields["record"] = decodeHeader(record->header());
        decoded.units["record"] = headerUnits();
    }
    fields.update(decoded.fields);
    const Json id = fields.value(Json::json_pointer("/frame/message_id"), Json());
    const std::string message = id.is_null() ? "no message" : "message " + id.dump();
    m_output << paragraph(std::string(kindOf(record)) + " at " + std::to_string(offset) + ": " + message, fields,
                          m_style.colour, decoded.units);
    return std::move(decoded.problems);
}

void DecodeReport::complain(std::uint64_t offset, const std::string& text)
{
    if (m_style.progress) m_style.progress->hide();
    m_output.flush();
    ::printLine(m_problems, "orvanectl: ", m_input, ": offset ", offset, ": ", text);
}

}  // namespace orvanectl
