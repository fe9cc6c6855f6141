#!/usr/bin/python3
"""Usage: type_in_shell.py bash|zsh|fish FOLDER LINE...

Types lines into an interactive shell with the completion of ptzctl that is in FOLDER, and prints what the terminal shows.
"\\t" is the key that completes.
"""
import os
import pty
import sys
import tempfile

SHELLS = {
    "bash": ("bash --noprofile --norc -i", "source {}/ptzctl"),
    "zsh": ("zsh -f -i", "fpath=({} $fpath); autoload -U compinit; compinit -D -u"),
    "fish": ("fish --no-config -i", "source {}/ptzctl.fish"),
}
shell, folder, *lines = sys.argv[1:]
command, first = SHELLS[shell]
with tempfile.TemporaryDirectory() as home:
    pid, terminal = pty.fork()
    if pid == 0:
        os.chdir(home)
        os.environ.update(HOME=home, XDG_CONFIG_HOME=home, XDG_DATA_HOME=home, TERM="dumb")
        os.execvp(shell, command.split())
    for line in [first.format(folder), *lines, "exit"]:
        os.write(terminal, line.replace("\\t", "\t").encode() + b"\r")
    try:
        while shown := os.read(terminal, 4096):
            sys.stdout.buffer.write(shown)
    except OSError:  # the shell has gone
        os.waitpid(pid, 0)
