# Completion of larder in fish. The program itself knows what may come next.

function __larder_candidates
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l program (string replace -r '^~/' "$HOME/" -- $words[1])
    set -e words[1]
    $program complete -- $words "$(string unescape -- $current; or echo $current)" 2>/dev/null
end

function __larder_completes_paths
    test "$(__larder_candidates | head -n 1)" = paths
end

function __larder_words
    set -l lines (__larder_candidates)
    set -e lines[1]
    printf '%s\n' $lines
end

# Without -f, fish completes paths.
complete -c larder -n 'not __larder_completes_paths' -f -a '(__larder_words)'
