#!/usr/bin/env python3
"""Damages a stored design in every place and lets list_design.py read it.

What is cut or changed has to be refused. What is changed with a checksum that fits has to be
refused or listed, and nothing else may happen.
"""

import struct
import sys
import zlib

import list_design

CHANGES = [0x01, 0x80, 0xFF]


def is_refused(data):
    try:
        list_design.listing(data)
    except list_design.Refused:
        return True
    return False


def with_checksum(data):
    return data[:-4] + struct.pack("<I", zlib.crc32(data[:-4]))


def changed(data):
    for place in range(len(data)):
        for change in CHANGES:
            yield data[:place] + bytes([data[place] ^ change]) + data[place + 1 :]


def main(file_name):
    sys.setrecursionlimit(20 * list_design.MAX_DEPTH)
    with open(file_name, "rb") as file:
        data = file.read()
    accepted = [is_refused(data[:size]) for size in range(len(data))].count(False)
    accepted += [is_refused(other) for other in changed(data)].count(False)
    accepted += not is_refused(data + b"\0")
    for other in changed(data):
        is_refused(with_checksum(other))
    print("whole" if not is_refused(data) else "refused", f"and {accepted} damaged ones accepted")


if __name__ == "__main__":
    main(sys.argv[1])
