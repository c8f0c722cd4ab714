"""The layout of the program's classes as the compiler itself prints it."""
import functools
import re
import subprocess

from .product import CHECKOUT

COMPILER = ["g++", "-std=c++20", f"-I{CHECKOUT}/src", f"-I{CHECKOUT}/thbase", "-x", "c++", "-"]
STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"


def compile_headers(headers, *options):
    """Compiles a source that includes the headers; gives what the compiler prints."""
    source = "".join(f'#include "{header}"\n' for header in headers)
    return subprocess.run([*COMPILER, *options], input=source, capture_output=True, text=True, check=True,
                          timeout=120).stdout


@functools.cache
def slots(header):
    """Class to the operations in its table as Class::Operation, in the order of their slots; None for a pure
    one."""
    dump = compile_headers([header], "-fsyntax-only", "-fdump-lang-class=/dev/stdout")
    tables = {}
    for table in re.finditer(r"^Vtable for (\w+)\n.*\n((?:\d+ .*\n)+)", dump, re.MULTILINE):
        entries = re.findall(r"^\d+ +(.*)$", table[2], re.MULTILINE)[2:]  # after offset and type
        names = [re.sub(r"^\(int \(\*\)\(\.\.\.\)\)", "", entry) for entry in entries]
        tables[table[1]] = [None if name in ("0", "__cxa_pure_virtual") else name for name in names]
    return tables


def plain(name):
    """A type's name without what the standard library adds to it."""
    name = name.replace(STRING, "string")
    container = re.match(r"(map|multimap|set|vector)<", name)
    if not container:
        return name
    arguments, depth, start = [], 0, container.end()
    for place in range(start, len(name)):
        depth += {"<": 1, ">": -1}.get(name[place], 0)
        if depth < 0 or depth == 0 and name[place] == ",":
            arguments.append(name[start:place].strip())
            start = place + 1
    count = 2 if "map" in container[1] else 1
    return f"{container[1]}<{', '.join(arguments[:count])}>"


class DebugInformation:
    """The types that a compiled file describes."""

    def __init__(self, path):
        self.entries, self.order = {}, []
        dump = subprocess.run(["readelf", "--debug-dump=info", "--wide", str(path)], capture_output=True,
                              text=True, check=True, timeout=120).stdout
        for line in dump.splitlines():
            begun = re.match(r" *<(\w+)><(\w+)>: Abbrev Number: \d+ \((\w+)\)", line)
            if begun:
                self.order.append({"depth": int(begun[1], 16), "tag": begun[3]})
                self.entries[begun[2]] = self.order[-1]
                continue
            # The value stands after its encoding.
            attribute = re.match(r" *<\w+> +DW_AT_(\w+) *: *(?:\([^)]*\):? )*(.*)", line)
            if attribute and self.order:
                self.order[-1].setdefault(attribute[1], attribute[2].strip())

    def name_of(self, reference):
        entry = self.entries[re.match(r"<0x(\w+)>", reference)[1]]
        name = entry.get("name", "")
        if entry["tag"] == "DW_TAG_pointer_type":
            return self.name_of(entry["type"]) + "*"
        if entry["tag"] == "DW_TAG_array_type":
            return self.name_of(entry["type"]) + "[]"
        if entry["tag"] == "DW_TAG_typedef" and name != "string" and "type" in entry:
            return self.name_of(entry["type"])
        return plain(name)

    def fields(self, name):
        """(type, name) of the fields of a class, in the order in which they lie in it."""
        found = []
        for place, entry in enumerate(self.order):
            if entry["tag"] not in ("DW_TAG_class_type", "DW_TAG_structure_type") or "declaration" in entry:
                continue
            if entry.get("name") != name:
                continue
            for member in self.order[place + 1:]:
                if member["depth"] <= entry["depth"]:
                    break
                if member["depth"] == entry["depth"] + 1 and "data_member_location" in member:
                    found.append((int(member["data_member_location"].split()[0], 0), member))
            break
        found.sort(key=lambda one: one[0])
        return [(self.name_of(member["type"]), member["name"]) for _, member in found
                if member["tag"] == "DW_TAG_member" and not member["name"].startswith("_vptr")]


def compile_layout(folder, headers):
    """Describes the types of the headers, all of them, whoever uses them."""
    compiled = folder / "layout.o"
    compile_headers(headers, "-g", "-fno-eliminate-unused-debug-types", "-femit-class-debug-always", "-c",
                    "-o", str(compiled))
    return DebugInformation(compiled)
