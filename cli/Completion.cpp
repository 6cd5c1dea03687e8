#include "cli/Completion.h"

#include "cli/Commands.h"
#include "core/base/TerminalText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace harbor::cli {

namespace {

// The shells ask the program itself, so that nothing in these scripts can go stale.
constexpr std::string_view bashScript = R"sh(_twkb() {
    local words=("${COMP_WORDS[@]:1:COMP_CWORD}")
    local IFS=$'\n'
    COMPREPLY=($(compgen -W "$(twkb __complete -- "${words[@]}" 2>/dev/null | cut -f1)" -- "${words[-1]}"))
}
complete -o default -F _twkb twkb
)sh";

constexpr std::string_view zshScript = R"sh(#compdef twkb
_twkb() {
    local -a candidates
    local line
    for line in ${(f)"$(twkb __complete -- "${(@)words[2,CURRENT]}" 2>/dev/null)"}; do
        candidates+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}")
    done
    if (( $#candidates )); then
        _describe twkb candidates
    else
        _files
    fi
}
# Loaded by zsh on the first use, this file is the body of the function; read by eval, it only defines it.
if [[ "${funcstack[1]}" = _twkb ]]; then
    _twkb "$@"
else
    compdef _twkb twkb
fi
)sh";

constexpr std::string_view fishScript = R"sh(function __twkb_complete
    set -l words (commandline -opc) (commandline -ct)
    twkb __complete -- $words[2..-1] 2>/dev/null
end
complete -c twkb -a '(__twkb_complete)'
)sh";

constexpr std::array<std::pair<std::string_view, std::string_view>, 3> scripts { { { "bash", bashScript },
    { "zsh", zshScript }, { "fish", fishScript } } };

OptionDescription const* optionNamed(std::vector<OptionDescription> const& options, std::string const& name)
{
    auto const found = std::ranges::find_if(
        options, [&](OptionDescription const& option) { return std::ranges::count(option.names, name) > 0; });
    return found == options.end() ? nullptr : &*found;
}

/// Where the words before the one to complete lead.
struct Position {
    CommandDescription const* command;
    std::size_t argumentCount = 0;
    OptionDescription const* awaitingValue = nullptr;
};

Position positionAfter(CommandDescription const& program, std::vector<std::string> const& words)
{
    Position position { &program };
    for (auto const& word : words) {
        if (std::exchange(position.awaitingValue, nullptr))
            continue;
        if (word.starts_with('-')) {
            auto const* option = optionNamed(position.command->options, word);
            position.awaitingValue = option && !option->value.empty() ? option : nullptr;
            continue;
        }
        auto const& subcommands = position.command->subcommands;
        auto const found = std::ranges::find(subcommands, word, &CommandDescription::name);
        if (found != subcommands.end())
            position.command = &*found;
        else
            ++position.argumentCount;
    }
    return position;
}

std::vector<Candidate> valuesOf(OptionDescription const& option, std::vector<Candidate> const& sites)
{
    if (option.value == "SITE")
        return sites;
    std::vector<Candidate> result;
    for (auto const& choice : option.choices())
        result.push_back({ choice, option.description });
    return result;
}

void addOptions(std::vector<OptionDescription> const& options, std::vector<Candidate>& result)
{
    for (auto const& option : options)
        result.push_back({ option.names.back(), option.description });
}

awaitable<void> printScript(Context& context, std::string shell)
{
    for (auto const& [name, script] : scripts) {
        if (name == shell)
            context.console().printBytes(script);
    }
    co_return;
}

awaitable<void> printCompletions(Context& context, CLI::App const& program, std::vector<std::string> words)
{
    std::vector<Candidate> sites;
    for (auto const& site : context.sites().sites())
        sites.push_back({ site.slug, site.name });
    for (auto const& candidate : completions(describeCommand(program), words, sites)) {
        auto description = withoutControlSequences(candidate.description);
        std::ranges::replace(description, '\n', ' ');
        context.console().print(candidate.word + "\t" + description);
    }
    co_return;
}

}  // namespace

std::vector<Candidate> completions(CommandDescription const& program, std::vector<std::string> const& words,
    std::vector<Candidate> const& sites)
{
    auto const last = words.empty() ? std::string() : words.back();
    auto const before = words.empty() ? words : std::vector<std::string>(words.begin(), words.end() - 1);
    auto const position = positionAfter(program, before);

    std::vector<Candidate> result;
    if (position.awaitingValue) {
        result = valuesOf(*position.awaitingValue, sites);
    } else if (last.starts_with('-')) {
        addOptions(position.command->options, result);
        if (position.command != &program)
            addOptions(program.options, result);
    } else if (!position.command->subcommands.empty()) {
        for (auto const& subcommand : position.command->subcommands)
            result.push_back({ subcommand.name, subcommand.description });
    } else if (position.argumentCount < position.command->arguments.size()) {
        result = valuesOf(position.command->arguments[position.argumentCount], sites);
    }
    std::erase_if(result, [&](Candidate const& candidate) { return !candidate.word.starts_with(last); });
    return result;
}

void addCompletionCommands(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("completion", "Print the completion script of a shell");
    auto const shell = std::make_shared<std::string>();
    auto const check = [](std::string const& text) {
        auto const known
            = std::ranges::any_of(scripts, [&](auto const& entry) { return entry.first == text; });
        return known ? std::string() : "\"" + text + "\" is none of bash|zsh|fish";
    };
    command.add_option("SHELL", *shell, "Shell; load what is printed in its start-up file")
        ->required()
        ->type_name("bash|zsh|fish")
        ->check(CLI::Validator(check, ""));
    onRun(command, context, [&context, shell] { return printScript(context, *shell); });

    auto& candidates = *program.add_subcommand("__complete", "Candidates for the last word")->group("");
    auto const words = std::make_shared<std::vector<std::string>>();
    candidates.add_option("WORD", *words, "Words so far");
    onRun(candidates, context,
        [&context, &program, words] { return printCompletions(context, program, *words); });
}

}  // namespace harbor::cli
