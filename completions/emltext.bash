# Completion of emltext for bash. Loaded by bash-completion, or by `source`.

_emltext() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    # In "--option=value" bash takes "=" for a word of its own.
    if [[ $word == '=' ]]; then
        word=
    elif [[ $before == '=' && COMP_CWORD -ge 2 ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $before in
    --charset)
        mapfile -t COMPREPLY < <(compgen -W 'UTF-8 UTF-16 UTF-16LE UTF-16BE UTF-32 ISO-8859-1
            ISO-8859-15 windows-1252 Shift_JIS EUC-JP ISO-2022-JP EUC-KR GB18030 Big5' -- "$word")
        return
        ;;
    --newline)
        mapfile -t COMPREPLY < <(compgen -W 'lf crlf cr' -- "$word")
        return
        ;;
    --language)
        mapfile -t COMPREPLY < <(compgen -W 'en ko cn tw jp' -- "$word")
        return
        ;;
    --max-output | --max-unpacked | --memory)
        mapfile -t COMPREPLY < <(compgen -W '64M 256M 1G 4G' -- "$word")
        return
        ;;
    --jobs | -j | --timeout | --max-ratio | --max-parts | --max-depth)
        return
        ;;
    esac
    if [[ $word == -* && $before != --output && $before != -o && $before != --files-from &&
        $before != --resume ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--all --charset --files-from --help --jobs --jsonl
            --language --log --max-depth --max-output --max-parts --max-ratio --max-unpacked --memory
            --newline --no-attachments --no-labels --no-sandbox --null --output --quiet --resume
            --sandbox --timeout --verbose --version -0 -h -j -o -q -v' -- "$word")
        return
    fi
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

complete -F _emltext emltext
