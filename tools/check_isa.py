#!/usr/bin/env python3
"""Fails when the tier's machine code uses instructions beyond SSSE3:
anything VEX or EVEX encoded (AVX, AVX2, FMA, AVX-512), SSE4.1, SSE4.2,
and the bit-manipulation and crypto extensions."""
import re
import subprocess
import sys

SSE4 = {
    "blendpd", "blendps", "blendvpd", "blendvps", "pblendvb", "pblendw", "dppd", "dpps",
    "extractps", "insertps", "movntdqa", "mpsadbw", "packusdw", "pcmpeqq", "pextrb", "pextrd",
    "pextrq", "phminposuw", "pinsrb", "pinsrd", "pinsrq", "pmaxsb", "pmaxsd", "pmaxud", "pmaxuw",
    "pminsb", "pminsd", "pminud", "pminuw", "pmuldq", "pmulld", "ptest", "roundpd", "roundps",
    "roundsd", "roundss", "pcmpestri", "pcmpestrm", "pcmpistri", "pcmpistrm", "pcmpgtq", "crc32",
    "popcnt", "lzcnt", "tzcnt", "andn", "bextr", "blsi", "blsmsk", "blsr", "bzhi", "mulx", "pdep",
    "pext", "rorx", "sarx", "shlx", "shrx", "aesenc", "aesenclast", "aesdec", "aesdeclast",
    "aesimc", "aeskeygenassist", "pclmulqdq", "sha1rnds4", "sha256rnds2", "adcx", "adox",
}
PMOV = re.compile(r"^pmov[sz]x")

lib = sys.argv[1]
out = subprocess.run(["objdump", "-d", "--no-show-raw-insn", "-M", "suffix", lib],
                     capture_output=True, text=True, check=True).stdout
bad = []
count = 0
func = "?"
for line in out.splitlines():
    m = re.match(r"^[0-9a-f]+ <(.+)>:$", line)
    if m:
        func = m.group(1)
        continue
    m = re.match(r"^\s+[0-9a-f]+:\s+(\S+)", line)
    if not m:
        continue
    count += 1
    op = m.group(1)
    base = op.rstrip("lqwb") if op not in SSE4 else op
    if op.startswith(("v", "k")) or op in SSE4 or base in SSE4 or PMOV.match(op):
        bad.append(f"{func}: {line.strip()}")
print(f"instructions examined: {count}")
if bad:
    print(f"{len(bad)} instructions beyond SSSE3:")
    for b in bad[:40]:
        print("  " + b)
    sys.exit(1)
print("no instruction beyond SSSE3")
