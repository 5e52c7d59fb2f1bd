#include "completion.h"

#include "functions.h"
#include "screen.h"

namespace tool {

namespace {

std::string Joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

std::vector<std::string> Names(const std::vector<CommandName>& commands) {
    std::vector<std::string> names;
    names.reserve(commands.size());
    for (const CommandName& command : commands) {
        names.push_back(command.name);
    }
    return names;
}

std::vector<std::string> FunctionNames() {
    std::vector<std::string> names;
    for (const Function& function : Functions()) {
        names.emplace_back(function.name);
    }
    return names;
}

// The words that may follow a command: its options, and for "chamar" the functions, for "completar" the
// shells.
std::string WordsOf(const CommandName& command, const char* between) {
    std::vector<std::string> words = command.options;
    if (command.name == "chamar") {
        for (const std::string& name : FunctionNames())
            words.push_back(name);
    }
    if (command.name == "completar") words.insert(words.end(), {"bash", "zsh", "powershell"});
    return Joined(words, between);
}

std::string BashScript(const std::vector<CommandName>& commands) {
    std::string script =
        "# zantir completar bash\n_zantir() {\n"
        "    local word=${COMP_WORDS[COMP_CWORD]} command= at\n"
        "    for ((at = 1; at < COMP_CWORD; at++)); do\n"
        "        case ${COMP_WORDS[at]} in\n";
    script += "            " + Joined(Names(commands), "|") + ") command=${COMP_WORDS[at]}; break ;;\n";
    script += "        esac\n    done\n    local words\n    case $command in\n";
    for (const CommandName& command : commands) {
        script += "        " + command.name + ") words=\"" + WordsOf(command, " ") + "\" ;;\n";
    }
    script += "        *) words=\"" + Joined(Names(commands), " ") + "\" ;;\n    esac\n";
    return script +
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n}\n"
           "complete -o default -F _zantir zantir\n";
}

// Quotes as zsh and PowerShell take them inside '...'.
std::string Quoted(const std::string& text, const char* quote) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string(quote) : std::string(1, c);
    }
    return quoted + "'";
}

std::string ZshScript(const std::vector<CommandName>& commands) {
    std::string script = "#compdef zantir\n_zantir() {\n    local -a commands=(\n";
    for (const CommandName& command : commands) {
        script += "        " + Quoted(command.name + ":" + command.description, "'\\''") + "\n";
    }
    script +=
        "    )\n    if ((CURRENT == 2)); then\n        _describe 'zantir' commands\n        return\n    fi\n"
        "    case $words[2] in\n";
    for (const CommandName& command : commands) {
        script += "        " + command.name + ") compadd -- " + WordsOf(command, " ") + " ;;\n";
    }
    return script + "    esac\n    _files\n}\ncompdef _zantir zantir\n";
}

std::string PowerShellScript(const std::vector<CommandName>& commands) {
    std::string script =
        "# zantir completar powershell | Out-String | Invoke-Expression\n"
        "Register-ArgumentCompleter -Native -CommandName zantir, zantir.exe -ScriptBlock {\n"
        "    param($word, $ast, $position)\n    $words = @{\n";
    for (const CommandName& command : commands) {
        script += "        " + Quoted(command.name, "''") + " = '" + WordsOf(command, "','") + "'\n";
    }
    // A comma-separated list of quoted words is an array.
    script += "    }\n    $names = '" + Joined(Names(commands), "','") + "'\n";
    return script +
           "    $command = $ast.CommandElements | Select-Object -Skip 1 |\n"
           "        Where-Object { $names -contains $_.ToString() } | Select-Object -First 1\n"
           "    $list = if ($command) { $words[$command.ToString()] } else { $names }\n"
           "    $list | Where-Object { $_ -like \"$word*\" } |\n"
           "        ForEach-Object { [System.Management.Automation.CompletionResult]::new($_) }\n}\n";
}

}  // namespace

std::string CompletionScript(const std::string& shell, const std::vector<CommandName>& commands) {
    if (shell == "bash") return BashScript(commands);
    if (shell == "zsh") return ZshScript(commands);
    if (shell == "powershell") return PowerShellScript(commands);
    return "";
}

int ShowCompletion(const std::string& shell, const std::vector<CommandName>& commands) {
    ShowLine(CompletionScript(shell, commands));
    return EXIT_OK;
}

}  // namespace tool
