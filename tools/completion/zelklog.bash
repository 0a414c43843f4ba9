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
    --cursor-file | --input)
        _filedir
        return ;;
    --time-style | --date-style)
        COMPREPLY=($(compgen -W "full long medium short none" -- "$cur"))
        return ;;
    --format)
        COMPREPLY=($(compgen -W "0x10004 0x10005 0x10006 0x10007 0x10008" -- "$cur"))
        return ;;
    --since | --until | --locale | --tz | --flags | -g | --grep | -n | --lines | --header | --parse | --zone)
        return ;;
    esac

    local options
    case $command in
    "") COMPREPLY=($(compgen -W "$commands --help --version" -- "$cur")); return ;;
    query) options="--output -o --file-order --flags --locale --log-dir --format-resource --tz
                    --since --until --grep -g --ignore-case -i --lines -n --follow -f
                    --cursor-file --message --no-pager --no-color --help" ;;
    verify) options="--log-dir --no-pager --no-color --help" ;;
    products | originators) options="--output -o --help" ;;
    id) options="--product --originator --file --output -o --help" ;;
    config)
        # config ACTION SETTING ...
        local action="" setting="" j
        for ((j = i + 1; j < cword; j++)); do
            case ${words[j]} in
            -*) ;;
            *) if [[ -z $action ]]; then action=${words[j]}; elif [[ -z $setting ]]; then setting=${words[j]}; fi ;;
            esac
        done
        if [[ -z $action ]]; then
            options="get set remove --help"
        elif [[ -z $setting ]]; then
            case $action in
            remove) options="product originator logset --yes -y --help" ;;
            *) options="jvm-path tools-dir setting --help" ;;
            esac
        else
            options="--yes -y --help"
        fi ;;
    write) options="--create --format --header --input --help"
        [[ $cur != -* ]] && { _filedir; return; } ;;
    date) options="--parse --locale --time-style --date-style --zone --help" ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
}
complete -F _zelklog zelklog
