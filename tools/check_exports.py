#!/usr/bin/env python3
"""Holds the built tier's dynamic symbol table against the export list
(tools/exports.tsv: name, family, kind).

Fails when the library exports a name that is not in the list, or when the
pass-through names of frame/passthrough_names.inc are not the list's rows of
kind "passthrough"; prints how much of the list exists, in all and per
family.

usage: check_exports.py <libzor_tier2.so> <exports.tsv> [<passthrough_names.inc>]"""
import collections
import re
import subprocess
import sys

lib, tsv = sys.argv[1], sys.argv[2]
listed, kinds = {}, {}
try:
    with open(tsv) as f:
        next(f)
        for line in f:
            cols = line.rstrip("\n").split("\t")
            if cols and cols[0]:
                listed[cols[0]] = cols[1]
                kinds[cols[0]] = cols[2] if len(cols) > 2 else ""
except OSError as e:
    sys.exit(f"cannot read the export list {tsv}: {e}")

failed = False
if len(sys.argv) > 3:
    with open(sys.argv[3]) as f:
        jumps = set(re.findall(r"^ZOR_PASSTHROUGH\((\w+)\)", f.read(), re.M))
    passthrough = {n for n, k in kinds.items() if k == "passthrough"}
    if jumps != passthrough:
        print(f"pass-through names differ from the list: only in the list {sorted(passthrough - jumps)}, "
              f"only in {sys.argv[3]} {sorted(jumps - passthrough)}")
        failed = True

out = subprocess.run(["nm", "-D", "--defined-only", lib], capture_output=True, text=True, check=True).stdout
exported = set()
for line in out.splitlines():
    parts = line.split()
    if len(parts) == 3 and parts[1] in "TtWiV":
        exported.add(parts[2].split("@")[0])

extra = sorted(exported - listed.keys())
per_family_total = collections.Counter(listed.values())
per_family_have = collections.Counter(listed[n] for n in exported if n in listed)
print(f"exports: {len(exported & listed.keys())} of {len(listed)}")
for family in sorted(per_family_total):
    print(f"  {family:18} {per_family_have[family]:5} of {per_family_total[family]}")
if extra:
    print(f"{len(extra)} exported names are not in the list:")
    for name in extra[:50]:
        print("  " + name)
    failed = True
sys.exit(1 if failed else 0)
