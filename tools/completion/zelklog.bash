# bash completion for zelklog
_zelklog()
{
    local cur prev words cword
    _init_completion || return

    local commands="query verify products originators id config write date"
    local command="" i
    for ((i = 1; i < cword; i++)); do
        case ${words[i]} in
        -*) ;;
        *) command=${words[i]}; break ;;
        esac
    done

    case $prev in
    -o | --output)
        case $command in
        query) COMPREPLY=($(compgen -W "text cat json raw export" -- "$cur")) ;;
        *) COMPREPLY=($(compgen -W "table json" -- "$cur")) ;;
        esac
        return ;;
    --log-dir | --format-resource)
        _filedir -d
        return ;;
    --cursor-file)
        _filedir
        return ;;
    --format)
        COMPREPLY=($(compgen -W "0x10004 0x10005 0x10006 0x10007 0x10008" -- "$cur"))
        return ;;
    --since | --until | --locale | --tz | --flags | -g | --grep | -n | --header)
        return ;;
    esac

    local options
    case $command in
    "") COMPREPLY=($(compgen -W "$commands --help --version" -- "$cur")); return ;;
    query) options="--output -o --file-order --flags --locale --log-dir --format-resource --tz
                    --since --until --grep -g -i -n --follow -f --cursor-file --no-pager --help" ;;
    verify) options="--log-dir --help" ;;
    products | originators) options="--output -o --help" ;;
    id) options="--product --originator --file --help" ;;
    config) options="get set remove --yes --help" ;;
    write) options="--create --format --header --help"
        [[ $cur != -* ]] && { _filedir; return; } ;;
    date) options="--locale --tz --help" ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
}
complete -F _zelklog zelklog
