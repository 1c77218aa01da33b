#compdef labctl
# Completes labctl's command lines in zsh. labctl itself knows what may come next; files and folders zsh knows.
#
# usage: source <(labctl completion zsh), or this as a file _labctl in a folder of $fpath

_labctl() {
    local line
    local -a candidates
    while IFS= read -r line; do
        case $line in
        //) _files -/ ;;
        /) _files ;;
        *) candidates+=("$line") ;;
        esac
    done < <("${words[1]}" --complete "${(@)words[2,CURRENT]}" 2>/dev/null)
    ((${#candidates})) && compadd -a candidates
}

# In a folder of $fpath this file is the function's first call; sourced, it only makes the function known.
if [[ ${funcstack[1]} == _labctl ]]; then
    _labctl "$@"
else
    compdef _labctl labctl
fi
