#include "lab/ctl/record/RecordingCsv.h"

#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/Counted.h"
#include "lab/ctl/RecordTypes.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingInfo.h"
#include "lab/ctl/record/RecordingOverview.h"
#include "lab/ctl/record/RecordingTrouble.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <stdexcept>

namespace orvanectl {

namespace {

constexpr std::uint64_t kSecond = 1'000'000'000;
constexpr const char* kHeader = "header";
constexpr const char* kElement = "*";  // in a shape, stands for all elements of a sequence

using Path = std::vector<std::string>;

struct Column {
    std::string channel;
    Path path;

    std::string name() const
    {
        std::string text = channel;
        for (const std::string& part : path) text += '.' + part;
        return text;
    }
};

Path partsOf(std::string_view text)
{
    Path parts;
    while (true) {
        const std::size_t dot = text.find('.');
        parts.emplace_back(text.substr(0, dot));
        if (dot == std::string_view::npos) return parts;
        text.remove_prefix(dot + 1);
    }
}

Json valuesOf(const RecordType& type, const void* record)
{
    Json values = Json::object();
    values[kHeader] = decodeHeader(type.headerOf(record));
    values.update(type.fieldsOf(record));
    return values;
}

/// All names that records of a type can have, as the values of one whose sequences are objects of an element.
Json shapeOf(const RecordType& type)
{
    const RecordPointer record = type.make();
    Json elements = Json::object();
    const Json fields = type.fieldsOf(record.get());
    for (const auto& [name, value] : fields.items())
        if (value.is_array() && value.empty()) elements[name].push_back(Json::object());
    type.setFields(record.get(), elements, {});
    Json shape = valuesOf(type, record.get());
    for (const auto& [name, value] : elements.items()) {
        Json sequence = Json::object();
        sequence[kElement] = shape[name][0];
        shape[name] = std::move(sequence);
    }
    return shape;
}

bool isSequence(const Json& shape)
{
    return shape.is_object() && shape.contains(kElement);
}

std::optional<std::size_t> indexOf(const std::string& text)
{
    std::size_t index = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, index);
    if (read.ec != std::errc() || read.ptr != end || text.empty()) return std::nullopt;
    return index;
}

/// What stands there; null if nothing does.
const Json* within(const Json& value, const std::string& part)
{
    if (value.is_object()) {
        const auto member = value.find(part);
        return member == value.end() ? nullptr : &*member;
    }
    const auto index = value.is_array() ? indexOf(part) : std::nullopt;
    return index && *index < value.size() ? &value[*index] : nullptr;
}

std::vector<std::string> namesWithin(const Json& shape)
{
    std::vector<std::string> names;
    if (shape.is_object())
        for (const auto& [name, value] : shape.items()) names.push_back(name);
    return names;
}

/// Throws `UnknownName`, whose text begins with `where`.
const Json& findShape(const Json& shape, const std::string& where, const Path& path)
{
    const Json* found = &shape;
    std::string name = where;
    for (const std::string& part : path) {
        if (!found->is_structured()) throw UnknownName(name + " is one value, with no field in it");
        const bool isElement = isSequence(*found) && indexOf(part).has_value();
        const Json* const next =
            isSequence(*found) ? (isElement ? &found->at(kElement) : nullptr) : within(*found, part);
        if (!next && (isSequence(*found) || found->is_array()))
            throw UnknownName(
                name + " has no element " + printable(part) +
                (found->is_array() ? "; it has " + std::to_string(found->size()) : "; they are numbered"));
        if (!next)
            throw UnknownName(name + " has no field " + printable(part) + "; " +
                              nearestOrAll(part, namesWithin(*found)));
        found = next;
        name += '.' + printable(part);
    }
    return *found;
}

/// A column for each single value and each sequence.
void addColumns(const Json& shape, const Column& column, std::vector<Column>& columns)
{
    if (!shape.is_structured() || isSequence(shape)) {
        columns.push_back(column);
        return;
    }
    const auto add = [&](const std::string& part, const Json& value) {
        Column below = column;
        below.path.push_back(part);
        addColumns(value, below, columns);
    };
    if (shape.is_object())
        for (const auto& [name, value] : shape.items()) add(name, value);
    else
        for (std::size_t index = 0; index < shape.size(); ++index) add(std::to_string(index), shape[index]);
}

/// The channel with the longest name that `field` begins with; a name may have dots in it.
const RecordingOverview::Channel* channelOf(const RecordingOverview& overview, const std::string& field)
{
    const RecordingOverview::Channel* longest = nullptr;
    for (const auto& channel : overview.channels)
        if (field == channel.topic || field.starts_with(channel.topic + '.'))
            if (!longest || channel.topic.size() > longest->topic.size()) longest = &channel;
    return longest;
}

std::vector<Column> columnsOf(const RecordingOverview& overview, const CsvOptions& options)
{
    std::vector<Column> columns;
    for (const std::string& field : options.fields) {
        const RecordingOverview::Channel* const channel = channelOf(overview, field);
        if (!channel) {
            const std::string name = field.substr(0, field.find('.'));
            throw UnknownName(options.file + ": no channel " + printable(name) + "; " +
                              nearestOrAll(name, overview.topics()));
        }
        const Path path =
            field == channel->topic ? Path{} : partsOf(std::string_view(field).substr(channel->topic.size() + 1));
        if (channel->encoding == recording::kJson) {
            columns.push_back({channel->topic, path});
            continue;
        }
        const RecordType* const type = channel->encoding == recording::kCdr ? findRecordType(channel->schema) : nullptr;
        if (!type) throw UnknownName(options.file + ": " + printable(channel->topic) + " has no fields");
        addColumns(findShape(shapeOf(*type), printable(channel->topic), path), {channel->topic, path}, columns);
    }
    return columns;
}

std::string cellText(const Json& value)
{
    if (value.is_null()) return "";
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_float() && !std::isfinite(value.get<double>())) {
        if (std::isnan(value.get<double>())) return "nan";
        return value.get<double>() > 0 ? "inf" : "-inf";
    }
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// In quotes where it has what separates cells.
std::string quoted(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string cell = "\"";
    for (const char c : text) {
        if (c == '"') cell += c;
        cell += c;
    }
    return cell + '"';
}

std::string nanosecondsText(std::uint64_t nanoseconds)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), ".%09lu", static_cast<unsigned long>(nanoseconds % kSecond));
    return text.data();
}

/// "2026-11-22T13:00:00.123456789Z".
std::string preciseDate(std::uint64_t time)
{
    std::string date = dateText(time);
    return date.erase(date.find('.')) + nanosecondsText(time) + 'Z';
}

/// Without what is nested deeper than any line of the bus.
Json lineOf(mcap::Bytes text)
{
    constexpr int kDeepest = 32;
    const auto isWanted = [](int depth, Json::parse_event_t, Json&) { return depth <= kDeepest; };
    return Json::parse(text.begin(), text.end(), isWanted, false);
}

class RowPrinter : public mcap::RecordSink {
public:
    RowPrinter(const std::vector<Column>& columns, std::uint64_t start, std::ostream& output)
        : m_columns(columns), m_start(start), m_output(output)
    {
        std::string line = "time,seconds";
        for (const Column& column : m_columns) line += ',' + quoted(printable(column.name()));
        print(line);
    }

    void schema(const mcap::Schema& schema) override { m_schemas[schema.id] = schema.name; }

    void channel(const mcap::Channel& channel) override
    {
        if (std::ranges::find(m_columns, channel.topic, &Column::channel) == m_columns.end()) return;
        const auto schema = m_schemas.find(channel.schema);
        const bool isRecord = channel.encoding == recording::kCdr && schema != m_schemas.end();
        const RecordType* const type = isRecord ? findRecordType(schema->second) : nullptr;
        if (type || channel.encoding == recording::kJson) m_channels[channel.id] = {channel.topic, type};
    }

    void message(const mcap::Message& message) override
    {
        const auto found = m_channels.find(message.channel);
        if (found == m_channels.end()) return;
        const auto& [topic, type] = found->second;
        const Json values = type ? read(*type, message.data) : lineOf(message.data);
        if (values.is_discarded()) {
            ++unreadable;
            return;
        }
        const std::uint64_t since = message.logTime - std::min(m_start, message.logTime);
        std::string line =
            preciseDate(message.logTime) + ',' + std::to_string(since / kSecond) + nanosecondsText(since);
        for (const Column& column : m_columns) line += ',' + (column.channel == topic ? cell(values, column.path) : "");
        print(line);
    }

    void problem(std::uint64_t, const std::string&) override { ++problems; }

    std::uint64_t unreadable = 0;
    std::uint64_t problems = 0;

private:
    static Json read(const RecordType& type, mcap::Bytes payload)
    {
        const RecordPointer record = type.make();
        if (!readPayload(type, payload, record.get())) return Json(Json::value_t::discarded);
        return valuesOf(type, record.get());
    }

    static std::string cell(const Json& values, const Path& path)
    {
        const Json* value = &values;
        for (const std::string& part : path)
            if (value) value = within(*value, part);
        return value ? quoted(cellText(*value)) : "";
    }

    void print(const std::string& line)
    {
        if (!(m_output << line << '\n')) throw std::runtime_error("cannot write to standard output");
    }

    const std::vector<Column>& m_columns;
    const std::uint64_t m_start;
    std::ostream& m_output;
    std::map<std::uint16_t, std::string> m_schemas;
    std::map<std::uint16_t, std::pair<std::string, const RecordType*>> m_channels;  // null for JSON
};

}  // namespace

std::string printCsv(const CsvOptions& options, std::ostream& output)
{
    const mcap::FileSource source(options.file);
    const RecordingOverview overview = overviewOf(source, options.file);
    const std::vector<Column> columns = columnsOf(overview, options);
    RowPrinter printer(columns, overview.start, output);
    const mcap::ScanResult result = mcap::scan(source, printer);
    if (!output.flush()) throw std::runtime_error("cannot write to standard output");

    std::string trouble = troubleText(result, printer.problems);
    const auto add = [&](const std::string& text) { trouble += (trouble.empty() ? "" : ", ") + text; };
    if (printer.unreadable > 0) add(counted(printer.unreadable, "unreadable record"));
    return trouble;
}

}  // namespace orvanectl
