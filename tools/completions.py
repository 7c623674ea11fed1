#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes what a shell completes for a program, from what the program says to --help.

    completions.py bash|zsh PROGRAM [WORD...]

WORDs are the program's words that have a --help of their own. An option whose value is one of several (A|B) is completed
to them, any other value to files.
"""
import pathlib
import re
import subprocess
import sys

LICENCE = "# SPDX-License-Identifier: " + "Apache-2.0"
OPTION = re.compile(r"^  (?:(-\w),)?(--[\w-]+)(?: (?!Needs:|Excludes:)([^ ]+))?(?: REQUIRED)?(?: (?:Needs|Excludes): [^ ]+)*(?:  +(.*))?$")


def options_of(program, words):
    """{option: (values, or None where it takes none, and its line of help)}"""
    text = subprocess.run([program, *words, "--help"], check=True, capture_output=True, text=True).stdout
    lines = text[text.index("\nOptions:"):].splitlines()
    found = {}
    for line, following in zip(lines, lines[1:] + [""]):
        if match := OPTION.match(line):
            _, name, value, help_text = match.groups()
            choices = None if value is None else [c for c in value.split("=")[0].split("|") if not c.isupper()] if "|" in value else []
            found[name] = (choices, help_text or following.strip())
    return found


def bash(name, programs):
    print(LICENCE)
    print(f"_{name.replace('-', '_')}() {{")
    print('  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} options')
    print("  case $prev in")
    valued = {o: c for options in programs.values() for o, (c, _) in options.items() if c}
    for option, choices in valued.items():
        print(f'    {option}) COMPREPLY=($(compgen -W "{" ".join(choices)}" -- "$cur")); return ;;')
    print("  esac")
    print("  case ${COMP_WORDS[1]} in")
    for word, options in programs.items():
        if word:
            print(f'    {word}) options="{" ".join(options)}" ;;')
    print(f'    *) options="{" ".join(programs[""])}" ;;')
    print("  esac")
    words = " ".join(word for word in programs if word)
    print("  if [[ $cur == -* ]]; then")
    print('    COMPREPLY=($(compgen -W "$options" -- "$cur"))')
    print("  else")
    print('    COMPREPLY=($(compgen -f -- "$cur"))')
    if words:
        print(f'    [[ $COMP_CWORD != 1 ]] || COMPREPLY+=($(compgen -W "{words}" -- "$cur"))')
    print("  fi\n}")
    print(f"complete -o filenames -F _{name.replace('-', '_')} {name}")


def quoted(text):
    return re.sub(r"([\[\]:'\\])", r"\\\1", text).replace("\\'", "'\\''")


def zsh(name, programs):
    print(f"#compdef {name}")
    print(LICENCE)
    print("case $words[2] in")
    for word, options in sorted(programs.items(), reverse=True):  # the program's own last
        print(f"  {word or '*'})\n    _arguments \\")
        for option, (choices, help_text) in options.items():
            value = "" if choices is None else f":value:({' '.join(choices)})" if choices else ":value:_files"
            print(f"      '{option}[{quoted(help_text)}]{value}' \\")
        words = "" if word else " ".join(other for other in programs if other)
        print(f"      '1: :{{_alternative \"words:word:({words})\" \"files:file:_files\"}}' \\" if words
              else "      '1::file:_files' \\")
        print("      '*:file:_files' ;;")
    print("esac")


def main():
    shell, program, *words = sys.argv[1:]
    programs = {"": options_of(program, [])} | {word: options_of(program, [word]) for word in words}
    {"bash": bash, "zsh": zsh}[shell](pathlib.Path(program).name, programs)


main()
