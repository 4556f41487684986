#include "lab/ctl/record/CatalogueSchema.h"

#include "lab/ctl/record/CatalogueTexts.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace orvanectl {

namespace {

struct Definition {
    std::string name;
    std::string text;  // whole lines
};

/// The word behind "struct" or "enum" at the start of a line; empty if that begins no definition.
std::string nameIn(const std::string& line)
{
    std::istringstream words(line);
    std::string kind, name;
    words >> kind >> name;
    return kind == "struct" || kind == "enum" ? name : "";
}

/// Every definition of the catalogue, in an order in which what is used comes first.
std::vector<Definition> definitions()
{
    std::vector<Definition> all;
    for (const std::string_view text : catalogueTexts()) {
        std::istringstream lines{std::string(text)};
        bool isOpen = false;
        for (std::string line; std::getline(lines, line);) {
            if (const std::string name = isOpen ? "" : nameIn(line); !name.empty()) {
                all.push_back({name, ""});
                isOpen = true;
            }
            if (!isOpen) continue;
            all.back().text += line + '\n';
            isOpen = line.find("};") == std::string::npos;
        }
    }
    return all;
}

/// The names that a definition may use, and some words more.
std::set<std::string> wordsOf(const std::string& text)
{
    std::string spaced = text;
    std::ranges::replace_if(
        spaced, [](unsigned char c) { return std::isalnum(c) == 0 && c != '_'; }, ' ');
    std::istringstream words(spaced);
    return {std::istream_iterator<std::string>(words), {}};
}

}  // namespace

std::string schemaTextOf(std::string_view type)
{
    const std::vector<Definition> all = definitions();
    std::set<std::string> wanted = {std::string(type)};
    std::vector<const Definition*> used;
    // What is used stands before what uses it, so one way back finds all.
    for (auto definition = all.rbegin(); definition != all.rend(); ++definition) {
        if (!wanted.contains(definition->name)) continue;
        wanted.merge(wordsOf(definition->text));
        used.insert(used.begin(), &*definition);
    }
    if (used.empty()) throw std::runtime_error("the catalogue has no type " + std::string(type));
    std::string text = "module aspn2_msgs {\n    module idl {\n";
    for (const Definition* const definition : used) text += definition->text;
    return text + "    };\n};\n";
}

}  // namespace orvanectl
