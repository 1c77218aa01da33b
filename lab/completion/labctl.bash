# Completes labctl's command lines in bash. labctl itself knows what may come next; files and folders bash knows.
#
# usage: source <(labctl completion bash)

_labctl() {
    local word=${COMP_WORDS[COMP_CWORD]} line
    COMPREPLY=()
    while IFS= read -r line; do
        case $line in
        //) mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -d -- "$word") ;;
        /) mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$word") ;;
        *) COMPREPLY+=("$(printf '%q' "$line")") ;;
        esac
    done < <("${COMP_WORDS[0]}" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -F _labctl labctl
