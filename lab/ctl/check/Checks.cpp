#include "lab/ctl/check/Checks.h"

#include "lab/text/NearestWord.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace orvanectl {

namespace {

std::string placeOf(const ConfigContainer& container, const std::string& key)
{
    return container.name + '/' + key;
}

void checkList(const ConfigContainer& container, const ConfigKey& key, const KeyRule& rule, Findings& findings)
{
    std::istringstream parts(key.text);
    std::string part;
    while (std::getline(parts, part, ','))
        checkNumber(container, {key.name, part, key.line}, 10, rule.least, rule.most, findings);
}

void checkKey(const ConfigContainer& container, const ConfigKey& key, const KeyRule& rule, Findings& findings)
{
    switch (rule.kind) {
    case KeyRule::Kind::Text:
        break;
    case KeyRule::Kind::Boolean:
        checkBoolean(container, key, findings);
        break;
    case KeyRule::Kind::Number:
        checkNumber(container, key, 0, rule.least, rule.most, findings);
        break;
    case KeyRule::Kind::Decimal:
        checkNumber(container, key, 10, rule.least, rule.most, findings);
        break;
    case KeyRule::Kind::Decimals:
        checkList(container, key, rule, findings);
        break;
    }
}

/// What a number out of range becomes where its low bits are taken; nothing where that isn't so.
/// @param most  all bits of what it is stored in
std::string cutText(std::int64_t value, int base, std::int64_t most)
{
    constexpr std::int64_t kMost32 = 0xFFFFFFFF;
    if (most != 0xFF && most != 0xFFFF && most != kMost32) return "";
    // Decimal lists are read as 32 bits first, and what is beyond them is the highest.
    const std::int64_t read = base == 10 && (value > kMost32 || value < -kMost32) ? kMost32 : value;
    return ", " + std::to_string(read & most) + " is taken";
}

}  // namespace

void checkBoolean(const ConfigContainer& container, const ConfigKey& key, Findings& findings)
{
    std::string text = key.text;
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (text == "true" || text == "false") return;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 0);
    if (end != text.c_str() && *end == '\0') return;
    findings.warn(key.line, placeOf(container, key.name),
                  '"' + key.text + "\" is taken as " + (value != 0 ? "true" : "false") +
                      "; true or false is meant to stand here");
}

std::string suggestion(const std::string& word, const std::vector<std::string>& words)
{
    const std::string nearest = labtext::nearestWord(word, words);
    return nearest.empty() || nearest == word ? "" : "; did you mean " + nearest + '?';
}

std::int64_t checkNumber(const ConfigContainer& container, const ConfigKey& key, int base, std::int64_t least,
                         std::int64_t most, Findings& findings)
{
    const std::string place = placeOf(container, key.name),
                      range = std::to_string(least) + " to " + std::to_string(most);
    errno = 0;
    char* end = nullptr;
    const std::int64_t value = std::strtoll(key.text.c_str(), &end, base);
    const bool isWhole = end != key.text.c_str() && *end == '\0';
    if (!isWhole)
        findings.warn(key.line, place,
                      '"' + key.text + "\" is not wholly a number, " + std::to_string(value) + " is taken; " + range +
                          " may stand here");
    else if (errno == ERANGE || value < least || value > most)
        findings.warn(key.line, place,
                      key.text + " is out of range" + (errno == ERANGE ? "" : cutText(value, base, most)) + "; " +
                          range + " may stand here");
    return value;
}

void checkKeys(const ConfigContainer& container, std::span<const KeyRule> rules, Findings& findings, Severity severity)
{
    std::vector<std::string> missing, known;
    for (const KeyRule& rule : rules) {
        known.emplace_back(rule.name);
        if (container.textOf(rule.name).empty()) missing.emplace_back(rule.name);
    }
    for (const KeyRule& rule : rules) {
        const ConfigKey* const key = container.find(rule.name);
        if (!key)
            findings.add(severity, container.line, placeOf(container, rule.name),
                         std::string("is missing: ") + rule.meaning);
        else if (key->text.empty())
            findings.add(severity, key->line, placeOf(container, rule.name), std::string("is empty: ") + rule.meaning);
        else
            checkKey(container, *key, rule, findings);
    }
    checkUnknownKeys(container, known, missing, findings);
}

void checkUnknownKeys(const ConfigContainer& container, const std::vector<std::string>& known,
                      const std::vector<std::string>& missing, Findings& findings)
{
    for (const ConfigKey& key : container.keys) {
        if (std::ranges::find(known, key.name) != known.end()) continue;
        const std::string meant = suggestion(key.name, missing);
        findings.warn(key.line, placeOf(container, key.name),
                      "is no key that is read" + (meant.empty() ? suggestion(key.name, known) : meant));
    }
}

}  // namespace orvanectl
