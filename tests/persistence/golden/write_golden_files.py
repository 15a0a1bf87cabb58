#!/usr/bin/env python3
"""Wrote the stored designs and records of this directory.

The files stand for what users have on their disks. They were written once and are never
regenerated: a program that cannot read one of them, or reads something else from it, is wrong,
whatever this script would write today. The script stays as the description of what is in them. For
the layout of a version yet to come, add files; never touch those that are here.

It knows the format from first principles and shares nothing with the library.

An archive is a head of 20 bytes (eight bytes of magic, format version 1, size of the whole archive,
address of the class table), the values, the class table (a count; for each class its type id, name
and version) and the CRC-32 of all bytes before it. Numbers are little endian. A framed block is the
address of its end, the type id of its class (FNV-1a of its name), and its contents.

Usage: write_golden_files.py DIRECTORY
"""

import struct
import sys
import zlib
from pathlib import Path

VERSIONS = (53013, 53014, 499999, 500000, 500001, 500002, 500003)
LATER = 500003

# The versions in which the layout of a class changed. The classes of the host that stand in the
# records have one version only.
OWN_VERSIONS = {
    "ModuleState": (53013, 53014, 500001),
    "ApplyModule": (53013, 53014, 500000, 500001, 500002),
    "ApplyModuleInsertInfo": (500000,),
    "ApplyModuleData": (500000,),
}
HOST_VERSION = 1

ADD_TO_CHAIN, START_SIDE_CHAIN, START_FORK, MERGE_FORK = range(4)
NORMAL, SLOW, VERY_SLOW = 3, 4, 5


def type_id(name):
    value = 0x811C9DC5
    for byte in name.encode():
        value = ((value ^ byte) * 0x01000193) & 0xFFFFFFFF
    return value


def version_at(name, time):
    """The version that a class had at the time of another version."""
    if name not in OWN_VERSIONS:
        return HOST_VERSION
    if time == LATER:
        return LATER
    return max((own for own in OWN_VERSIONS[name] if own <= time), default=OWN_VERSIONS[name][0])


class Archive:
    def __init__(self, time, versions=None):
        """versions: of classes whose version is not the one of that time."""
        self.time = time
        self.versions = versions or {}
        self.bytes = bytearray(20)
        self.classes = []
        self.open_blocks = []

    def version(self, name):
        return self.versions.get(name, version_at(name, self.time))

    def flag(self, value):
        self.bytes += struct.pack("<B", value)

    def number(self, value):
        self.bytes += struct.pack("<I", value)

    def text(self, value):
        self.number(len(value.encode()))
        self.bytes += value.encode()

    def identifier(self, value):
        self.bytes += struct.pack("<QQ", value >> 64, value & (1 << 64) - 1)

    def open(self, name):
        self.open_blocks.append(len(self.bytes))
        self.number(0)
        self.number(type_id(name))
        if name not in self.classes:
            self.classes.append(name)

    def close(self, name):
        if self.version(name) == LATER:
            # What a later version of one of the library's classes might hold in addition.
            self.text("a field of a later version")
            self.number(0xFFFFFFFF)
        struct.pack_into("<I", self.bytes, self.open_blocks.pop(), len(self.bytes))

    def container(self, name, elements, write):
        self.open(name)
        self.number(len(elements))
        for element in elements:
            write(element)
        # The elements of a container have no frames, and so no room for later fields.
        struct.pack_into("<I", self.bytes, self.open_blocks.pop(), len(self.bytes))

    def finish(self):
        assert not self.open_blocks
        table = len(self.bytes)
        self.number(len(self.classes))
        for name in self.classes:
            self.number(type_id(name))
            self.text(name)
            self.number(self.version(name))
        head = struct.pack("<8sIII", b"\x89TSR\r\n\x1a\n", 1, len(self.bytes) + 4, table)
        self.bytes[:20] = head
        self.number(zlib.crc32(self.bytes))
        return bytes(self.bytes)

    # Records

    def state(self, state):
        version = self.version("ModuleState")
        self.flag(state["consistent"])
        self.flag(state["active"])
        self.flag(state["input_ok"])
        if version >= 53014:
            self.flag(state["frozen"])
        if version > 500000:
            self.flag(state["skipped"])

    def insert_info(self, info):
        self.number(info["mode"])
        self.identifier(info["chain"])
        self.container("Identifier", info["merge_chains"], self.identifier)

    def module(self, module):
        version = self.version("ApplyModule")
        self.open("ModuleState")
        self.state(module["state"])
        self.close("ModuleState")
        self.flag(module["additional"])
        if version < 53014:
            self.text("Old name of the step")
            self.text("Old group")
        self.number(module["rate"])
        if version == 500000:
            self.insert_info(module["insert_info"])
        elif version > 500000:
            self.open("ApplyModuleInsertInfo")
            self.insert_info(module["insert_info"])
            self.close("ApplyModuleInsertInfo")

    def module_data(self, data):
        self.open("Path")
        self.text(data["path"])
        self.close("Path")
        self.container("Path", data["previous"], self.text)
        self.container("Path", data["next"], self.text)
        self.flag(data["start_of_side_chain"])


class Design(Archive):
    """An archive with shared objects: each is written where it is met first."""

    def __init__(self, time, versions=None):
        super().__init__(time, versions)
        self.numbers = {}

    def shared(self, obj):
        known = id(obj) in self.numbers
        number = self.numbers.setdefault(id(obj), len(self.numbers) + 1)
        self.number(number)
        if known:
            return
        if "module" in obj:
            self.open("Test.Step")
            self.object(obj)
            self.open("ApplyModule")
            self.module(obj["module"])
            self.close("ApplyModule")
            self.close("Test.Step")
        else:
            self.object(obj)

    def object(self, obj):
        self.open("Object")
        self.text(obj["name"])
        self.number(len(obj["children"]))
        for child in obj["children"]:
            self.shared(child)
        self.close("Object")


STATE = dict(consistent=False, active=True, input_ok=False, frozen=True, skipped=True)
INSERT_INFO = dict(
    mode=MERGE_FORK,
    chain=0x0123456789ABCDEFFEDCBA9876543210,
    merge_chains=(0x11111111111111112222222222222222, 0x33333333333333334444444444444444),
)
MODULE = dict(
    state=STATE,
    additional=True,
    rate=VERY_SLOW,
    insert_info=dict(
        mode=START_FORK,
        chain=0x55555555555555556666666666666666,
        merge_chains=(0x77777777777777778888888888888888,),
    ),
)
MODULE_DATA = dict(
    path="/gear/teeth",
    previous=("/gear", "/material/steel"),
    next=("/check",),
    start_of_side_chain=True,
)

# Chains named by the letters "bore" and "rack".
SIDE_CHAIN = 0x626F7265
FORK = 0x7261636B
MAIN_CHAIN = 0


def step(name, mode=ADD_TO_CHAIN, chain=MAIN_CHAIN, merge_chains=(), rate=NORMAL, **flags):
    state = dict(consistent=True, active=True, input_ok=True, frozen=False, skipped=False)
    additional = flags.pop("additional", False)
    state.update(flags)
    info = dict(mode=mode, chain=chain, merge_chains=merge_chains)
    module = dict(state=state, additional=additional, rate=rate, insert_info=info)
    return dict(name=name, children=[], module=module)


def links(path, previous, following, start_of_side_chain=False):
    return dict(
        path=path, previous=previous, next=following, start_of_side_chain=start_of_side_chain
    )


def design(archive):
    """A main chain from the input to the check; from the input a side chain of the bore, with the
    keyway behind it; and a fork, the rack, which the check merges."""
    first = step("input", frozen=True)
    teeth = step("teeth", consistent=False, rate=SLOW)
    bore = step("bore", START_SIDE_CHAIN, SIDE_CHAIN, (MAIN_CHAIN,), additional=True)
    keyway = step("keyway", ADD_TO_CHAIN, SIDE_CHAIN, active=False)
    rack = step("rack", START_FORK, FORK, (MAIN_CHAIN,), input_ok=False)
    check = step("check", MERGE_FORK, MAIN_CHAIN, (MAIN_CHAIN, FORK), rate=VERY_SLOW)
    body = dict(name="body", children=[bore, keyway])
    root = dict(name="gear pair", children=[first, teeth, body, rack, check])
    archive.shared(root)
    archive.container(
        "ApplyModuleData",
        (
            links("/input", (), ("/teeth", "/body/bore", "/rack")),
            links("/rack", ("/input",), ("/check",)),
            links("/check", ("/teeth", "/rack"), ()),
            links("/body/bore", ("/input",), ("/body/keyway",), True),
            links("/body/keyway", ("/body/bore",), ()),
            links("/teeth", ("/input",), ("/check",)),
        ),
        archive.module_data,
    )
    # The steps with which the user began and ended, both known by now; and that none follows.
    archive.shared(first)
    archive.shared(check)
    archive.number(0)
    return archive.finish()


def main(directory):
    records = {
        "ModuleState": (Archive.state, STATE),
        "ApplyModuleInsertInfo": (Archive.insert_info, INSERT_INFO),
        "ApplyModule": (Archive.module, MODULE),
        "ApplyModuleData": (Archive.module_data, MODULE_DATA),
    }
    files = {}
    for name, (write, value) in records.items():
        for time in VERSIONS:
            archive = Archive(time, {name: time})
            archive.open(name)
            write(archive, value)
            archive.close(name)
            files[f"{name}-{time}.tsr"] = archive.finish()
    for time in (500000, 500002):
        files[f"design-{time}.tsr"] = design(Design(time))
    for name, contents in files.items():
        with open(Path(directory) / name, "xb") as file:
            file.write(contents)


if __name__ == "__main__":
    main(sys.argv[1])
