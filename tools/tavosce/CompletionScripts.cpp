#include "CompletionScripts.h"

#include "Declarations.h"

#include <algorithm>
#include <cctype>
#include <functional>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

/// What is done with the tables of verbs, options and operands.
constexpr const char* BASH_FUNCTIONS = R"(
# The words of the line up to the cursor, quotes and all. Bash itself also parts them at colons.
_tavosce_words()
{
    local line=${COMP_LINE:0:COMP_POINT} piece i
    words=()
    for ((i = 0; i <= COMP_CWORD; ++i)); do
        if [[ $i -eq 0 || $line == [[:blank:]]* ]]; then
            words+=('')
            line=${line#"${line%%[![:blank:]]*}"}
        fi
        piece=${COMP_WORDS[i]}
        [[ $line == "$piece"* ]] || piece=$line # the cursor stands within it
        words[-1]+=$piece
        line=${line#"$piece"}
    done
}

# The quote that is open at the end of a word, in "open".
_tavosce_find_open_quote()
{
    local i character
    open=''
    for ((i = 0; i < ${#1}; ++i)); do
        character=${1:i:1}
        if [[ $character == \\ && $open != "'" ]]; then
            ((++i))
        elif [[ $character == "$open" ]]; then
            open=''
        elif [[ -z $open && $character == [\"\'] ]]; then
            open=$character
        fi
    done
}

# A word as the tool gets it: without quotes, in "plain".
_tavosce_unquote()
{
    plain=${1//[\"\'\\]/}
    [[ $plain != '~'/* ]] || plain=$HOME/${plain#'~/'}
}

# Offers those of the candidates that begin like "plain", quoted: they may hold anything. Where bash parts words at
# colons it replaces what stands behind the last one only. Behind an open quote it replaces everything, and only what
# means itself within any quotes can be offered. Of what %q writes, $'...' does not survive being put into a word.
_tavosce_offer()
{
    local candidate quoted open kept=''
    _tavosce_find_open_quote "${words[-1]}"
    if [[ -n $open ]]; then
        [[ ${words[-1]} == "$open$plain" ]] || return 0
    elif [[ $COMP_WORDBREAKS == *:* ]]; then
        kept=${plain%"${plain##*:}"}
    fi
    for candidate in "$@"; do
        [[ $candidate == "$plain"* ]] || continue
        printf -v quoted '%q' "${candidate#"$kept"}"
        if [[ -n $open ]]; then
            [[ $candidate == *[\"\'\\\$\`\!]* ]] || COMPREPLY+=("$candidate")
        elif [[ $quoted != \$\'* ]]; then
            COMPREPLY+=("$quoted")
        fi
    done
}

# Sets "operands" to the operands in front of the cursor.
_tavosce_operands_so_far()
{
    local i
    operands=()
    for ((i = 2; i < ${#words[@]} - 1; ++i)); do
        if [[ " ${_tavosce_valued[$verb]} " == *" ${words[i]} "* ]]; then
            ((++i))
        elif [[ ${words[i]} != -* ]]; then
            operands+=("${words[i]}")
        fi
    done
}

# What the tool says about a file or a record of it.
_tavosce_ask()
{
    mapfile -t candidates < <("$@" 2>/dev/null)
    _tavosce_offer "${candidates[@]}"
}

_tavosce_operand()
{
    local operands kinds kind last candidates word=$plain
    _tavosce_operands_so_far
    read -ra kinds <<<"${_tavosce_operands[$verb]}"
    last=$((${#kinds[@]} - 1))
    kind=${kinds[${#operands[@]} < last ? ${#operands[@]} : last]}
    case $kind in
        record) [[ $word != *:* ]] || _tavosce_ask "$1" completion records "${word%:*}" ;;
        node)
            _tavosce_unquote "${operands[0]}"
            local address=$plain
            plain=$word
            _tavosce_ask "$1" completion nodes "$address"
            compopt -o nospace 2>/dev/null # a property or an array may follow
            ;;
        *'|'*)
            IFS='|' read -ra candidates <<<"$kind"
            _tavosce_offer "${candidates[@]}"
            ;;
    esac
}

# Where nothing is offered bash completes names of files.
_tavosce()
{
    local words plain verb options
    COMPREPLY=()
    _tavosce_words
    _tavosce_unquote "${words[-1]}"
    verb=''
    ((${#words[@]} <= 2)) || verb=${words[1]}
    [[ -z $verb || -v _tavosce_operands[$verb] ]] || return 0
    read -ra options <<<"${_tavosce_options[${verb:-tavosce}]}"
    if [[ $plain == -* ]]; then
        _tavosce_offer "${options[@]}"
    elif [[ -z $verb ]]; then
        _tavosce_offer "${_tavosce_verbs[@]}"
    elif [[ " ${_tavosce_valued[$verb]} " != *" ${words[-2]} "* ]]; then
        _tavosce_operand "$1"
    fi
}

complete -o bashdefault -o default -F _tavosce tavosce
)";

/// A text with a backslash in front of characters.
std::string escaped(const std::string& text, const std::string& characters)
{
    std::string res;
    for (const char c : text)
    {
        res += characters.find(c) == std::string::npos ? "" : "\\";
        res += c;
    }
    return res;
}

std::string joined(const std::vector<std::string>& words)
{
    std::string res;
    for (const std::string& word : words)
    {
        res += (res.empty() ? "" : " ") + word;
    }
    return res;
}

std::vector<std::string> namesOf(const std::vector<const CLI::Option*>& options)
{
    std::vector<std::string> res;
    for (const CLI::Option* const option : options)
    {
        const std::vector<std::string> names = tavosce::namesOf(*option);
        res.insert(res.end(), names.begin(), names.end());
    }
    return res;
}

std::vector<const CLI::Option*> valuedOptionsOf(const CLI::App& app)
{
    std::vector<const CLI::Option*> res;
    for (const CLI::Option* const option : optionsOf(app))
    {
        if (takesValue(*option))
        {
            res.push_back(option);
        }
    }
    return res;
}

/// "record", "node", "file", or the words that it may be, "a|b", as its name says.
std::string operandKind(const CLI::Option& operand)
{
    std::string name = operand.get_name(true);
    if (std::islower(static_cast<unsigned char>(name.front())) != 0)
    {
        return name;
    }
    return name.find("[:REC]") != std::string::npos ? "record" : name.compare(0, 4, "NODE") == 0 ? "node" : "file";
}

std::vector<std::string> operandKinds(const CLI::App& verb)
{
    std::vector<std::string> res;
    for (const CLI::Option* const operand : operandsOf(verb))
    {
        res.push_back(operandKind(*operand));
    }
    return res;
}

/// True if the value of an option is a path.
bool takesPath(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    return type == "OUT" || type == "DIR" || type.find('.') != std::string::npos;
}

/// The words that an operand may be, with blanks between; empty if it may be any.
std::string wordsOf(const CLI::Option& operand)
{
    std::string res = operandKind(operand);
    if (res.find('|') == std::string::npos)
    {
        return {};
    }
    std::replace(res.begin(), res.end(), '|', ' ');
    return res;
}

/// An associative array with an entry for each verb.
std::string bashTable(const std::string& name, const CLI::App& tool,
                      const std::function<std::vector<std::string>(const CLI::App&)>& entry)
{
    std::string res = "declare -gA " + name + "=(\n";
    for (const CLI::App* const verb : verbsOf(tool))
    {
        res += "    [" + verb->get_name() + "]='" + joined(entry(*verb)) + "'\n";
    }
    return res + ")\n";
}

/// A text that is neither taken apart at colons nor at brackets, within single quotes.
std::string zshText(const std::string& text)
{
    std::string res = escaped(text, "\\[]:");
    for (std::size_t at = res.find('\''); at != std::string::npos; at = res.find('\'', at + 4))
    {
        res.replace(at, 1, "'\\''");
    }
    return res;
}

/// The arguments that _arguments wants.
std::string zshArguments(const CLI::App& app)
{
    std::string res;
    for (const CLI::Option* const option : optionsOf(app))
    {
        const std::vector<std::string> names = tavosce::namesOf(*option);
        const char* const action = takesPath(*option) ? ":_files" : ": ";
        const std::string value = takesValue(*option) ? ':' + zshText(option->get_type_name()) + action : "";
        for (const std::string& name : names)
        {
            res.append(" \\\n                '(").append(joined(names)).append(")").append(name);
            res.append("[").append(zshText(option->get_description())).append("]").append(value).append("'");
        }
    }
    int place = 0;
    for (const CLI::Option* const operand : operandsOf(app))
    {
        ++place;
        if (const std::string words = wordsOf(*operand); !words.empty())
        {
            res.append(" \\\n                '")
                .append(std::to_string(place))
                .append(":word:(")
                .append(words)
                .append(")'");
        }
    }
    return res;
}

std::string fishText(const std::string& text)
{
    return '\'' + escaped(text, "\\'") + '\'';
}

std::string fishOption(const CLI::Option& option)
{
    std::string res;
    for (const std::string& name : option.get_snames())
    {
        res += " -s " + name;
    }
    for (const std::string& name : option.get_lnames())
    {
        res += " -l " + name;
    }
    const char* const value = !takesValue(option) ? " -d " : takesPath(option) ? " -r -d " : " -x -d ";
    return res + value + fishText(option.get_description()) + '\n';
}

constexpr const char* COMMENT = "Completes command lines of tavosce. Made by `tavosce completion`.";

} // namespace

std::string bashCompletion(const CLI::App& tool)
{
    std::string res = std::string("# ") + COMMENT + "\n\n_tavosce_verbs=(";
    for (const CLI::App* const verb : verbsOf(tool))
    {
        res += ' ' + verb->get_name();
    }
    res += " )\n";
    res += bashTable("_tavosce_options", tool, [](const CLI::App& verb) { return namesOf(optionsOf(verb)); });
    res += "_tavosce_options[tavosce]='" + joined(namesOf(optionsOf(tool))) + "'\n";
    res += bashTable("_tavosce_valued", tool, [](const CLI::App& verb) { return namesOf(valuedOptionsOf(verb)); });
    res += bashTable("_tavosce_operands", tool, &operandKinds);
    return res + BASH_FUNCTIONS;
}

std::string zshCompletion(const CLI::App& tool)
{
    std::string verbs, cases;
    for (const CLI::App* const verb : verbsOf(tool))
    {
        verbs += "        '" + verb->get_name() + ':' + zshText(verb->get_description()) + "'\n";
        cases += "        " + verb->get_name() + ")\n            _arguments" + zshArguments(*verb) +
                 " \\\n                '*:operand:_files'\n            ;;\n";
    }
    return std::string("#compdef tavosce\n# ") + COMMENT + "\n\n_tavosce()\n{\n    local -a verbs=(\n" + verbs +
           "    )\n    if ((CURRENT == 2)); then\n        _describe -t verbs verb verbs\n        _arguments" +
           zshArguments(tool) +
           "\n        return\n    fi\n    shift words\n    ((CURRENT--))\n    case $words[1] in\n" + cases +
           "    esac\n}\n\n_tavosce \"$@\"\n";
}

std::string fishCompletion(const CLI::App& tool)
{
    std::string res = std::string("# ") + COMMENT + "\n";
    for (const CLI::Option* const option : optionsOf(tool))
    {
        res += "complete -c tavosce -n __fish_use_subcommand" + fishOption(*option);
    }
    for (const CLI::App* const verb : verbsOf(tool))
    {
        const std::string name = verb->get_name();
        res += "complete -c tavosce -n __fish_use_subcommand -f -a " + name + " -d " +
               fishText(verb->get_description()) + '\n';
        for (const CLI::Option* const option : optionsOf(*verb))
        {
            res += "complete -c tavosce -n '__fish_seen_subcommand_from " + name + '\'' + fishOption(*option);
        }
        for (const CLI::Option* const operand : operandsOf(*verb))
        {
            if (const std::string words = wordsOf(*operand); !words.empty())
            {
                res.append("complete -c tavosce -n '__fish_seen_subcommand_from ").append(name);
                res.append("' -a '").append(words).append("'\n");
            }
        }
    }
    return res;
}

} // namespace tavosce
