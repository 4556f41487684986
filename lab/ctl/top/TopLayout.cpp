#include "lab/ctl/top/TopLayout.h"

#include "VICTORY/OrvaneServer/NavInputs.h"
#include "lab/ctl/top/BusBoard.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orvanectl {

namespace {

constexpr int kNarrowest = 60;
constexpr int kLeastTopics = 3;
constexpr int kMostQueues = 4;
constexpr int kBlockRows = 6;   // of the inputs, and of the bus beside them
constexpr int kBarColumn = 26;  // behind name, age and offset
constexpr int kWide = 112;      // where all columns of the topics have room
constexpr double kJoinLimit = NavInputs::kFarthestApart;

const char* const kHelp[] = {
    "q        quit",
    "h ?      this page; any key leaves it",
    "p space  pause what is shown, and go on",
    "s        sort topics by the next of: file, name, rate, age, gaps",
    "r        reverse the order",
    "up down  mark another topic, or scroll its fields (k j)",
    "[ ]      scroll the names of the bus, or the fields by the page (PgUp PgDn)",
    "e enter  the marked topic's latest record with all fields, live; Esc leaves",
    "JITTER   standard deviation of the intervals of the last ten seconds",
    "GAPS     places where sequence numbers of a source are missing",
    "OFFSET   time of validity minus that of the UTCTime beside it;",
    "         beyond 1 s to either side nothing is joined",
    "written  records put into a queue since the start, taken: out of it, as seen",
    "         from outside: nothing is read, and several at once may count as one",
    "refused  8504 that the service doesn't take, where a copy of them is heard",
    "faults   events of the service that tell of trouble with that queue",
};

std::string fixed(double value, int decimals)
{
    if (!std::isfinite(value)) return "?";
    if (std::fabs(value) >= 1e6) return value > 0 ? ">1e6" : "<-1e6";
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string signedFixed(double value)
{
    const std::string text = fixed(value, 3);
    return value >= 0 && std::isfinite(value) ? '+' + text : text;
}

std::string orNone(const std::optional<double>& value, int decimals)
{
    return value ? fixed(*value, decimals) : "-";
}

/// Of a place that is not negative.
constexpr std::size_t indexOf(int place)
{
    return static_cast<std::size_t>(place);
}

/// Cut to a width, the cut shown by '~', and filled up.
std::string leftCell(const std::string& text, int width)
{
    const auto size = static_cast<std::size_t>(std::max(width, 0));
    if (text.size() <= size) return text + std::string(size - text.size(), ' ');
    return size == 0 ? "" : text.substr(0, size - 1) + '~';
}

std::string rightCell(const std::string& text, int width)
{
    const auto size = static_cast<std::size_t>(std::max(width, 0));
    return text.size() < size ? std::string(size - text.size(), ' ') + text : leftCell(text, width);
}

std::string clockOf(double seconds)
{
    const long long whole = static_cast<long long>(std::clamp(seconds, 0.0, 1e9));
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

std::string processText(const std::optional<ProcessRow>& process)
{
    if (!process) return "no OrvaneServer";
    std::string text = "OrvaneServer " + std::to_string(process->id);
    if (process->others > 0) text += " (+" + std::to_string(process->others) + ')';
    return text + "  CPU " + orNone(process->cpuPercent, 1) + " %  " +
           fixed(static_cast<double>(process->residentKiB) / 1024.0, 1) + " MiB  " + std::to_string(process->threads) +
           " threads";
}

void putTitle(Canvas& canvas, const TopView& view, const TopUi& ui)
{
    canvas.paint(0, Style::Title);
    canvas.put(0, 0, "orvanectl top " + clockOf(view.seconds) + "  " + processText(view.process), Style::Title);
    const std::string right = ui.isPaused() ? "  PAUSED" : "  h help";
    canvas.put(0, canvas.width() - static_cast<int>(right.size()), right, ui.isPaused() ? Style::Bad : Style::Title);
}

void putHeading(Canvas& canvas, int row, const std::string& text)
{
    canvas.paint(row, Style::Heading);
    canvas.put(row, 0, text, Style::Heading);
}

/// A column of the topics: what stands above it, how wide it is, and by which order it is marked.
struct Column {
    const char* heading;
    int width;
    TopUi::Sort sort;
    std::string (*text)(const TopicRow&);
};

constexpr TopUi::Sort kNone = TopUi::Sort::File;

const Column kNarrow[] = {
    {"RATE Hz", 8, TopUi::Sort::Rate, [](const TopicRow& row) { return orNone(row.rateHz, 3); }},
    {"JITTER s", 9, kNone, [](const TopicRow& row) { return orNone(row.jitterSeconds, 3); }},
    {"AGE s", 7, TopUi::Sort::Age, [](const TopicRow& row) { return orNone(row.ageSeconds, 1); }},
    {"GAPS", 6, TopUi::Sort::Gaps, [](const TopicRow& row) { return std::to_string(row.gaps); }},
};
const Column kMore[] = {
    {"MISSING", 9, kNone, [](const TopicRow& row) { return std::to_string(row.missing); }},
    {"BACK", 6, kNone, [](const TopicRow& row) { return std::to_string(row.back); }},
    {"LOST", 6, kNone, [](const TopicRow& row) { return std::to_string(row.lost); }},
    {"RECORDS", 9, kNone, [](const TopicRow& row) { return std::to_string(row.records); }},
    {"PUBS", 6, kNone, [](const TopicRow& row) { return std::to_string(row.publishers); }},
};

std::vector<Column> columnsFor(int width)
{
    std::vector<Column> columns(std::begin(kNarrow), std::end(kNarrow));
    if (width >= kWide) columns.insert(columns.end(), std::begin(kMore), std::end(kMore));
    return columns;
}

/// As wide as the longest name, if half of the window has that.
int nameWidth(const std::vector<TopicRow>& topics, int width)
{
    std::size_t longest = 5;
    for (const TopicRow& topic : topics) longest = std::max(longest, topic.name.size());
    return static_cast<int>(std::min(longest, static_cast<std::size_t>(width) / 2 - 4));
}

std::string topicHeading(const std::vector<Column>& columns, const TopUi& ui, int width)
{
    const auto marked = [&](const char* heading, TopUi::Sort sort, TopUi::Sort none) {
        const char* const mark = sort == none || sort != ui.sort() ? "" : ui.isReversed() ? "^" : "*";
        return std::string(heading) + mark;
    };
    std::string line = leftCell(marked("TOPIC", TopUi::Sort::Name, kNone), width);
    for (const Column& column : columns) line += rightCell(marked(column.heading, column.sort, kNone), column.width);
    return line + " FROM";
}

std::string topicLine(const TopicRow& topic, const std::vector<Column>& columns, int width)
{
    std::string line = leftCell(topic.name, width);
    for (const Column& column : columns) line += rightCell(column.text(topic), column.width);
    return line + ' ' + topic.sources;
}

Style styleOf(const TopicRow& topic)
{
    if (topic.missing > 0 || topic.lost > 0) return Style::Doubtful;
    return topic.records == 0 ? Style::Faint : Style::Plain;
}

/// The topics, in so many rows below their heading; the marked one is among them.
void putTopics(Canvas& canvas, int top, int rows, const TopView& view, const TopUi& ui)
{
    const std::vector<Column> columns = columnsFor(canvas.width());
    const int width = nameWidth(view.topics, canvas.width());
    const std::vector<std::size_t> order = ui.order(view.topics);
    const auto count = static_cast<int>(order.size());
    const auto marked = static_cast<int>(std::ranges::find(order, ui.marked()) - order.begin());
    const int first = std::clamp(marked - rows + 1, 0, std::max(count - rows, 0));
    std::string heading = topicHeading(columns, ui, width);
    if (count > rows)
        heading =
            leftCell(heading, canvas.width() - 12) +
            rightCell(std::to_string(first + 1) + '-' + std::to_string(first + rows) + " of " + std::to_string(count),
                      12);
    putHeading(canvas, top, heading);
    for (int i = 0; i < rows && first + i < count; ++i) {
        const std::size_t index = order[indexOf(first + i)];
        const Style style = index == ui.marked() ? Style::Selected : styleOf(view.topics[index]);
        canvas.put(top + 1 + i, 0, leftCell(topicLine(view.topics[index], columns, width), canvas.width()), style);
    }
}

/// The inputs on the left; gives how wide they are.
int putInputs(Canvas& canvas, int top, const TopView& view)
{
    // Odd, so that it has a middle.
    const int bar = std::min(13 + 2 * std::max((canvas.width() - 80) / 4, 0), 41);
    const std::string scale = leftCell("-1", bar / 2) + '0' + rightCell("+1", bar / 2);
    canvas.put(top, 0, "INPUT      AGE s OFFSET s " + scale, Style::Heading);
    int row = top;
    for (const InputRow& input : view.inputs) {
        if (++row > top + kBlockRows) break;
        canvas.put(row, 0,
                   leftCell(input.name, 10) + rightCell(orNone(input.ageSeconds, 1), 6) +
                       rightCell(input.offsetSeconds ? signedFixed(*input.offsetSeconds) : "-", 9));
        if (!input.offsetSeconds) continue;
        const bool isGood = std::fabs(*input.offsetSeconds) < kJoinLimit;
        canvas.put(row, kBarColumn, offsetBar(*input.offsetSeconds, bar), isGood ? Style::Good : Style::Bad);
    }
    return kBarColumn + bar;
}

/// The bus, right of the inputs, in so many rows below its heading.
/// @param first  name that is shown, if they have no room
void putGroups(Canvas& canvas, int top, int left, int rows, const TopView& view, std::size_t first)
{
    const int name = canvas.width() - left - 15;
    canvas.put(top, left, leftCell("BUS " + view.bus, name) + rightCell("COUNT", 6) + rightCell("LAST UTC", 9),
               Style::Heading);
    const auto count = static_cast<int>(view.groups.size());
    const int shown = count > rows ? rows - 1 : count;
    const int from = std::min(static_cast<int>(std::min<std::size_t>(first, BusBoard::kMostNames)), count - shown);
    for (int i = 0; i < shown; ++i) {
        const GroupRow& group = view.groups[indexOf(from + i)];
        const int row = top + 1 + i;
        const std::string listed = group.listed ? " [" + std::to_string(*group.listed) + ']' : "";
        canvas.put(row, left,
                   leftCell(group.name + listed, name) + rightCell(std::to_string(group.count), 6) +
                       rightCell(group.last.empty() ? "-" : group.last, 9));
    }
    if (shown < count)
        canvas.put(top + rows, left,
                   leftCell(std::to_string(from + 1) + '-' + std::to_string(from + shown) + " of " +
                                std::to_string(count) + ", PgUp PgDn",
                            name + 15),
                   Style::Faint);
}

std::string queueText(const QueueRow& queue)
{
    const std::string name = queue.name + ' ' + queue.device;
    if (!queue.isThere) return name + "  can't be watched";
    std::string text = name + "  written " + std::to_string(queue.written) + "  taken " + std::to_string(queue.taken);
    if (queue.waitingBytes) text += "  waiting " + std::to_string(*queue.waitingBytes) + " B";
    if (queue.refused) text += "  refused " + std::to_string(*queue.refused);
    return text + "  faults " + std::to_string(queue.faults) + "  " +
           (queue.holders.empty() ? "open nowhere" : queue.holders);
}

/// Both states; where they are too long, each has its half.
std::string stateText(const TopView& view, int width)
{
    const std::string clearData = "clear data: " + view.clearData, between = "  |  ";
    const std::string test = "built-in test: " + view.builtInTest;
    const int left = std::max(width - static_cast<int>(between.size() + test.size()), width / 2);
    const bool isShort = clearData.size() <= static_cast<std::size_t>(left);
    return (isShort ? clearData : leftCell(clearData, left)) + between + test;
}

void putLine(Canvas& canvas, int row, const std::string& text, Style style = Style::Plain)
{
    canvas.put(row, 0, leftCell(text, canvas.width()), style);
}

Canvas tooSmall(int width, int height, int leastHeight)
{
    Canvas canvas(width, height);
    canvas.put(0, 0, "orvanectl top: at least");
    canvas.put(1, 0, std::to_string(kNarrowest) + " x " + std::to_string(leastHeight));
    return canvas;
}

/// Rows of the parts of the overview.
struct Rows {
    int queues;
    int topics;
    int groups;  // of the inputs, too
    int least;   // of a window that has room
};

Rows rowsOf(const TopView& view, int height)
{
    const int queues = std::min(static_cast<int>(view.queues.size()), kMostQueues);
    // Title, states, heading of the topics, the block with its heading, join, queues, an event.
    const int others = 3 + 1 + kBlockRows + 1 + queues + 1;
    const int spare = std::max(std::min(height, Canvas::kMost) - others, kLeastTopics);
    const int topics = std::min(spare, std::max(static_cast<int>(view.topics.size()), kLeastTopics));
    const int more = std::clamp(static_cast<int>(view.groups.size()) - kBlockRows, 0, spare - topics);
    return {queues, topics, kBlockRows + more, others + kLeastTopics};
}

Canvas overview(const TopView& view, const TopUi& ui, int width, int height)
{
    const auto [queues, topics, groups, least] = rowsOf(view, height);
    if (width < kNarrowest || height < least) return tooSmall(width, height, least);
    Canvas canvas(width, height);
    putTitle(canvas, view, ui);
    putLine(canvas, 1, stateText(view, canvas.width()));
    putTopics(canvas, 2, topics, view, ui);
    int row = 3 + topics;
    canvas.paint(row, Style::Heading);
    const int left = putInputs(canvas, row, view) + 1;
    putGroups(canvas, row, left, groups, view, ui.firstGroup());
    row += 1 + groups;
    putLine(canvas, row++, view.join);
    for (int i = 0; i < queues; ++i) {
        const QueueRow& queue = view.queues[static_cast<std::size_t>(i)];
        putLine(canvas, row++, queueText(queue), queue.isThere && queue.faults == 0 ? Style::Plain : Style::Doubtful);
    }
    const int events = canvas.height() - row;
    const int known = static_cast<int>(view.events.size());
    for (int i = std::max(known - events, 0); i < known; ++i)
        putLine(canvas, row++, view.events[static_cast<std::size_t>(i)]);
    if (known == 0) putLine(canvas, row, "no event came yet", Style::Faint);
    return canvas;
}

Canvas fieldsPage(const TopView& view, const TopUi& ui, const std::vector<std::string>& fields, int width, int height)
{
    Canvas canvas(width, height);
    putTitle(canvas, view, ui);
    const bool hasTopic = ui.marked() < view.topics.size();
    putHeading(canvas, 1, (hasTopic ? view.topics[ui.marked()].name : "") + "   (Esc leaves, up and down scroll)");
    if (fields.empty()) putLine(canvas, 2, "no record came yet", Style::Faint);
    const auto room = static_cast<std::size_t>(fieldLinesOf(height));
    for (std::size_t i = 0; i < room && ui.firstLine() + i < fields.size(); ++i)
        putLine(canvas, static_cast<int>(i) + 2, fields[ui.firstLine() + i]);
    return canvas;
}

Canvas helpPage(const TopView& view, const TopUi& ui, int width, int height)
{
    Canvas canvas(width, height);
    putTitle(canvas, view, ui);
    int row = 1;
    for (const char* const line : kHelp) putLine(canvas, row++, line);
    return canvas;
}

}  // namespace

std::string offsetBar(double seconds, int width)
{
    const int half = width / 2;
    std::string bar(static_cast<std::size_t>(width), '.');
    bar[static_cast<std::size_t>(half)] = '|';
    if (std::isnan(seconds)) return bar;
    const int end = static_cast<int>(std::lround(std::clamp(seconds / kJoinLimit, -1.0, 1.0) * half));
    for (int i = 1; i < std::abs(end); ++i) bar[indexOf(half + (end > 0 ? i : -i))] = '=';
    if (end != 0) bar[indexOf(half + end)] = '#';
    if (std::fabs(seconds) >= kJoinLimit) bar[indexOf(half + end)] = seconds > 0 ? '>' : '<';
    return bar;
}

int groupLinesOf(const TopView& view, int height)
{
    const int rows = rowsOf(view, height).groups, count = static_cast<int>(view.groups.size());
    return count > rows ? rows - 1 : count;
}

int fieldLinesOf(int height)
{
    return std::clamp(height, 1, Canvas::kMost) - 2 > 0 ? std::clamp(height, 1, Canvas::kMost) - 2 : 0;
}

Canvas layOut(const TopView& view, const TopUi& ui, const std::vector<std::string>& fields, int width, int height)
{
    switch (ui.page()) {
    case TopUi::Page::Overview:
        return overview(view, ui, width, height);
    case TopUi::Page::Fields:
        return fieldsPage(view, ui, fields, width, height);
    case TopUi::Page::Help:
        return helpPage(view, ui, width, height);
    }
    return Canvas(width, height);
}

}  // namespace orvanectl
