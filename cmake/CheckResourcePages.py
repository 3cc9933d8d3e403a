#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The pages of docs/resources/ name every call, operation, callback, event and text of an exception
that the code has, and no other, and each has all of its parts; the tests that docs/security.md names exist:
cmake/CheckResourcePages.py ROOT
"""
import re
import sys
from pathlib import Path

root = Path(sys.argv[1])


def read(*patterns):
    return "\n".join(path.read_text() for pattern in patterns for path in sorted(root.glob(pattern)))


def column(heading, places):  # of the tables below a heading of all pages
    cells = []
    for part in re.findall(rf"^## {heading}\n(.*?)(?=^## |\Z)", pages, re.M | re.S):
        rows = [row.split(" | ") for row in re.findall(r"^\| (.*) \|$", part, re.M)]
        cells += [row[place] for row in rows for place in places if place < len(row)]
    return " ".join(cells)


def functions(headers):  # the public ones by their declarations, without getters of a message
    text = re.sub(r"^private:.*?^};", "", read(*headers), flags=re.M | re.S)
    return set(re.findall(r"^ *(?!return)[\w:<>,&*\[\] ]*[\w>&*\]] [&*]?([a-z]\w*)\((?!\))?", text, re.M))


pages = read("docs/resources/*.md")
# Those of the whole controller and of a template, not of a resource.
general = {"threadFunction", "registerObserver", "initPaResources", "deleteAudioVideoControllerInfo", "waitUntil"}
calls = functions([f"resource/common/Pa{each}.h" for each in ("Source", "Sink", "Zone")] + [
    "sdk/PAController.h", "client/confirmedOperations.h", "client/schedules.h", "client/Preview.h",
    "client/Announcement.h", "client/checkMessage.h"]) - general
message = functions(["sdk/Message.h"])
calls |= {each for each in message if not each.startswith(("get", "operator"))}
texts = re.sub(r'"\s*\n\s*"', "", read("sdk/**/*.cpp"))
checks = " ".join(re.findall(r"(?:\brequire(?:Type)?(?:<[\w:]+>)?\(|throw )[^;]*;", texts))
thrown = set(re.findall(r'"((?:[^"\\]|\\.)*)"', checks))
thrown |= {text for name, text in re.findall(r'constexpr char (\w+)\[\] = "(.*)"', texts)
           if re.search(rf"\b{name}\b", checks)}
errors = {text.removesuffix(" >N<") for text in re.findall(r"`([^`]+)`", column("Errors", [0]))}

faults = 0
for what, code, described in (
        ("call", calls, set(re.findall(r"`(\w+)\(\)`", column("Calls", [0])))),
        ("operation", {"/".join(each) for each in re.findall(r"\{(\d+), (\d+)\};", read("sdk/operations.h"))},
         set(re.findall(r"\d+/\d+", column("Calls", [2])))),
        ("callback", set(re.findall(r"virtual void (on\w+)\(", read("sdk/PAControllerObserver.h"))),
         set(re.findall(r"`(on\w+)`", column("Callbacks and events", [1])))),
        ("event", set(re.findall(r"^ +([A-Z_]+_(?:UPDATED|DELETED)) =", read("framework/eventQueue.h"), re.M)),
         set(re.findall(r"`([A-Z_]+)`", column("Callbacks and events", [2])))),
        ("text of an exception", thrown, errors)):
    if not code:
        print(f"no {what} in the code")
        faults += 1
    for name in sorted(code ^ described):
        print(f"{what} {'without a place on the pages' if name in code else 'that is not in the code'}: {name}")
        faults += 1
for page in sorted(root.glob("docs/resources/*.md")):
    for part in ("^Columns: ", "^## Calls$", "^## Callbacks and events$", "^## Errors$", "^```msc$"):
        if not re.search(part, page.read_text(), re.M):
            print(f"{page.name}: nothing that matches {part}")
            faults += 1
tests = read("tests/**/*_test.cpp")
named = re.findall(r"`(\w+)(?:\.(\w+))?`", " ".join(re.findall(r"\| ([^|]*) \|$", read("docs/security.md"), re.M)))
for suite, name in named:
    if suite[0].isupper() and not re.search(rf"TEST\w*\({suite}, {name or ''}", tests):
        print(f"test that is not in the code: {suite}.{name}")
        faults += 1
sys.exit(faults > 0 or not named)
