#include "describe.h"

#include <app/arguments/CommandLine.h>

#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

using monitor::CommandRow;
using monitor::OptionRow;
using monitor::ValueHints;
using Paths = ValueHints::Paths;

namespace
{

/// \a text within single quotes.
QString quoted(QString text)
{
    return '\'' + text.replace('\'', QLatin1String("'\\''")) + '\'';
}

/// The beginning of a help text, up to the first full stop, colon, semicolon or parenthesis.
QString brief(const QString& help, const Release& release)
{
    static const QRegularExpression end(QStringLiteral("[.:;] | \\(|\\.$"));
    return named(help.left(help.indexOf(end)), release);
}

/// The name of a shell function.
QString functionName(const Release& release)
{
    return '_' + QString(release.program).replace('-', '_');
}

QStringList commandNames()
{
    QStringList names;
    for (const CommandRow& row : monitor::commandRows())
        names += QLatin1String(row.name);
    return names;
}

/// The names of the commands that take the option.
QStringList commandsOf(const OptionRow& option)
{
    QStringList names;
    for (const CommandRow& row : monitor::commandRows()) {
        if (option.commands.testFlag(row.id))
            names += QLatin1String(row.name);
    }
    return names;
}

QString dashed(const OptionRow& option)
{
    return QStringLiteral("--") + QLatin1String(option.name);
}

/// The statements that complete "$cur" in bash. The variable is set by _init_completion.
QString bashAction(const ValueHints& hints)
{
    QString action;
    if (hints.mayHaveBus)
        action += QLatin1String("cur=${cur#*=}; ");
    if (hints.paths == Paths::Folders)
        action += QLatin1String("_filedir -d; ");
    if (hints.paths == Paths::Files)
        action += hints.endings.isEmpty()
                      ? QStringLiteral("_filedir; ")
                      : QStringLiteral("_filedir '@(%1)'; ").arg(hints.endings.join('|'));
    if (!hints.words.isEmpty())
        action += QStringLiteral("COMPREPLY+=($(compgen -W '%1' -- \"$cur\")); ")
                      .arg(hints.words.join(' '));
    return action;
}

/// The action of _arguments in zsh: ":MESSAGE:ACTION".
QString zshAction(const QString& valueName, const ValueHints& hints)
{
    QStringList actions;
    if (hints.paths == Paths::Folders)
        actions += QStringLiteral("_files -/");
    // A single word in parentheses would be a glob qualifier.
    const QString group = hints.endings.size() > 1 ? QStringLiteral("(%1)") : QStringLiteral("%1");
    if (hints.paths == Paths::Files)
        actions +=
            hints.endings.isEmpty()
                ? QStringLiteral("_files")
                : QStringLiteral("_files -g \"*.(#i)%1\"").arg(group.arg(hints.endings.join('|')));
    if (!hints.words.isEmpty())
        actions += QStringLiteral("compadd - ") + hints.words.join(' ');
    if (hints.mayHaveBus)
        actions.prepend(QStringLiteral("compset -P \"*=\""));
    QString message = valueName;
    message.replace(':', QLatin1String("\\:"));
    return ':' + message + ':' +
           (actions.isEmpty() ? QString(' ')
                              : QStringLiteral("{ %1 }").arg(actions.join(QStringLiteral("; "))));
}

/// \a text with brackets and colons escaped for zsh.
QString zshText(QString text)
{
    static const QRegularExpression special(QStringLiteral("([\\\\:\\[\\]])"));
    return text.replace(special, QStringLiteral("\\\\1"));
}

/// The arguments of fish's `complete` for a value.
QString fishAction(const ValueHints& hints, const QString& function)
{
    QStringList proposals = hints.words;
    if (hints.paths == Paths::Folders)
        proposals += QStringLiteral("(__fish_complete_directories)");
    if (hints.paths == Paths::Files && !hints.endings.isEmpty())
        proposals += QStringLiteral("(%1_files %2)").arg(function, hints.endings.join(' '));
    if (hints.paths == Paths::Files && hints.endings.isEmpty())
        return QStringLiteral(" -r -F");
    return proposals.isEmpty() ? QStringLiteral(" -x")
                               : QStringLiteral(" -x -a ") + quoted(proposals.join(' '));
}

} // namespace

QString bashCompletion(const Release& release)
{
    const QString function = functionName(release);
    const QString commands = commandNames().join(QStringLiteral(" "));
    QStringList actions;
    QMap<QString, QStringList> options; // with a value, by the action that completes it
    for (const OptionRow& option : monitor::optionRows()) {
        const QString action = bashAction(option.hints);
        if (!option.isFlag() && !options.contains(action))
            actions += action;
        if (!option.isFlag())
            options[action] += dashed(option);
    }
    QString values;
    for (const QString& action : actions)
        values +=
            QStringLiteral("        %1) %2return ;;\n").arg(options[action].join('|'), action);
    QString cases;
    for (const CommandRow& command : monitor::commandRows()) {
        QStringList taken;
        for (const OptionRow& option : monitor::optionRows()) {
            if (option.commands.testFlag(command.id))
                taken += dashed(option);
        }
        cases += QStringLiteral("        %1)\n            options='%2 --help'\n"
                                "            [[ $cur == -* ]] || { %3:; }\n            ;;\n")
                     .arg(QLatin1String(command.name), taken.join(' '), bashAction(command.hints));
    }
    return QStringLiteral(R"(# Completion of %1 for bash. Uses the functions of bash-completion.

%2()
{
    local cur prev words cword split word command='' options='--help --version'
    local COMP_FILEDIR_FALLBACK=1 # all files if no file has a usual extension
    _init_completion -s || return

    case $prev in
%4    esac
    $split && return

    for word in "${words[@]:1:cword-1}"; do
        case $word in
            %3) command=$word; break ;;
        esac
    done
    case $command in
        '') [[ $cur == -* ]] || COMPREPLY=($(compgen -W '%5' -- "$cur")) ;;
%6    esac
    [[ $cur != -* ]] || COMPREPLY=($(compgen -W "$options" -- "$cur"))
} &&
    complete -F %2 %1
)")
        .arg(release.program, function, QString(commands).replace(' ', '|'), values, commands,
             cases);
}

QString zshCompletion(const Release& release)
{
    QString descriptions;
    QString cases;
    for (const CommandRow& command : monitor::commandRows()) {
        const QString name = QLatin1String(command.name);
        descriptions +=
            QStringLiteral("        %1\n")
                .arg(quoted(name + ':' +
                            brief(QLatin1String(command.help), release).replace(':', "\\:")));
        cases +=
            QStringLiteral("                %1)\n                    _arguments \\\n").arg(name);
        for (const OptionRow& option : monitor::optionRows()) {
            if (!option.commands.testFlag(command.id))
                continue;
            const QString often =
                option.occurrence == monitor::Occurrence::AnyNumber ? QStringLiteral("*") : "";
            const QString value = option.isFlag()
                                      ? QString()
                                      : zshAction(QLatin1String(option.valueName), option.hints);
            cases += QStringLiteral("                        %1 \\\n")
                         .arg(quoted(often + dashed(option) + (option.isFlag() ? "" : "=") + '[' +
                                     zshText(brief(option.help, release)) + ']' + value));
        }
        const QString argument = QLatin1String(command.argument);
        cases += QStringLiteral("                        '(- *)'{-h,--help}'[Print the help]'");
        if (!argument.isEmpty())
            cases += " \\\n                        " +
                     quoted((argument == QLatin1String("FILE") ? "1" : "*") +
                            zshAction(QStringLiteral("FILE"), command.hints));
        cases += QStringLiteral("\n                    ;;\n");
    }
    return QStringLiteral(R"(#compdef %1
# Completion of %1 for zsh.

%2()
{
    local curcontext=$curcontext state line ret=1
    typeset -A opt_args
    local -a commands=(
%3    )
    _arguments -C \
        '(- *)'{-h,--help}'[Print the help]' \
        '(- *)--version[Print the version]' \
        '1:command:->command' \
        '*::argument:->argument' && ret=0
    case $state in
        command) _describe -t commands command commands && ret=0 ;;
        argument)
            curcontext=${curcontext%:*:*}:%1-$words[1]:
            case $words[1] in
%4            esac && ret=0
            ;;
    esac
    return ret
}

%2 "$@"
)")
        .arg(release.program, functionName(release), descriptions, cases);
}

QString fishCompletion(const Release& release)
{
    const QString function = '_' + functionName(release);
    const QString start = QStringLiteral("complete -c ") + release.program;
    QString rules;
    for (const CommandRow& command : monitor::commandRows()) {
        const QString name = QLatin1String(command.name);
        rules +=
            QStringLiteral("%1 -n %2_needs_command -a %3 -d %4\n")
                .arg(start, function, name, quoted(brief(QLatin1String(command.help), release)));
        if (*command.argument)
            rules += QStringLiteral("%1 -n '%2_has_command %3'%4\n")
                         .arg(start, function, name, fishAction(command.hints, function));
    }
    for (const OptionRow& option : monitor::optionRows())
        rules += QStringLiteral("%1 -n '%2_has_command %3' -l %4%5 -d %6\n")
                     .arg(start, function, commandsOf(option).join(' '), QLatin1String(option.name),
                          option.isFlag() ? QString() : fishAction(option.hints, function),
                          quoted(brief(option.help, release)));
    return QStringLiteral(R"(# Completion of %1 for fish.

# The first word on the command line that is a command.
function %2_command
    for word in (commandline -opc)[2..-1]
        if contains -- $word %3
            echo $word
            return
        end
    end
    return 1
end

function %2_needs_command
    not %2_command >/dev/null
end

function %2_has_command
    contains -- (%2_command) $argv
end

# The files with one of the extensions, and folders; all files if nothing matches.
function %2_files
    set -l files (complete -C "__fish_command_without_completions "(commandline -ct))
    string match -e -r -i -- '(?:\.(?:'(string join '|' $argv)')|/)$' $files
    or printf '%s\n' $files
end

complete -c %1 -f
complete -c %1 -s h -l help -d 'Print the help'
complete -c %1 -n %2_needs_command -l version -d 'Print the version'
)")
               .replace(QStringLiteral("%1"), release.program)
               .replace(QStringLiteral("%2"), function)
               .replace(QStringLiteral("%3"), commandNames().join(' ')) +
           rules;
}
