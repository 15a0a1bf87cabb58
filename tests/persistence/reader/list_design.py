#!/usr/bin/env python3
"""Lists the classes, modules and links of a stored design.

Written from docs/format.md alone and sharing nothing with the library, so that it shows whether
that page is complete. It knows the library's classes; of an application's own classes it reads the
base parts. A damaged file is refused: a line on the error output, exit status 1.
"""

import struct
import sys
import zlib

MAGIC = bytes([0x89, 0x54, 0x53, 0x52, 0x0D, 0x0A, 0x1A, 0x0A])
HEAD_SIZE = 20
SMALLEST_ARCHIVE = 28
SMALLEST_CLASS_ENTRY = 12
FRAME_SIZE = 8
MAX_DEPTH = 500

NO_TYPE = 0xBBAFA6C8
NEWEST = 0xFFFFFFFF
# Classes whose elements stand in containers: a newer version cannot be read at all.
KNOWN_ELEMENT_VERSIONS = {"Path": 1, "Identifier": 1, "ApplyModuleData": 500000}
# Parts that are no bases of an application's class; nothing is to be looked for in them.
MEMBERS = {"Path", "Identifier", "ModuleState", "ApplyModuleInsertInfo", "ApplyModuleData"}

INSERT_MODES = ["AddToChain", "StartSideChain", "StartFork", "MergeFork"]
SPEED_RATES = ["instant", "very fast", "fast", "normal", "slow", "very slow"]
START_FORK = 2


class Refused(Exception):
    pass


def name_of(names, number):
    return names[number] if number < len(names) else str(number)


class Archive:
    """The bytes, with a position in them, and the class table."""

    def __init__(self, data):
        self.data = data
        self.ends = []
        self.skipped_something = False
        self.classes = {}
        self.check_head()
        self.read_class_table()

    def check_head(self):
        data = self.data
        if data[:8] != MAGIC:
            raise Refused("no design archive")
        if len(data) < SMALLEST_ARCHIVE:
            raise Refused("cut in the head")
        self.format, size, table = struct.unpack_from("<III", data, 8)
        if size != len(data):
            raise Refused(f"{len(data)} bytes where {size} should be")
        if struct.unpack_from("<I", data, size - 4)[0] != zlib.crc32(data[:-4]):
            raise Refused("wrong checksum")
        if self.format != 1:
            raise Refused(f"unknown format {self.format}")
        if not HEAD_SIZE <= table <= size - 4:
            raise Refused(f"class table at byte {table}")
        self.table = table

    def read_class_table(self):
        self.body_end = len(self.data) - 4
        self.position = self.table
        count = self.number()
        if count > (self.body_end - self.position) // SMALLEST_CLASS_ENTRY:
            raise Refused(f"a class table of {count} classes")
        for _ in range(count):
            type_id, name, version = self.number(), self.string(), self.number()
            if type_id in self.classes:
                raise Refused(f"type id {type_id:#010x} twice in the class table")
            self.classes[type_id] = (name, version)
        if self.position != self.body_end:
            raise Refused("bytes behind the class table")
        self.body_end = self.table
        self.position = HEAD_SIZE

    # Values

    def end(self):
        return self.ends[-1] if self.ends else self.body_end

    def take(self, size):
        if size > self.end() - self.position:
            raise Refused(f"byte {self.position}: {size} bytes are not there")
        taken = self.data[self.position : self.position + size]
        self.position += size
        return taken

    def number(self):
        return struct.unpack("<I", self.take(4))[0]

    def large_number(self):
        return struct.unpack("<Q", self.take(8))[0]

    def boolean(self):
        value = self.take(1)[0]
        if value > 1:
            raise Refused(f"byte {self.position - 1}: no bool")
        return value == 1

    def string(self):
        return self.take(self.number()).decode("utf-8", "backslashreplace")

    # Blocks

    def block(self, read):
        """Opens the block that stands here, lets `read` have its class's name and version, and goes
        on behind the block."""
        start = self.position
        end, type_id = self.number(), self.number()
        if not start + FRAME_SIZE <= end <= self.end():
            raise Refused(f"byte {start}: a block that ends at byte {end}")
        if len(self.ends) == MAX_DEPTH:
            raise Refused(f"byte {start}: nested too deep")
        self.ends.append(end)
        result = read(*self.class_of(type_id))
        self.ends.pop()
        self.skipped_something |= self.position != end
        self.position = end
        return result

    def class_of(self, type_id):
        if type_id == NO_TYPE:
            return "", 0
        return self.classes.get(type_id, ("", NEWEST))

    def block_is_possible(self):
        start = self.position
        if self.end() - start < FRAME_SIZE:
            return False
        end, type_id = struct.unpack_from("<II", self.data, start)
        return start + FRAME_SIZE <= end <= self.end() and type_id in self.classes

    def container(self, element_class, read):
        """`read` gets the version of the elements' class, once for each element."""

        def elements(_, version):
            if KNOWN_ELEMENT_VERSIONS[element_class] < version != NEWEST:
                raise Refused(f"elements of {element_class} in the unknown version {version}")
            count = self.number()
            if count > self.end() - self.position:
                raise Refused(f"byte {self.position - 4}: {count} elements")
            return [read(version) for _ in range(count)]

        return self.block(elements)


class Node:
    """An object, or a part of one, as far as it is known."""

    def __init__(self, class_name):
        self.class_name = class_name
        self.name = None
        self.children = []
        self.members = []
        self.module = None

    def take_parts(self, blocks):
        """Tells base parts from members: an Object block is a base part, and where there is none the
        only block with an Object part; any other block with an Object part is a member."""
        named = [part for part in blocks if part.name is not None]
        objects = [part for part in named if part.class_name == "Object"][:1]
        base = objects or (named if len(named) == 1 else [])
        self.members = [part for part in named if part not in base]
        for part in blocks:
            if part not in self.members:
                self.name = self.name or part.name
                self.children += part.children
                self.members += part.members
                self.module = self.module or part.module


class DesignReader:
    def __init__(self, archive):
        self.archive = archive
        self.nodes = {}

    def shared_object(self):
        """None for one of which nothing is known here."""
        number = self.archive.number()
        if number == 0:
            return None
        if number in self.nodes:
            raise Refused(f"byte {self.archive.position - 4}: an object with two parents")
        if self.came_before(number):
            return None

        def read(class_name, version):
            node = self.nodes[number] = Node(class_name)
            self.parts(node, class_name, version)
            return node

        return self.archive.block(read)

    def came_before(self, number):
        """Whether the object stands in a part of the archive that was skipped."""
        last = max(self.nodes, default=0)
        if not self.archive.skipped_something and number != last + 1:
            raise Refused(f"byte {self.archive.position - 4}: object {number} behind object {last}")
        return self.archive.skipped_something and (
            number < last or not self.archive.block_is_possible()
        )

    def parts(self, node, class_name, version):
        if class_name == "Object":
            self.object_record(node)
        elif class_name == "ApplyModule":
            self.module_record(node, version)
        elif class_name not in MEMBERS:
            blocks = []
            while self.archive.block_is_possible():
                blocks.append(self.archive.block(self.part))
            node.take_parts(blocks)

    def part(self, class_name, version):
        node = Node(class_name)
        self.parts(node, class_name, version)
        return node

    # The records

    def object_record(self, node):
        node.name = self.archive.string()
        node.children = [self.shared_object() for _ in range(self.archive.number())]

    def module_record(self, node, version):
        archive = self.archive
        module = {"flags": archive.block(self.state_record)}
        if archive.boolean():
            module["flags"].append("additional")
        if version < 53014:
            archive.string()
            archive.string()
        module["rate"] = archive.number()
        if version < 500000:
            module["insert"] = (0, "main", [])
        elif version == 500000:
            module["insert"] = self.insert_record(0)
        else:
            module["insert"] = archive.block(lambda _, own_version: self.insert_record(own_version))
        module["side"] = version < 500002 and module["insert"][0] == START_FORK
        node.module = module

    def state_record(self, _, version):
        flags = ["consistent", "active", "inputOk"]
        if version >= 53014:
            flags.append("frozen")
        if version >= 500001:
            flags.append("skipped")
        return [flag for flag in flags if self.archive.boolean()]

    def insert_record(self, _):
        mode = self.archive.number()
        chain = self.identifier(0)
        return mode, chain, self.archive.container("Identifier", self.identifier)

    def identifier(self, _):
        high, low = self.archive.large_number(), self.archive.large_number()
        return f"{high:016x}{low:016x}" if high or low else "main"

    def path(self, *_):
        return self.archive.string()

    def links(self):
        return self.archive.container("ApplyModuleData", self.link_record)

    def link_record(self, _):
        return {
            "module": self.archive.block(self.path),
            "previous": self.archive.container("Path", self.path),
            "next": self.archive.container("Path", self.path),
            "side": self.archive.boolean(),
        }


def modules_below(node, path):
    """The place of members in the tree is not stored: their paths begin with their names."""
    if node.module is not None:
        yield path or "/", node
    for child in node.children:
        if child is not None and child.name is not None:
            yield from modules_below(child, path + "/" + child.name)
    for member in node.members:
        yield from modules_below(member, member.name)


def listed(words):
    return " ".join(words) or "-"


def module_line(path, node):
    mode, chain, merged = node.module["insert"]
    return (
        f"  {path} ({node.class_name}): {listed(node.module['flags'])};"
        f" {name_of(SPEED_RATES, node.module['rate'])};"
        f" {name_of(INSERT_MODES, mode)} on {chain}, merge chains {listed(merged)}"
        + ("; start of a side chain" if node.module["side"] else "")
    )


def link_line(record):
    return (
        f"  {record['module']}: previous {listed(record['previous'])};"
        f" next {listed(record['next'])}" + ("; start of a side chain" if record["side"] else "")
    )


def listing(data):
    archive = Archive(data)
    reader = DesignReader(archive)
    root = reader.shared_object()
    if root is None:
        raise Refused("no root object")
    links = reader.links()
    rest = archive.body_end - archive.position
    return (
        [f"format {archive.format}, {len(data)} bytes", "classes:"]
        + [f"  {name} {version}" for name, version in archive.classes.values()]
        + ["modules:"]
        + [module_line(path, node) for path, node in modules_below(root, "")]
        + ["links:"]
        + [link_line(record) for record in links]
        + ([f"{rest} bytes of the application's own"] if rest else [])
    )


def main(arguments):
    if len(arguments) != 2:
        print("usage: list_design.py FILE", file=sys.stderr)
        return 2
    # Nested blocks are nested calls here, a few for each.
    sys.setrecursionlimit(20 * MAX_DEPTH)
    try:
        with open(arguments[1], "rb") as file:
            print("\n".join(listing(file.read())))
    except (OSError, Refused) as e:
        print(f"{arguments[1]}: {e}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
