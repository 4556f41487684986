#include "reliability/Report.h"

#include <cmath>
#include <cstdio>

namespace {

/// Four significant digits, whole numbers as they are.
std::string textOf(double value)
{
    char text[64];
    const bool isWhole = std::nearbyint(value) == value && std::abs(value) < 1e15;
    std::snprintf(text, sizeof text, isWhole ? "%.0f" : "%.4g", value);
    return text;
}

std::string figureText(std::string_view name, double value, std::string_view unit)
{
    std::string text(name);
    text += ": " + textOf(value);
    if (!unit.empty()) text.append(" ").append(unit);
    return text;
}

}  // namespace

void Report::figure(std::string_view name, double value, std::string_view unit)
{
    line(figureText(name, value, unit));
}

void Report::figure(std::string_view name, double value, std::string_view unit, Goal goal)
{
    const bool isKept = goal.side == Goal::AtMost ? value <= goal.limit : value >= goal.limit;
    line(figureText(name, value, unit) + (goal.side == Goal::AtMost ? " (at most " : " (at least ") +
         textOf(goal.limit) + (isKept ? ": kept)" : ": MISSED)"));
}

void Report::note(std::string_view text)
{
    line(text);
}

void Report::broken(std::string_view what)
{
    {
        const std::lock_guard lock(m_mutex);
        ++m_broken;
    }
    line("BROKEN: " + std::string(what));
}

bool Report::expect(bool holds, std::string_view what)
{
    if (!holds) broken(what);
    return holds;
}

std::size_t Report::brokenCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_broken;
}

void Report::line(std::string_view text)
{
    const std::string whole = m_part + ": " + std::string(text) + '\n';
    const std::lock_guard lock(m_mutex);
    m_stream << whole << std::flush;
}
