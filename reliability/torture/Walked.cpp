#include "reliability/torture/Walked.h"

#include <cstdint>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace torture {

namespace {

constexpr std::string_view kHead = "calls of ";

/// Texts of facts by those of their points. The last one of a file may have been broken off.
void readFacts(std::istream& file, std::map<std::string, std::string>& texts)
{
    for (std::string line; std::getline(file, line);) {
        const auto tab = line.find('\t');
        if (tab != std::string::npos && line.ends_with('}')) texts[line.substr(0, tab)] = line.substr(tab + 1);
    }
}

}  // namespace

Walked::Walked(std::string path, const std::string& service) : m_path(std::move(path))
{
    if (m_path.empty()) return;
    const std::string head = std::string(kHead) + service;
    std::ifstream file(m_path);
    std::string line;
    if (std::getline(file, line) && line == head) {
        readFacts(file, m_texts);
        file.close();
        std::ofstream(m_path, std::ios::app) << '\n';
        return;
    }
    file.close();
    if (!(std::ofstream(m_path) << head << '\n')) throw std::runtime_error(m_path + ": can't be written");
}

std::optional<Facts> Walked::at(const Point& point) const
{
    const auto found = m_texts.find(textOf(point));
    if (found == m_texts.end()) return std::nullopt;
    try {
        return Facts::of(found->second);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void Walked::add(const Point& point, const Facts& facts)
{
    const std::string text = facts.text();
    m_texts[textOf(point)] = text;
    if (!m_path.empty()) std::ofstream(m_path, std::ios::app) << textOf(point) + '\t' + text + '\n' << std::flush;
}

std::vector<std::pair<Point, Facts>> allWalked(const std::string& path)
{
    std::ifstream file(path);
    std::string head;
    if (!std::getline(file, head) || !head.starts_with(kHead))
        throw std::runtime_error(path + ": has no facts of a walk");
    std::map<std::string, std::string> texts;
    readFacts(file, texts);
    std::vector<std::pair<Point, Facts>> walked;
    for (const auto& [name, text] : texts)
        if (const auto point = pointOf(name)) walked.emplace_back(*point, Facts::of(text));
    return walked;
}

std::string fingerprintOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path + ": can't be read");
    std::uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
    for (char byte = 0; file.get(byte);) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    return std::to_string(hash);
}

}  // namespace torture
