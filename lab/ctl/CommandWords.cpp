#include "lab/ctl/CommandWords.h"

#include "lab/ctl/FrameDecoder.h"
#include "lab/text/NearestWord.h"

#include <vector>

namespace orvanectl {

namespace {

std::vector<const CLI::App*> commandsOf(const CLI::App& app)
{
    return app.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<std::string> verbsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* const command : commandsOf(app)) names.push_back(command->get_name());
    return names;
}

std::string joined(const std::vector<std::string>& words, const char* between)
{
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

std::vector<std::string> optionsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::Option* const option : app.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

/// Whether a shell reads a word as nothing but itself.
bool isPlain(const std::string& word)
{
    constexpr const char* kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.:/-";
    return !word.empty() && word.find_first_not_of(kPlain) == std::string::npos;
}

/// Names come from files, too, and whoever reads the script runs it: those that are more to a shell are left out.
std::string row(const std::string& key, std::vector<std::string> words)
{
    std::erase_if(words, [](const std::string& word) { return !isPlain(word); });
    return "    [\"" + key + "\"]=\"" + joined(words, " ") + "\"\n";
}

/// What is known of an argument or an option of the app; nothing if it isn't.
std::vector<std::string> knownOf(const CLI::App& app, const std::string& name, const KnownValues& values)
{
    auto known = values.find(app.get_name() + ' ' + name);
    if (known == values.end()) known = values.find(name);
    return known == values.end() ? std::vector<std::string>() : known->second;
}

/// For the app and for each command below it: a row with the words before, and those that may come next; and one for
/// each option that takes a value, which may have no words, so that nothing but names of files comes there, as for a
/// command where nothing is known of an argument.
void addRows(const CLI::App& app, const std::string& path, const KnownValues& values, std::string& rows,
             std::string& valueRows)
{
    std::vector<std::string> words = verbsOf(app);
    for (const CLI::Option* const option : app.get_options()) {
        if (option->get_positional()) {
            const std::vector<std::string> known = knownOf(app, option->get_name(true), values);
            words.insert(words.end(), known.begin(), known.end());
            if (known.empty()) valueRows += row(path + " =", {});  // no word that is looked for
        }
        if (option->get_items_expected_max() == 0) continue;
        std::vector<std::string> names;
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        for (const std::string& name : option->get_snames()) names.push_back("-" + name);
        const std::string front = path + ' ';
        for (const std::string& name : names) valueRows += row(front + name, knownOf(app, name, values));
    }
    for (const std::string& option : optionsOf(app)) words.push_back(option);
    rows += row(path, words);
    for (const CLI::App* const command : commandsOf(app))
        addRows(*command, path + ' ' + command->get_name(), values, rows, valueRows);
}

}  // namespace

std::string unknownWord(const CLI::App& tool)
{
    const CLI::App* app = &tool;
    std::string path;
    while (app->remaining().empty() && !app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
        path += app->get_name() + ": ";
    }
    const std::vector<std::string> verbs = verbsOf(*app), words = app->remaining();
    if (words.empty()) return verbs.empty() ? "" : path + "which verb? there are: " + joined(verbs, ", ");
    const bool isOption = words.front().starts_with('-') && words.front() != "-";
    const std::string word = isOption ? words.front().substr(0, words.front().find('=')) : words.front();
    if (!isOption && verbs.empty()) return "";
    const std::vector<std::string> known = isOption ? optionsOf(*app) : verbs;
    const std::string nearest = labtext::nearestWord(word, known);
    return path + (isOption ? "no option \"" : "no verb \"") + printable(word) + "\"; " +
           (nearest.empty() ? "there are: " + joined(known, ", ") : "did you mean \"" + nearest + "\"?");
}

std::string bashCompletion(const CLI::App& tool, const KnownValues& values)
{
    std::string rows, valueRows;
    addRows(tool, tool.get_name(), values, rows, valueRows);
    return "# Completes orvanectl in bash: source <(orvanectl completion)\n"
           "declare -gA _orvanectl_words=(\n" +
           rows +
           ")\n"
           "declare -gA _orvanectl_values=(\n" +
           valueRows +
           ")\n"
           "_orvanectl() {\n"
           "    local path=orvanectl option= before= cur=${COMP_WORDS[COMP_CWORD]} word words\n"
           "    # The shell takes --option=value for three words.\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        if [ \"$word\" = = ]; then option=${option:-=}\n"
           "        elif [ -n \"$option\" ]; then option=\n"
           "        elif [ -n \"${_orvanectl_values[\"$path $word\"]+known}\" ]; then option=$word\n"
           "        elif [ -n \"${_orvanectl_words[\"$path $word\"]+known}\" ]; then path=\"$path $word\"\n"
           "        fi\n"
           "    done\n"
           "    case $cur in\n"
           "    =) option=${option:-=} cur= ;;\n"
           "    --*=*) option=${cur%%=*} before=${cur%%=*}= cur=${cur#*=} ;;\n"
           "    esac\n"
           "    words=${_orvanectl_words[\"$path\"]}\n"
           "    [ -n \"$cur\" ] || [ -z \"${_orvanectl_values[\"$path =\"]+files}\" ] || words=\n"
           "    [ -z \"$option\" ] || words=${_orvanectl_values[\"$path $option\"]}\n"
           "    COMPREPLY=($(compgen -P \"$before\" -W \"$words\" -- \"$cur\"))\n"
           "}\n"
           "complete -o default -F _orvanectl orvanectl\n";
}

}  // namespace orvanectl
