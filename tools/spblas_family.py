#!/usr/bin/env python3
"""The sparse kernel family as data.

One table spells the name grammar of the CSR kernels and which combinations
exist; everything else is expanded from it:

  spblas_family.py header             the public header include/zor/spblas.h
  spblas_family.py entries OUTDIR     the exported wrappers, one file per
                                      precision and integer width, each a
                                      one-line call of a kernel template
  spblas_family.py cases FILE         the table of generated names the tests walk
  spblas_family.py names              every exported name, one a line
  spblas_family.py check-header FILE  fails if FILE is not the current header

A name is  prefix + precision + "csr" + base + op + structure + part +
diagonal + convention + "__" + operation + "out_" + mode, for instance
zor_spblas_dcsr0nslnc__mvout_par. The convention letter follows the base
(0 goes with c, row-major dense operands; 1 with f, column-major).
"""
import os
import sys

PREFIXES = [("zor_spblas_", "int64_t"), ("zor_spblas_lp64_", "int32_t")]
PRECISIONS = "sdcz"
ELEMENT_C = {"s": "float", "d": "double", "c": "zor_complex8", "z": "zor_complex16"}
TRAITS = {"s": "zor::S", "d": "zor::D", "c": "zor::C", "z": "zor::Z"}

# Which CSR kernels exist. Per structure: the parts and diagonal letters it
# combines, the op letters in real and in complex precisions, and the
# operations with their mode, optionally for some op letters only. Both bases.
#   structure parts  diags real  complex operations (operation, mode[, ops])
CSR = [
    ("g",      "_",   "_",  "nt", "ntcs", [("mv", "par"), ("mm", "par")]),
    ("t",      "lu",  "nu", "nt", "ntcs", [("sv", "seq"), ("sm", "par"), ("mm", "par"),
                                           ("mv", "par", "ns"), ("mv", "seq", "tc")]),
    ("s",      "lu",  "nu", "n",  "nc",   [("mv", "par"), ("mm", "par")]),
    ("h",      "lu",  "nu", "",   "nt",   [("mv", "par"), ("mm", "par")]),
    ("a",      "lu",  "_",  "n",  "nc",   [("mv", "par"), ("mm", "par")]),
    ("d",      "_",   "n",  "n",  "nc",   [("mv", "seq"), ("mm", "seq"), ("sv", "seq"), ("sm", "par")]),
    ("d",      "_",   "u",  "n",  "n",    [("mv", "seq"), ("mm", "seq")]),
]
# The plain product with one row-pointer array: base 1, double, op n only.
GEMV = [("d", 1, "n", "g", "_", "_", "gemv", "par")]

# Argument lists of the CSR kernels, by operation and mode. Element arrays
# are E, integers I; every argument is a pointer.
ARGS = {
    ("mv", "par"): "const I *first, const I *last, const I *m, const E *alpha, const E *vals, const I *cols, "
                   "const I *row_begin, const I *row_end, const E *x, E *y",
    ("mv", "seq"): "const I *m, const E *alpha, const E *vals, const I *cols, const I *row_begin, "
                   "const I *row_end, const E *x, E *y",
    ("sv", "seq"): "const I *m, const E *alpha, const E *vals, const I *cols, const I *row_begin, "
                   "const I *row_end, E *y",
    ("mm", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                   "const I *cols, const I *row_begin, const I *row_end, const E *b, const I *ldb, E *c, "
                   "const I *ldc",
    ("mm", "seq"): "const I *m, const I *n, const E *alpha, const E *vals, const I *cols, const I *row_begin, "
                   "const I *row_end, const E *b, const I *ldb, E *c, const I *ldc",
    ("sm", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                   "const I *cols, const I *row_begin, const I *row_end, E *y, const I *ldy",
    ("gemv", "par"): "const I *first, const I *last, const void *unused1, const void *unused2, const E *vals, "
                     "const I *cols, const I *row_ptr, const void *unused3, const E *x, E *y",
}

# The routines without the grammar: driver routines of the family and the
# two one-offs of the CSR kernels. (name stem, precisions, arguments, kernel template)
OTHERS = [
    ("?zeros", "sdcz", "E *p, const I *n", "zeros"),
    ("?zerocheck", "sdcz", "const E *a, I *flag", "zerocheck"),
    ("?ones", "sdcz", "E *a", "ones"),
    ("?neones", "sdcz", "E *a", "neones"),
    ("?split_par", "sdcz", "const I *first, const I *last, const I *ncopies, const I *ld, const E *buf, E *y",
     "split_par"),
    ("?split_syml_par", "sdcz", "const I *end, const I *n, const I *begin, const void *reserved, "
     "E *const *table, E *y", "split_syml_par"),
    ("?split_symu_par", "sdcz", "const I *n, const I *ld, const I *count, const void *reserved, "
     "E *const *table, E *y", "split_symu_par"),
    ("dcsrsymmvs", "d", "const I *uplo, const I *m, const E *vals, const I *cols, const I *ia, const E *x, "
     "E *y, const void *reserved, const I *base", "csrsymmvs"),
    ("?csrmultd_ker", "sdcz", "const I *conj, const I *first, const I *last, const I *n, const E *a, "
     "const I *ja, const I *ia, const E *b, const I *jb, const I *ib, E *c, const I *ldc", "csrmultd_ker"),
]


def csr_kernels():
    """(precision, base, op, structure, part, diag, operation, mode) of every CSR name, in table order."""
    out = []
    for p in PRECISIONS:
        complex_ = p in "cz"
        for base in (0, 1):
            for structure, parts, diags, ops_real, ops_complex, operations in CSR:
                ops = ops_complex if complex_ else ops_real
                for op in ops:
                    for part in parts:
                        for diag in diags:
                            for entry in operations:
                                operation, mode = entry[0], entry[1]
                                if len(entry) > 2 and op not in entry[2]:
                                    continue
                                out.append((p, base, op, structure, part, diag, operation, mode))
            out += [g for g in GEMV if g[0] == p and g[1] == base]
    return out


def csr_name(k):
    p, base, op, structure, part, diag, operation, mode = k
    conv = "c" if base == 0 else "f"
    return f"{p}csr{base}{op}{structure}{part}{diag}{conv}__{operation}out_{mode}"


def other_names():
    for stem, precisions, args, template in OTHERS:
        for p in precisions:
            yield p, stem.replace("?", p), args, template


def args_for(signature, p, itype):
    return signature.replace("const E ", "const " + ELEMENT_C[p] + " ").replace("E *", ELEMENT_C[p] + " *") \
        .replace("const I ", "const " + itype + " ").replace("I *", itype + " *")


def arg_names(signature):
    return [a.strip().split("*")[-1].strip() for a in signature.split(",")]


def all_names():
    for prefix, _ in PREFIXES:
        for k in csr_kernels():
            yield prefix + csr_name(k)
        for _, name, _, _ in other_names():
            yield prefix + name


HEADER_TOP = """/* Sparse BLAS kernels of zor_tier2. Generated by tools/spblas_family.py
 * from the family table; do not edit by hand, run
 *   python3 tools/spblas_family.py header > include/zor/spblas.h
 *
 * Each kernel does one thing for one combination spelled by its name:
 *   zor_spblas_ | precision s d c z | csr | base 0 1 | op n t c s |
 *   structure g s h t a d | part l u _ | diagonal n u _ | convention c f |
 *   __ | operation mv mm sv sm gemv | out_ | mode par seq
 * op: n A, t A transposed, c A transposed and conjugated, s A conjugated.
 * In structures s and h the letter c (s) or t (h) conjugates the stored
 * values, which gives the matrix the letter names (A^H = conj(A) for s,
 * A^T = conj(A) for h, the stored diagonal's imaginary part conjugated too).
 * In structure a (A = L - L^T) the letter c gives A^H = -conj(A); A^T x is
 * the n kernel with alpha negated.
 * Structure: general, symmetric, Hermitian, triangular, anti-symmetric (the
 * stored triangle L gives A = L - L^T, no diagonal), diagonal. Part: the
 * triangle read. Diagonal n: stored; u: taken as ones.
 * Row i occupies positions row_begin[i-1]-b .. row_end[i-1]-b-1 with
 * b = row_begin[0]; the base digit applies to the numbers in cols.
 * Dense operands: c row-major (i*ld + j), f column-major (j*ld + i).
 *
 * mv and mm add alpha op(A) x to y (they never read beta); gemv overwrites
 * y with A x. sv and sm solve in place (only the diagonal structure reads
 * alpha: y := alpha y / d). A par kernel works on the one-based inclusive
 * range first..last (rows in mv, dense columns in mm and sm) and returns at
 * once when last < first. Kernels validate nothing.
 *
 * zor_spblas_ integers are 64-bit; the zor_spblas_lp64_ twins take 32-bit
 * integers and are otherwise the same. All arguments are pointers.
 */
#ifndef ZOR_SPBLAS_H
#define ZOR_SPBLAS_H

#include <zor/export.h>


/* Driver routines of the family:
 *   ?zeros(p, n)            n elements set to all-zero bytes
 *   ?zerocheck(a, flag)     flag := 0 if a is zero (both parts), else 1 (NaN gives 1)
 *   ?ones(a), ?neones(a)    a := 1; a := 0 - a (so +0 stays +0)
 *   ?split_par              y[i-1] += buf[t*ld + i-1], t = 0..ncopies-2, i = first..last
 *   ?split_syml_par         y[j] += table[t-1][(begin-1)*n + j], t = begin..end-1
 *   ?split_symu_par         y[j] += table[t+1][(count-1-t)*ld + j], t = 0..count-1
 * One-offs:
 *   dcsrsymmvs              y += A x, A symmetric with one triangle stored, zero-based
 *                           row pointers ia[0..m]; uplo 0: diagonal first in the row
 *   ?csrmultd_ker           rows first..last of C = op(A) B (conj != 0 conjugates A),
 *                           A, B one-based CSR, C column-major; n columns of C cleared
 */
"""


def header():
    out = [HEADER_TOP]
    for prefix, itype in PREFIXES:
        out.append(f"\n/* ---- {prefix} ({itype[:-2].replace('int', '')}-bit integers) */\n")
        for p, name, args, _ in other_names():
            out.append(f"ZOR_API void {prefix}{name}({args_for(args, p, itype)});\n")
        for k in csr_kernels():
            out.append(f"ZOR_API void {prefix}{csr_name(k)}({args_for(ARGS[(k[6], k[7])], k[0], itype)});\n")
    out.append("\n#endif\n")
    return "".join(out)


def entries(outdir):
    os.makedirs(outdir, exist_ok=True)
    for prefix, itype in PREFIXES:
        for p in PRECISIONS:
            lines = ["// Generated by tools/spblas_family.py: the exported wrappers of one precision and\n"
                     "// integer width, each a call of the kernel template its name spells.\n",
                     '#include <zor/spblas.h>\n#include "spblas/csr_entries.hpp"\n#include "spblas/drivers.hpp"\n\n',
                     "using namespace zor::spblas;\n\n"]
            for q, name, args, template in other_names():
                if q != p:
                    continue
                call = ", ".join(arg_names(args))
                lines.append(f"ZOR_API void {prefix}{name}({args_for(args, p, itype)}) {{\n"
                             f"  {template}<{TRAITS[p]}>({call});\n}}\n")
            for k in csr_kernels():
                if k[0] != p:
                    continue
                _, base, op, structure, part, diag, operation, mode = k
                sig = ARGS[(operation, mode)]
                call = ", ".join(arg_names(sig))
                kind = f"Kind{{{base}, '{op}', '{structure}', '{part}', '{diag}'}}"
                lines.append(f"ZOR_API void {prefix}{csr_name(k)}({args_for(sig, p, itype)}) {{\n"
                             f"  csr_{operation}_{mode}<{TRAITS[p]}, {kind}>({call});\n}}\n")
            width = "lp64_" if "lp64" in prefix else ""
            path = os.path.join(outdir, f"entries_{width}{p}.cpp")
            text = "".join(lines)
            # Leave an unchanged file alone so that the build does not recompile it.
            if not os.path.exists(path) or open(path).read() != text:
                with open(path, "w") as f:
                    f.write(text)


def cases(path):
    lines = ["// Generated by tools/spblas_family.py: every CSR kernel of the family table.\n",
             "// {name, precision, integer bytes, base, op, structure, part, diagonal, operation, mode, entry}\n"]
    for prefix, itype in PREFIXES:
        ibytes = 8 if itype == "int64_t" else 4
        for k in csr_kernels():
            p, base, op, structure, part, diag, operation, mode = k
            name = prefix + csr_name(k)
            lines.append(f'{{"{name}", \'{p}\', {ibytes}, {base}, \'{op}\', \'{structure}\', \'{part}\', '
                         f'\'{diag}\', "{operation}", "{mode}", reinterpret_cast<void (*)()>(&{name})}},\n')
    text = "".join(lines)
    if not os.path.exists(path) or open(path).read() != text:
        with open(path, "w") as f:
            f.write(text)


def main(argv):
    if len(argv) < 2:
        sys.exit(__doc__)
    what = argv[1]
    if what == "header":
        sys.stdout.write(header())
    elif what == "entries":
        entries(argv[2])
    elif what == "cases":
        cases(argv[2])
    elif what == "names":
        for n in all_names():
            print(n)
    elif what == "check-header":
        if open(argv[2]).read() != header():
            sys.exit(f"{argv[2]} is not the header the family table gives; regenerate it:\n"
                     "  python3 tools/spblas_family.py header > include/zor/spblas.h")
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv)
