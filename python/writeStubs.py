# SPDX-License-Identifier: Apache-2.0
"""writeStubs.py TEMPLATE STUBS: writes the stubs of the package, with the records as the module describes them."""
import enum
import inspect
import pathlib
import sys

import publicaddress


def enumeration(kind, indent=""):
    yield f"{indent}class {kind.__name__}(enum.IntEnum):"
    yield from (f"{indent}    {member.name} = {member.value}" for member in kind)


def record(kind):
    base = kind.__base__.__name__
    yield f"class {kind.__name__}({'_Record' if base == 'pybind11_object' else base}):"
    for name, value in vars(kind).items():
        if inspect.isclass(value):
            yield from enumeration(value, "    ")
        elif isinstance(value, property):
            yield f"    @property\n    def {name}(self) -> {value.__doc__}: ..."
            if value.fset:
                yield f"    @{name}.setter\n    def {name}(self, value: {value.__doc__}) -> None: ..."
        elif name == "__init__" and "**kwargs" in value.__doc__:
            yield "    def __init__(self, **members: Any) -> None: ..."
        elif name == "__bool__" or not name.startswith("_") and name != "as_dict":
            yield f"    def {signature(value)}: ..."


def signature(function):
    return function.__doc__.splitlines()[0].replace("publicaddress.", "").replace("List[", "list[")


def lines():
    for kind in vars(publicaddress).values():
        if inspect.isclass(kind) and issubclass(kind, enum.Enum):
            yield from enumeration(kind)
        elif hasattr(kind, "as_dict"):
            yield from record(kind)


template, stubs = (pathlib.Path(argument) for argument in sys.argv[1:])
stubs.write_text(template.read_text("utf-8").replace("# RECORDS", "\n".join(lines())), "utf-8")
