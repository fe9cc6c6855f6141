# fish completion for ptzctl, which says itself what may come next. fish quotes the words.
function __ptzctl_complete
    set -l typed (commandline -opc)
    set -l current (commandline -ct)
    set -l answers (ptzctl --complete $typed[2..-1] (string unescape -- "$current") 2>/dev/null)
    if [ "$answers[1]" = files ]
        __fish_complete_path $current
    else
        printf '%s\n' $answers[2..-1]
    end
end
complete -c ptzctl -f -a '(__ptzctl_complete)'
