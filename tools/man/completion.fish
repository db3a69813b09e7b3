# fish completion of pkider: its verbs and options are those that --help shows.

# The words of a section of --help, and their texts: SECTION [VERB]...
function __pkider_entries
    command pkider $argv[2..] --help 2>/dev/null | awk -v title="$argv[1]:" '
        function tell() { if (name != "") print name "\t" text; name = "" }
        /^[^ ]/ { tell(); wanted = $0 == title }
        wanted && /^  [^ ]/ { tell(); name = $1; sub(/.*,/, "", name); text = substr($0, 31) }
        wanted && /^          / { text = $0; sub(/^ */, "", text) }
        END { tell() }'
end

function __pkider_complete
    set -l words (commandline -opc)
    set -l verb
    for word in $words[2..]
        __pkider_entries Subcommands $verb | string match -q -- $word\t\* || break
        set -a verb $word
    end
    if string match -q -- '--*password-env' $words[-1]
        set -nx
    else if string match -q -- '-*' (commandline -ct)
        __pkider_entries Options $verb
    else
        set -l verbs (__pkider_entries Subcommands $verb)
        set -q verbs[1] && printf '%s\n' $verbs || __fish_complete_path (commandline -ct)
    end
end

complete -c pkider -f -a '(__pkider_complete)'
