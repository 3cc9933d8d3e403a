#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""makeScenarioPage.py MARKDOWN VERSION FOLDER: the manual page paserver-scenario(5), from the section
"Scenario files" of docs/simulator.md and the text in paserver-scenario.man."""
import re
import sys

from makeReference import handwritten, roff, write_page

NAME = "paserver-scenario"


def inline(text):
    """Text with `code` in bold."""
    plain_and_code = [part.replace("\\", "\\e").replace("-", "\\-") for part in text.split("`")]
    return "".join(rf"\fB{part}\fR" if place % 2 else part
                   for place, part in enumerate(plain_and_code))


def page(section, version):
    before, after = handwritten(NAME)
    out = [f'.TH {NAME.upper()} 5 "" "public-address {version}"', ".SH NAME",
           roff(f"{NAME} - station of a simulated public-address server"), before]
    for line in section.strip().splitlines():
        row = re.fullmatch(r"\| (.*?) \| *(.*?) *\|", line)
        if row and row[2]:
            out += [".TP", inline(row[1]), inline(row[2])]
        elif row:
            out.append(f".SS {roff(row[1])}")
        elif not re.fullmatch(r"\|[-|]+", line):
            out.append(inline(line) if line else ".PP")
    return "\n".join([*out, after]) + "\n"


def main():
    markdown, version, folder = sys.argv[1:4]
    with open(markdown, encoding="utf-8") as file:
        section = re.search(r"\n## Scenario files\n(.*?)(?=\n## |\Z)", file.read(), re.DOTALL)[1]
    write_page(folder, NAME, 5, page(section, version))


main()
