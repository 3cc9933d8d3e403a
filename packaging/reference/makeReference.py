#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""makeReference.py PROGRAM SECTION FOLDER [--completion] [--tool WORD]...: the manual page of a
program, from what its --help prints and the text in PROGRAM.man; the completion of its command line
in bash and zsh. A tool is a command with options of its own only, which the help need not list."""
import argparse
import gzip
import os
import re
import subprocess
import sys

FILES = ("FILE", "WAV", "DIR", "PATH")  # kinds of values that are completed as paths
# No user's own settings and width.
ENVIRONMENT = {"HOME": "~", "PATH": "/usr/bin:/bin", "COLUMNS": "200", "LC_ALL": "C.UTF-8"}


class Command:
    """A command as its help describes it: sections of entries, each a head and its explanation."""

    def __init__(self, program, path, tools=()):
        self.path = path
        output = subprocess.run([program, *path, "--help"], env=ENVIRONMENT, check=True,
                                stdout=subprocess.PIPE, text=True).stdout
        self.about, self.usage, self.sections, self.rest = "", "", {}, ""
        section = None
        # A group of options is indented; its options follow the others.
        output = re.sub(r"(?m)^\[Option Group: .*\]\n((?:  .*\n)+)",
                        lambda group: re.sub("(?m)^  ", "", group[1]), output)
        for line in output.splitlines():
            if match := re.fullmatch(r"(Options|Positionals|Commands|Subcommands):", line):
                section = self.sections.setdefault(match[1].replace("Sub", "").capitalize(), [])
            elif line.startswith("Usage: "):
                self.usage = line[len("Usage: "):]
            elif not line.strip():
                continue
            elif not self.usage:
                self.about = (self.about + " " + line).strip()
            elif section is None or not line.startswith(" "):
                section = None
                self.rest += line.strip() + " "
            elif re.match(r"  \S", line):
                head, _, text = line.strip().partition("  ")
                if not text and (match := re.match(r"(.{30,}?) ([A-Z].*)", head)) and self.is_split(match):
                    head, text = match.groups()
                section.append([head, text.strip()])
            else:
                section[-1][1] = (section[-1][1] + " " + line.strip()).strip()
        self.commands = [Command(program, [*path, head.split()[0]])
                         for head, _ in self.sections.get("Commands", [])]
        self.tools = [Command(program, [word]) for word in tools]
        for tool in self.tools:
            self.sections.setdefault("Commands", []).append([tool.path[0], tool.about])

    @staticmethod
    def is_split(match):
        return not re.match(r"(Excludes|Needs|REQUIRED)", match[2])

    def options(self):
        """Name, kind of the value (empty for a flag) and explanation of each option."""
        for head, text in self.sections.get("Options", []):
            names, _, value = head.partition(" ")
            kind = re.sub(r"(REQUIRED|Excludes:.*|Needs:.*|\(Env:.*?\)|\.\.\.)", "", value).strip()
            for name in names.split(","):
                yield name, kind, text

    def choices(self):
        """What a positional may be, where the help lists it."""
        return [word for head, _ in self.sections.get("Positionals", [])
                for match in re.findall(r"\{(.*?)\}", head) for word in match.split(",")]

    def all(self):
        yield self
        for command in self.commands + self.tools:
            yield from command.all()


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in (".", "'") else text


# The parser's notation, in a head of its help or at its end, and what it means.
NOTATION = (
    (r":\{(.*?)\}", "One of {}."),
    (r":(?:INT|FLOAT) in \[(.*?) - (.*?)\]", "From {} to {}."),
    (r":(POSITIVE)", "1 or more."),
    (r" \(Env:(.*?)\)", "Default: the environment variable {}."),
    (r" Excludes:((?: [\w-]+(?![\w:-]))+)", "Not with {}."),
    (r" Needs:((?: [\w-]+(?![\w:-]))+)", "Only with {}."),
    (r" (REQUIRED)", "Required."),
    (r"=(\S+)$", "Default: {}."),
)
UNBOUNDED = "2147483647"


def readable(head, text):
    """A head without the parser's notation, and the explanation with what that adds to it."""
    remarks = []
    head = re.sub(r"\d+(?:\.\d+)?e\+\d+", lambda number: f"{float(number[0]):.0f}", head)
    for pattern, meaning in NOTATION:
        if match := re.search(pattern, head):
            head = head.replace(match[0], "", 1)
            found = [re.split(r"[ ,]+", group.strip()) for group in match.groups()]
            if found[-1] == [UNBOUNDED]:
                meaning = "{} or more."
            if not all(re.search(rf"(?<![\w.]){re.escape(word)}(?!\w)", text)
                       for words in found for word in words):  # which the text need not repeat
                remarks.append(meaning.format(*(", ".join(words) for words in found)))
    head = re.sub(r" U?INT\b", " N", re.sub(r" FLOAT\b", " NUMBER", head)).replace(",-", ", -")
    return head, " ".join([text + "." * (text[-1:] != "."), *remarks])


def entries(rows, out):
    for row in rows:
        head, text = readable(*row)
        out += [".TP", ".B " + roff(head), roff(text)]


def exit_statuses(root):
    """The rows of "Exit codes: 0 done, 1 usage, ..." at the end of a help."""
    if match := re.search(r"Exit codes: (.*)", root.rest.strip()):
        return [(number, text[:1].upper() + text[1:])
                for number, text in re.findall(r"(\d+) (.+?)(?:, (?=\d)|$)", match[1])]
    return []


def handwritten(name):
    """DESCRIPTION, and the sections that follow the options."""
    with open(os.path.join(os.path.dirname(__file__), name + ".man"), encoding="utf-8") as file:
        before, section, after = file.read().rstrip("\n").partition("\n.SH ")
    return before, (section + after).lstrip("\n")


def manual(root, name, section, version):
    before, after = handwritten(name)
    out = [f'.TH {name.upper()} {section} "" "public-address {version}"', ".SH NAME",
           f"{name} \\- {roff(root.about[:1].lower() + root.about[1:].rstrip('.'))}",
           ".SH SYNOPSIS", ".B " + roff(root.usage)]
    for tool in root.tools:
        for command in list(tool.all())[1:] or [tool]:
            out += [".br", ".B " + roff(command.usage)]
    out.append(before)
    for title in ("Positionals", "Commands", "Options"):
        if rows := root.sections.get(title, []):
            out.append(".SH " + title.upper())
            entries(rows, out)
    for command in list(root.all())[1:]:
        out += [f'.SS "{name} {" ".join(command.path)}"', roff(command.about), ".PP",
                ".I " + roff(command.usage)]
        entries([row for title in ("Positionals", "Commands", "Options")
                 for row in command.sections.get(title, []) if not row[0].startswith("-h,")], out)
    if statuses := exit_statuses(root):
        out.append(".SH EXIT STATUS")
        entries(statuses, out)
    return "\n".join([*out, after]) + "\n"


def shell_table(root, name):
    """Lines of the two shells' associative arrays: words and values by the path of a command."""
    words, values = [], []
    everywhere = [option for option, _, _ in root.options()]  # also after a command, not after a tool
    of_tools = [command for tool in root.tools for command in tool.all()]
    for command in root.all():
        path = " ".join([name, *command.path])
        choices = [head.split()[0] for head, _ in command.sections.get("Commands", [])]
        choices += command.choices() + [option for option, _, _ in command.options()]
        if command not in of_tools:
            choices += [option for option in everywhere if option not in choices]
        words.append(f'    ["{path}"]="{" ".join(choices)}"')
        for option, kind, _ in command.options():
            if kind:
                listed = re.findall(r"\{(.*?)\}", kind)
                what = listed[0].replace(",", " ") if listed else (
                    "@files" if re.split(r"[^A-Z]", kind)[0] in FILES else "@text")
                values.append(f'    ["{path} {option}"]="{what}"')
    return words, values


# Finds the command that the words before the cursor name, or the option whose value comes next; and
# what is offered there: options where there is nothing else, or after a dash.
WALK = """
local place=%(name)s value="" word offered i
for ((i = 1; i < last; i++)); do
    word=${line[i]}
    if [ -n "$value" ]; then
        value=""
    elif [ "${word#-}" != "$word" ]; then
        value=${value_of[$place $word]-${value_of[%(name)s $word]-}}
    elif [ -n "${words_of[$place $word]-}" ]; then
        place="$place $word"
    fi
done
word=${line[last]-}
offered=${words_of[$place]-}
case $word${offered%%%% -*} in
    -*) ;;
    *) offered=${offered%%%% -*} ;;
esac
"""
BASH = """
# Completion of the command line of %(name)s, made from its help.
_%(name)s() {
local -A words_of=(
%(words)s
)
local -A value_of=(
%(values)s
)
local line=("${COMP_WORDS[@]}") last=$COMP_CWORD
%(walk)s
case $value in
    @files) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    @text) COMPREPLY=() ;;
    ?*) mapfile -t COMPREPLY < <(compgen -W "$value" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$offered" -- "$word") ;;
esac
}
complete -F _%(name)s %(name)s
"""
ZSH = """
#compdef %(name)s
# Completion of the command line of %(name)s, made from its help.
emulate -L zsh
setopt ksh_arrays
local -A words_of value_of
words_of=(
%(words)s
)
value_of=(
%(values)s
)
local line=("${words[@]}") last=$((CURRENT - 1))
%(walk)s
case $value in
    @files) _files ;;
    @text) _message 'a value' ;;
    ?*) compadd -- ${(s: :)value} ;;
    *) compadd -- ${(s: :)offered} ;;
esac
"""


def completion(root, name, template):
    words, values = shell_table(root, name)
    if template is ZSH:  # a list of pairs
        words, values = ([re.sub(r'\["(.*?)"\]=', r'"\1" ', line) for line in lines]
                         for lines in (words, values))
    return template.lstrip() % {"name": name, "words": "\n".join(words),
                                "values": "\n".join(values),
                                "walk": WALK.strip() % {"name": name}}


def write_page(folder, name, section, text):
    os.makedirs(folder, exist_ok=True)
    with open(f"{folder}/{name}.{section}.gz", "wb") as file:
        file.write(gzip.compress(text.encode(), mtime=0))


def main():
    parser = argparse.ArgumentParser()
    for word in ("program", "section", "folder"):
        parser.add_argument(word)
    parser.add_argument("--completion", action="store_true")
    parser.add_argument("--tool", action="append", default=[])
    given = parser.parse_args()
    name = os.path.basename(given.program)
    version = subprocess.run([given.program, "--version"], check=True, stdout=subprocess.PIPE,
                             text=True).stdout.split()[-1]
    root = Command(given.program, [], given.tool)
    write_page(given.folder, name, given.section, manual(root, name, given.section, version))
    if given.completion:
        for template, file_name in ((BASH, name), (ZSH, "_" + name)):
            with open(f"{given.folder}/{file_name}", "w", encoding="utf-8") as file:
                file.write(completion(root, name, template))


if __name__ == "__main__":
    main()
