# Bash completion for the wendle command line.

_wendle() {
    local cur prev words cword
    _init_completion || return

    local commands="run models actions toggle"
    if [ "$cword" -eq 1 ]; then
        COMPREPLY=($(compgen -W "$commands --help --version" -- "$cur"))
        return
    fi

    case "$prev" in
        --provider)
            COMPREPLY=($(compgen -W "ollama lmstudio custom" -- "$cur"))
            return ;;
        --url | --model | --tone | --language)
            return ;;
    esac

    case "${words[1]}" in
        run)
            if [[ "$cur" == -* ]]; then
                COMPREPLY=($(compgen -W "--tone --language --raw --provider --url --model --help" -- "$cur"))
            else
                # The action names, as `wendle actions` lists them (number, tab, name).
                local IFS=$'\n'
                COMPREPLY=($(compgen -W "$(wendle actions 2>/dev/null | cut -f2)" -- "$cur"))
                COMPREPLY=("${COMPREPLY[@]// /\\ }")
            fi ;;
        models)
            COMPREPLY=($(compgen -W "--provider --url --help" -- "$cur")) ;;
        actions | toggle)
            COMPREPLY=($(compgen -W "--help" -- "$cur")) ;;
    esac
}
complete -F _wendle wendle
