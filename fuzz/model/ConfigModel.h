#ifndef FUZZ_MODEL_CONFIGMODEL_H
#define FUZZ_MODEL_CONFIGMODEL_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A file of containers as a client of the configuration service sees it: opened by name or by type, walked along those
/// of one type, read and written by key.
class ConfigModel {
public:
    enum class Result { Good, NoConfig, NoParameter };

    struct Container {
        std::string type;
        std::string name;                               ///< empty for one that can't be found
        std::map<std::string, std::string> parameters;  ///< those with a text
    };

    enum class From { Begin, Current, End };

    explicit ConfigModel(std::vector<Container> containers) : m_containers(std::move(containers)) {}

    const std::vector<Container>& containers() const { return m_containers; }

    /// The handles that are open.
    std::vector<int> handles() const
    {
        std::vector<int> handles;
        for (const auto& [handle, selection] : m_selections) handles.push_back(handle);
        return handles;
    }

    /// What an opening must give: an open handle, a new one, or none.
    /// @param given  the handle that the service gave, which a new selection gets
    /// @return whether that is right
    bool open(const std::string& key, Result result, int given)
    {
        for (const auto& [handle, selection] : m_selections)
            if (m_containers[selection.at].name == key) return result == Result::Good && given == handle;
        const auto found = find(key, From::Begin);
        if (!found) return result == Result::NoConfig;
        for (auto& [handle, selection] : m_selections)
            if (selection.type == m_containers[*found].type) {
                selection.at = *found;
                return result == Result::Good && given == handle;
            }
        if (!m_given.insert(given).second) return false;  // it has been another's
        m_selections[given] = {m_containers[*found].type, *found};
        return result == Result::Good;
    }

    Result close(int handle) { return m_selections.erase(handle) > 0 ? Result::Good : Result::NoConfig; }

    /// Moves a handle along the containers of its type, towards the end for a positive offset; from the end, towards the
    /// beginning.
    Result seek(int handle, std::optional<From> from, std::int64_t offset)
    {
        const auto selection = m_selections.find(handle);
        if (selection == m_selections.end() || !from) return Result::NoConfig;
        const auto begin = *from == From::Current ? selection->second.at : find(selection->second.type, *from);
        if (!begin) return Result::NoParameter;
        const bool isForward = (offset > 0) == (*from != From::End);
        std::size_t at = *begin;
        for (std::int64_t left = offset > 0 ? offset : -offset; left > 0;) {
            if (at == (isForward ? m_containers.size() - 1 : 0)) return Result::NoParameter;
            at = isForward ? at + 1 : at - 1;
            if (m_containers[at].type == selection->second.type) --left;
        }
        selection->second.at = at;
        return Result::Good;
    }

    /// The text of a key; that of the empty key is the name.
    std::optional<std::string> text(int handle, const std::string& key) const
    {
        const auto selection = m_selections.find(handle);
        if (selection == m_selections.end()) return std::nullopt;
        const Container& container = m_containers[selection->second.at];
        if (key.empty()) return container.name.empty() ? std::nullopt : std::optional(container.name);
        const auto parameter = container.parameters.find(key);
        return parameter == container.parameters.end() ? std::nullopt : std::optional(parameter->second);
    }

    /// What a reading or writing of something that isn't there gives.
    Result missing(int handle) const { return m_selections.contains(handle) ? Result::NoParameter : Result::NoConfig; }

    /// Only what has a text can be written, and no name.
    Result write(int handle, const std::string& key, const std::string& text)
    {
        if (key.empty() || !this->text(handle, key)) return missing(handle);
        m_containers[m_selections.at(handle).at].parameters[key] = text;
        return Result::Good;
    }

private:
    struct Selection {
        std::string type;
        std::size_t at;
    };

    /// The first container, or the last, that has a name and answers to a key by its name or its type.
    std::optional<std::size_t> find(const std::string& key, From from) const
    {
        std::optional<std::size_t> found;
        for (std::size_t i = 0; i < m_containers.size(); ++i) {
            const Container& container = m_containers[i];
            if (container.name.empty() || (container.name != key && container.type != key)) continue;
            found = i;
            if (from == From::Begin) break;
        }
        return found;
    }

    std::vector<Container> m_containers;
    std::map<int, Selection> m_selections;  // by handle
    std::set<int> m_given;
};

#endif
