#!/usr/bin/env python3
"""it8.py OX DATA: Little CMS's reader of IT8 files reads what ox writes, value by value, and ox reads what that writes."""

import csv
import ctypes
import ctypes.util
import os
import subprocess
import sys
import tempfile

program, data = os.path.abspath(sys.argv[1]), os.path.join(os.path.abspath(sys.argv[2]), "colorchecker24.csv")
cms = ctypes.CDLL(ctypes.util.find_library("lcms2") or "liblcms2.so.2")
cms.cmsIT8LoadFromFile.restype = ctypes.c_void_p
cms.cmsIT8GetData.restype = ctypes.c_char_p


def convert(source, target, *options):
    subprocess.run([program, "convert", source, "-o", target, *options], check=True, timeout=60)


def rows(path):
    with open(path, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


def main():
    convert(data, "ours.csv", "--columns", "color,spectrum")
    convert(data, "ours.cgats", "--columns", "color,spectrum")
    handle = ctypes.c_void_p(cms.cmsIT8LoadFromFile(None, b"ours.cgats"))
    assert handle, "Little CMS does not read it"
    ours = rows("ours.csv")
    assert len(ours) == 24 and len(ours[0]) == 41
    for row in ours:
        for field, value in row.items():
            name = "SPECTRAL_" + field.upper() if field.startswith("nm") else field.upper()
            read = cms.cmsIT8GetData(handle, row["sample_id"].encode(), name.encode())
            assert read is not None, f"{name} of {row['sample_id']} is not there"
            same = float(read) == float(value) if value[0].isdigit() or value[0] == "-" else read.decode() == value
            assert same, f"{name}: Little CMS reads {read}, ox wrote {value}"

    # Little CMS writes all values back as texts that it keeps.
    assert cms.cmsIT8SetData(handle, b"3", b"SAMPLE_NAME", b"with a blank, and 'quotes'")
    assert cms.cmsIT8SaveToFile(handle, b"theirs.it8")
    convert("theirs.it8", "theirs.csv")
    theirs = rows("theirs.csv")
    ours[2]["sample_name"] = "with a blank, and 'quotes'"
    differences = [(a, b) for a, b in zip(ours, theirs) if a != {key: b[key] for key in a}]
    assert len(theirs) == 24 and not differences, differences[:1]


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        main()
