#!/usr/bin/env python3
"""The sparse kernel family as data.

One table spells the name grammar of the format kernels (csr, coo, dia,
bsr) and which combinations exist, a second one the routines without the
grammar; everything else is expanded from them:

  spblas_family.py header             the public header include/zor/spblas.h
  spblas_family.py entries OUTDIR     the exported wrappers, one file per
                                      unit (format or group) x precision x
                                      integer width, each a one-line call of
                                      a kernel template per name
  spblas_family.py units              the file names `entries` writes
  spblas_family.py cases FILE         the table of grammar names the tests walk
  spblas_family.py others FILE        the exported routines without the grammar,
                                      by element and integer type, for the tests
  spblas_family.py names              every exported name, one a line
  spblas_family.py check-header FILE  fails if FILE is not the current header

A grammar name is  prefix + precision + format + base + op + structure +
part + diagonal + convention + "__" + operation + "out_" + mode, for
instance zor_spblas_dcsr0nslnc__mvout_par. The convention letter follows the
base (0 goes with c, row-major dense operands; 1 with f, column-major).
"""
import os
import sys

PREFIXES = [("zor_spblas_", "int64_t"), ("zor_spblas_lp64_", "int32_t")]
PRECISIONS = "sdcz"
ELEMENT_C = {"s": "float", "d": "double", "c": "zor_complex8", "z": "zor_complex16"}
TRAITS = {"s": "zor::S", "d": "zor::D", "c": "zor::C", "z": "zor::Z"}

# Which grammar kernels exist. A row: format, bases, structure, the part and
# diagonal letters it combines, operation and mode, then the op letters in
# each precision (empty: none in that precision).
#  format bases struct parts diags  operation mode    s       d       c       z
GRAMMAR = [
    ("csr", "01", "g", "_",  "_",  "mv", "par",  "nt",   "nt",   "ntcs", "ntcs"),
    ("csr", "01", "g", "_",  "_",  "mm", "par",  "nt",   "nt",   "ntcs", "ntcs"),
    ("csr", "01", "t", "lu", "nu", "sv", "seq",  "nt",   "nt",   "ntcs", "ntcs"),
    ("csr", "01", "t", "lu", "nu", "sm", "par",  "nt",   "nt",   "ntcs", "ntcs"),
    ("csr", "01", "t", "lu", "nu", "mm", "par",  "nt",   "nt",   "ntcs", "ntcs"),
    ("csr", "01", "t", "lu", "nu", "mv", "par",  "n",    "n",    "ns",   "ns"),
    ("csr", "01", "t", "lu", "nu", "mv", "seq",  "t",    "t",    "tc",   "tc"),
    ("csr", "01", "s", "lu", "nu", "mv", "par",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "s", "lu", "nu", "mm", "par",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "h", "lu", "nu", "mv", "par",  "",     "",     "nt",   "nt"),
    ("csr", "01", "h", "lu", "nu", "mm", "par",  "",     "",     "nt",   "nt"),
    ("csr", "01", "a", "lu", "_",  "mv", "par",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "a", "lu", "_",  "mm", "par",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "d", "_",  "n",  "mv", "seq",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "d", "_",  "n",  "mm", "seq",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "d", "_",  "n",  "sv", "seq",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "d", "_",  "n",  "sm", "par",  "n",    "n",    "nc",   "nc"),
    ("csr", "01", "d", "_",  "u",  "mv", "seq",  "n",    "n",    "n",    "n"),
    ("csr", "01", "d", "_",  "u",  "mm", "seq",  "n",    "n",    "n",    "n"),
    ("csr", "1",  "g", "_",  "_",  "gemv", "par", "",    "n",    "",     ""),
    ("coo", "01", "g", "_",  "_",  "mv", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "g", "_",  "_",  "mm", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "t", "lu", "nu", "mv", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "t", "lu", "nu", "mm", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "t", "lu", "nu", "sv", "seq",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "t", "lu", "nu", "sm", "par",  "ns",   "ns",   "ns",   "ns"),
    ("coo", "01", "s", "lu", "nu", "mv", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "s", "lu", "nu", "mm", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "h", "lu", "nu", "mv", "par",  "",     "",     "n",    "n"),
    ("coo", "01", "h", "lu", "nu", "mm", "par",  "",     "",     "n",    "n"),
    ("coo", "01", "a", "lu", "_",  "mv", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "a", "lu", "_",  "mm", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "d", "_",  "n",  "mv", "seq",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "d", "_",  "n",  "mm", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "d", "_",  "n",  "sv", "seq",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "d", "_",  "n",  "sm", "par",  "n",    "n",    "ns",   "ns"),
    ("coo", "01", "d", "_",  "u",  "mv", "seq",  "n",    "n",    "n",    "n"),
    ("coo", "01", "d", "_",  "u",  "mm", "par",  "n",    "n",    "n",    "n"),
    ("dia", "1",  "g", "_",  "_",  "mv", "par",  "nt",   "nt",   "ntc",  "ntc"),
    ("dia", "1",  "g", "_",  "_",  "mm", "par",  "nt",   "nt",   "ntc",  "ntc"),
    ("dia", "1",  "t", "lu", "nu", "mv", "par",  "nt",   "nt",   "ntc",  "ntc"),
    ("dia", "1",  "t", "lu", "nu", "mm", "par",  "nt",   "nt",   "ntc",  "ntc"),
    ("dia", "1",  "t", "lu", "nu", "sv", "seq",  "nt",   "nt",   "ntc",  "ntc"),
    ("dia", "1",  "t", "lu", "nu", "sm", "par",  "nt",   "nt",   "ntc",  "ntc"),
    ("dia", "1",  "s", "lu", "nu", "mv", "par",  "n",    "n",    "nc",   "nc"),
    ("dia", "1",  "s", "lu", "nu", "mm", "par",  "n",    "n",    "nc",   "nc"),
    ("dia", "1",  "h", "lu", "nu", "mv", "par",  "",     "",     "nt",   "nt"),
    ("dia", "1",  "h", "lu", "nu", "mm", "par",  "",     "",     "nt",   "nt"),
    ("dia", "1",  "a", "lu", "_",  "mv", "par",  "n",    "n",    "nc",   "nc"),
    ("dia", "1",  "a", "lu", "_",  "mm", "par",  "nt",   "nt",   "ntc",  "ntc"),
    ("dia", "1",  "d", "_",  "n",  "mv", "par",  "n",    "n",    "nc",   "nc"),
    ("dia", "1",  "d", "_",  "n",  "mm", "par",  "n",    "n",    "nc",   "nc"),
    ("dia", "1",  "d", "_",  "n",  "sv", "seq",  "n",    "n",    "nc",   "nc"),
    ("dia", "1",  "d", "_",  "n",  "sm", "seq",  "n",    "n",    "nc",   "nc"),
    ("bsr", "01", "s", "lu", "n",  "mv", "par",  "n",    "n",    "n",    "n"),
    ("bsr", "1",  "g", "_",  "_",  "gemv", "par", "n",   "n",    "n",    "n"),
]
FORMATS = ["csr", "coo", "dia", "bsr"]

# Argument lists of the grammar kernels, by format, operation and mode
# (dia solves also by structure and diagonal). Element arrays are E,
# integers I; every argument is a pointer.
ARGS = {
    ("csr", "mv", "par"): "const I *first, const I *last, const I *m, const E *alpha, const E *vals, const I *cols, "
                          "const I *row_begin, const I *row_end, const E *x, E *y",
    ("csr", "mv", "seq"): "const I *m, const E *alpha, const E *vals, const I *cols, const I *row_begin, "
                          "const I *row_end, const E *x, E *y",
    ("csr", "sv", "seq"): "const I *m, const E *alpha, const E *vals, const I *cols, const I *row_begin, "
                          "const I *row_end, E *y",
    ("csr", "mm", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                          "const I *cols, const I *row_begin, const I *row_end, const E *b, const I *ldb, E *c, "
                          "const I *ldc",
    ("csr", "mm", "seq"): "const I *m, const I *n, const E *alpha, const E *vals, const I *cols, const I *row_begin, "
                          "const I *row_end, const E *b, const I *ldb, E *c, const I *ldc",
    ("csr", "sm", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                          "const I *cols, const I *row_begin, const I *row_end, E *y, const I *ldy",
    ("csr", "gemv", "par"): "const I *first, const I *last, const void *unused1, const void *unused2, const E *vals, "
                            "const I *cols, const I *row_ptr, const void *unused3, const E *x, E *y",
    ("coo", "mv", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                          "const I *rows, const I *cols, const I *nnz, const E *x, E *y",
    ("coo", "mv", "seq"): "const I *m, const I *k, const E *alpha, const E *vals, const I *rows, const I *cols, "
                          "const I *nnz, const E *x, E *y",
    ("coo", "sv", "seq"): "const I *m, const I *k, const E *alpha, const E *vals, const I *rows, const I *cols, "
                          "const I *nnz, const void *unused, E *y",
    ("coo", "mm", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                          "const I *rows, const I *cols, const I *nnz, const E *b, const I *ldb, E *c, const I *ldc",
    ("coo", "sm", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                          "const I *rows, const I *cols, const I *nnz, E *y, const I *ldy",
    ("dia", "mv", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                          "const I *lval, const I *dist, const I *ndiag, const E *x, E *y",
    ("dia", "mm", "par"): "const I *first, const I *last, const I *m, const I *k, const E *alpha, const E *vals, "
                          "const I *lval, const I *dist, const I *ndiag, const E *b, const I *ldb, E *c, "
                          "const I *ldc",
    ("dia", "sv", "seq", "d"): "const I *m, const E *vals, const I *lval, const I *dist, const I *ndiag, E *y",
    ("dia", "sm", "seq", "d"): "const I *m, const I *n, const E *vals, const I *lval, const I *dist, const I *ndiag, "
                               "E *y, const I *ldy",
    ("dia", "sv", "seq", "t", "n"): "const I *m, const E *vals, const I *lval, const I *dist, E *y, "
                                    "const I *strict_first, const I *strict_last, const I *all_first, "
                                    "const I *all_last",
    ("dia", "sv", "seq", "t", "u"): "const I *m, const E *vals, const I *lval, const I *dist, E *y, "
                                    "const I *strict_first, const I *strict_last",
    ("dia", "sm", "par", "t"): "const I *first, const I *last, const I *m, const E *vals, const I *lval, "
                               "const I *dist, const void *unused, E *y, const I *ldy, const I *strict_first, "
                               "const I *strict_last, const I *all_first, const I *all_last",
    ("bsr", "mv", "par"): "const I *first, const I *last, const void *unused, const I *lb, const E *alpha, "
                          "const E *vals, const I *cols, const I *row_begin, const I *row_end, const E *x, E *y",
    ("bsr", "gemv", "par"): "const I *first, const I *last, const void *unused1, const I *lb, const void *unused2, "
                            "const void *unused3, const E *vals, const I *cols, const I *row_ptr, const E *x, E *y",
}

# The routines without the grammar: (name stem, precisions, arguments,
# kernel template, unit). `?` stands for the precision; a routine of no
# precision (precisions "-") is given the double element type. Integers
# are I, except in zor_ildlt_sv, which is 32-bit in both widths (J).
BLOCK_MM = "const I *mode, const I *mb, const I *n, const I *lb, const E *alpha, const E *vals, const I *cols, " \
           "const I *row_begin, const I *row_end, const E *b, const I *ldb, E *c, const I *ldc"
BLOCK_MM_PART = "const I *mode, const I *part, const I *mb, const I *n, const I *lb, const E *alpha, " \
                "const E *vals, const I *cols, const I *row_begin, const I *row_end, const E *b, const I *ldb, " \
                "E *c, const I *ldc"
GAUSS = "const I *part, const I *nonunit, const I *mb, const I *n, const I *lb, const E *vals, const I *cols, " \
        "const I *row_begin, const I *row_end, E *y, const I *ldy"
INVDIAG = "const I *mb, const I *n, const I *lb, const E *vals, const I *cols, const I *row_begin, " \
          "const I *row_end, E *y"
FIND_DIAG = "const I *dist, const I *ndiag, I *strict_first, I *strict_last, I *all_first, I *all_last, I *status"
ADD = "const I *first, const I *last, const I *request, const I *sort, E *a, I *ja, const I *ia, " \
      "const E *beta, E *b, I *jb, const I *ib, E *c, I *jc, I *ic, const I *nzmax, I *info"
MULT = "const I *flag, const I *m, const I *k, const I *n, const I *request, const I *block, const E *a, " \
       "const I *ja, const I *ia, const E *b, const I *jb, const I *ib, E *c, I *jc, I *ic, const I *nzmax, I *info"
OTHERS = [
    # driver routines
    ("?zeros", "sdcz", "E *p, const I *n", "zeros", "drivers"),
    ("?zerocheck", "sdcz", "const E *a, I *flag", "zerocheck", "drivers"),
    ("?ones", "sdcz", "E *a", "ones", "drivers"),
    ("?neones", "sdcz", "E *a", "neones", "drivers"),
    ("?split_par", "sdcz", "const I *first, const I *last, const I *ncopies, const I *ld, const E *buf, E *y",
     "split_par", "drivers"),
    ("?split_syml_par", "sdcz", "const I *end, const I *n, const I *begin, const void *reserved, "
     "E *const *table, E *y", "split_syml_par", "drivers"),
    ("?split_symu_par", "sdcz", "const I *n, const I *ld, const I *count, const void *reserved, "
     "E *const *table, E *y", "split_symu_par", "drivers"),
    ("find_diag_par_ln", "-", FIND_DIAG, "find_diag<'l', 'n'>", "dia"),
    ("find_diag_par_lu", "-", FIND_DIAG, "find_diag<'l', 'u'>", "dia"),
    ("find_diag_par_un", "-", FIND_DIAG, "find_diag<'u', 'n'>", "dia"),
    ("find_diag_par_uu", "-", FIND_DIAG, "find_diag<'u', 'u'>", "dia"),
    # the CSR one-offs
    ("dcsrsymmvs", "d", "const I *uplo, const I *m, const E *vals, const I *cols, const I *ia, const E *x, "
     "E *y, const void *reserved, const I *base", "csrsymmvs", "drivers"),
    ("?csrmultd_ker", "sdcz", "const I *conj, const I *first, const I *last, const I *n, const E *a, "
     "const I *ja, const I *ia, const E *b, const I *jb, const I *ib, E *c, const I *ldc", "csrmultd_ker",
     "drivers"),
    # block kernels: one-based (blocks by columns) and zero-based twins (by rows)
    ("?bsrmmgen", "sdcz", BLOCK_MM, "bsrmm<1, 'g'>", "blocks"),
    ("cspblas_?bsrmmgen", "sdcz", BLOCK_MM, "bsrmm<0, 'g'>", "blocks"),
    ("?bsrmmsym", "sdcz", BLOCK_MM_PART, "bsrmm_part<1, 's'>", "blocks"),
    ("cspblas_?bsrmmsym", "sdcz", BLOCK_MM_PART, "bsrmm_part<0, 's'>", "blocks"),
    ("?bsrmmtr", "sdcz", BLOCK_MM_PART, "bsrmm_part<1, 't'>", "blocks"),
    ("cspblas_?bsrmmtr", "sdcz", BLOCK_MM_PART, "bsrmm_part<0, 't'>", "blocks"),
    ("?bsrmmskew", "sdcz", BLOCK_MM, "bsrmm<1, 'a'>", "blocks"),
    ("cspblas_?bsrmmskew", "sdcz", BLOCK_MM, "bsrmm<0, 'a'>", "blocks"),
    ("?bsrmmdiag", "sdcz", BLOCK_MM, "bsrmm<1, 'd'>", "blocks"),
    ("cspblas_?bsrmmdiag", "sdcz", BLOCK_MM, "bsrmm<0, 'd'>", "blocks"),
    ("?bsr_gauss", "sdcz", GAUSS, "block_gauss<1, false>", "blocks"),
    ("?bsc_gauss", "sdcz", GAUSS, "block_gauss<1, true>", "blocks"),
    ("?bsr_cspblas_gauss", "sdcz", GAUSS, "block_gauss<0, false>", "blocks"),
    ("?bsc_cspblas_gauss", "sdcz", GAUSS, "block_gauss<0, true>", "blocks"),
    ("?bsr_invdiag", "sdcz", INVDIAG, "block_invdiag<1>", "blocks"),
    ("?bsr_cspblas_invdiag", "sdcz", INVDIAG, "block_invdiag<0>", "blocks"),
    # skyline
    ("?skymmgk", "sdcz", "const I *op, const void *unused, const I *m, const I *n, const I *part, "
     "const I *diag, const E *alpha, const E *vals, const I *pntr, const E *b, const I *ldb, E *c, const I *ldc",
     "skymm_triangular", "skyline"),
    ("?skymmsk", "sdcz", "const void *unused, const I *m, const I *n, const I *diag, const E *alpha, "
     "const E *vals, const I *pntr, const E *b, const I *ldb, E *c, const I *ldc", "skymm_symmetric", "skyline"),
    ("?skymmkk", "sdcz", "const I *op, const void *unused, const I *m, const I *n, const I *part, "
     "const E *alpha, const E *vals, const I *pntr, const E *b, const I *ldb, E *c, const I *ldc",
     "skymm_antisymmetric", "skyline"),
    ("?skysvk", "sdcz", "const I *op, const void *unused, const I *part, const I *diag, const I *m, "
     "const E *vals, const I *pntr, E *y", "skysv", "skyline"),
    # conversions
    ("zor_?csrcoo", "sdcz", "const I *job, const I *n, E *acsr, I *ja, I *ia, I *nnz, E *acoo, I *rowind, "
     "I *colind, I *info", "csrcoo", "conversions"),
    ("zor_?csrcsc", "sdcz", "const I *job, const I *n, E *acsr, I *ja0, I *ia0, E *acsc, I *ja1, I *ia1, "
     "I *info", "csrcsc", "conversions"),
    ("zor_?csrdia", "sdcz", "const I *job, const I *n, E *acsr, I *ja, I *ia, E *adia, const I *lval, "
     "I *dist, I *ndiag, E *acsr_rem, I *ja_rem, I *ia_rem, I *info", "csrdia", "conversions"),
    ("zor_?csrsky", "sdcz", "const I *job, const I *m, E *acsr, I *ja, I *ia, E *asky, I *pntr, I *info",
     "csrsky", "conversions"),
    ("zor_?csrbsr", "sdcz", "const I *job, const I *m, const I *mblk, const I *ldabsr, E *acsr, I *ja, I *ia, "
     "E *absr, I *jab, I *iab, I *info", "csrbsr", "conversions"),
    ("zor_?dnscsr", "sdcz", "const I *job, const I *m, const I *n, E *adns, const I *lda, E *acsr, I *ja, I *ia, "
     "I *info", "dnscsr", "conversions"),
    ("zor_ildlt_sv", "-", "const J *n, const E *values, const J *ia, const J *ja, const E *d1, const E *d2, "
     "const void *reserved, const J *bitmap, E *b, E *x, J *request", "ildlt_sv", "conversions"),
    # sorting, sums and products of CSR matrices
    ("?sortrow", "sdcz", "const I *first, const I *last, const I *ia, I *ja, E *a", "sortrow", "products"),
    ("?mcsr_notr", "sdcz", "const I *first, const I *last, const I *n, const I *request, const void *unused1, "
     "const E *a, const I *ja, const I *ia, const E *b, const I *jb, const I *ib, E *c, I *jc, I *ic, "
     "const I *nzmax, I *position, const void *unused2, I *info", "mcsr_notr", "products"),
    ("?mcsradd_notr", "sdcz", ADD, "mcsradd<false>", "products"),
    ("?mcsradd_tr", "sdcz", ADD, "mcsradd<true>", "products"),
    ("?multcsr_tr", "sdcz", MULT, "multcsr_tr", "products"),
    ("?multcsr_trom", "sdcz", MULT, "multcsr_trom", "products"),
]
# The kernel headers of each unit: a generated file includes only these.
UNIT_HEADERS = {
    "csr": ["spblas/csr_entries.hpp"],
    "coo": ["spblas/coo_entries.hpp"],
    "dia": ["spblas/dia_entries.hpp", "spblas/drivers.hpp"],
    "bsr": ["spblas/bsr_entries.hpp"],
    "drivers": ["spblas/drivers.hpp"],
    "blocks": ["spblas/bsr_blocks.hpp"],
    "skyline": ["spblas/skyline.hpp"],
    "conversions": ["spblas/conversions.hpp"],
    "products": ["spblas/csr_products.hpp"],
}
UNITS = FORMATS + ["drivers", "blocks", "skyline", "conversions", "products"]
# The units whose names are built and exported; a unit joins when all its
# kernels work and are tested.
READY = ["csr", "coo", "dia", "bsr", "drivers", "blocks", "skyline", "conversions", "products"]


def grammar_kernels(fmt=None):
    """(precision, format, base, op, structure, part, diag, operation, mode) of every grammar name."""
    out = []
    for p in PRECISIONS:
        for f in FORMATS:
            if (fmt and f != fmt) or f not in READY:
                continue
            for base in (0, 1):
                for row in GRAMMAR:
                    rf, bases, structure, parts, diags, operation, mode = row[:7]
                    ops = row[7 + PRECISIONS.index(p)]
                    if rf != f or str(base) not in bases:
                        continue
                    for op in ops:
                        for part in parts:
                            for diag in diags:
                                out.append((p, f, base, op, structure, part, diag, operation, mode))
    return out


def grammar_name(k):
    p, f, base, op, structure, part, diag, operation, mode = k
    conv = "c" if base == 0 else "f"
    return f"{p}{f}{base}{op}{structure}{part}{diag}{conv}__{operation}out_{mode}"


def args_of(k):
    p, f, base, op, structure, part, diag, operation, mode = k
    for key in ((f, operation, mode, structure, diag), (f, operation, mode, structure), (f, operation, mode)):
        if key in ARGS:
            return ARGS[key]
    raise KeyError(k)


def other_names():
    for stem, precisions, args, template, unit in OTHERS:
        if unit not in READY:
            continue
        for p in precisions:
            name = stem.replace("?", p) if p != "-" else stem
            yield ("d" if p == "-" else p), name, args, template, unit


def args_for(signature, p, itype):
    return signature.replace("const E ", "const " + ELEMENT_C[p] + " ").replace("E *", ELEMENT_C[p] + " *") \
        .replace("const I ", "const " + itype + " ").replace("I *", itype + " *") \
        .replace("const J ", "const int32_t ").replace("J *", "int32_t *")


def arg_names(signature):
    return [a.strip().split("*")[-1].strip() for a in signature.split(",")]


def all_names():
    for prefix, _ in PREFIXES:
        for k in grammar_kernels():
            yield prefix + grammar_name(k)
        for _, name, _, _, _ in other_names():
            yield prefix + name


HEADER_TOP = """/* Sparse BLAS kernels of zor_tier2. Generated by tools/spblas_family.py
 * from the family table; do not edit by hand, run
 *   python3 tools/spblas_family.py header > include/zor/spblas.h
 *
 * Each grammar kernel does one thing for one combination spelled by its name:
 *   zor_spblas_ | precision s d c z | format FORMATS | base 0 1 |
 *   op n t c s | structure g s h t a d | part l u _ | diagonal n u _ |
 *   convention c f | __ | operation mv mm sv sm gemv | out_ | mode par seq
 * op: n A, t A transposed, c A transposed and conjugated, s A conjugated.
 * In structures s and h the letter c (s) or t (h) conjugates the stored
 * values, which gives the matrix the letter names (A^H = conj(A) for s,
 * A^T = conj(A) for h, the stored diagonal's imaginary part conjugated too).
 * In structure a (A = L - L^T) the letter c gives A^H = -conj(A), t gives
 * A^T = -A.
 * Structure: general, symmetric, Hermitian, triangular, anti-symmetric (the
 * stored triangle L gives A = L - L^T, no diagonal), diagonal. Part: the
 * triangle read. Diagonal n: stored; u: taken as ones.
 * Dense operands: c row-major (i*ld + j), f column-major (j*ld + i).
 *
"""
# What the header says of each unit, told only once the unit is exported.
FORMAT_NOTES = {
    "csr": """ * csr: row i occupies positions row_begin[i-1]-b .. row_end[i-1]-b-1 with
 * b = row_begin[0]; the base digit applies to the numbers in cols.
""",
    "coo": """ * coo: nnz entries (vals, rows, cols) in any order. The range of mv counts
 * entries in structures s, a, h; g and t walk the whole list; a unit
 * diagonal adds alpha x once per call. Solves build a row list on every
 * call from pooled scratch; without scratch they fall back to m passes of
 * the whole list, which sum every strict entry into each row with the last
 * diagonal entry of the list as pivot (not a solve of the system).
""",
    "dia": """ * dia: vals[t*lval + r-1] is row r of diagonal t, dist[t] its distance
 * col - row; solves need dist sorted. mv ignores the range.
""",
    "bsr": """ * bsr: a CSR pattern of lb x lb blocks, by columns within a block in base 1
 * (c*lb + r), by rows in base 0 (r*lb + c).
""",
}
HEADER_RULES = """ *
 * mv and mm add alpha op(A) x to y (they never read beta); gemv overwrites
 * y with A x. sv and sm solve in place (only the csr diagonal structure
 * reads alpha: y := alpha y / d). A par kernel works on the one-based
 * inclusive range first..last (rows in csr mv and bsr, entries in coo mv of
 * s, a, h, dense columns in mm and sm) and returns at once when last <
 * first. Kernels validate nothing.
 *
 * zor_spblas_ integers are 64-bit; the zor_spblas_lp64_ twins take 32-bit
 * integers and are otherwise the same (zor_ildlt_sv is 32-bit in both).
 * All arguments are pointers.
 */
#ifndef ZOR_SPBLAS_H
#define ZOR_SPBLAS_H

#include <zor/export.h>

"""
UNIT_NOTES = {
    "drivers": """ * Driver routines of the family:
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
""",
    "dia": """ * The dia solves' driver search:
 *   find_diag_par_{l,u}{n,u} the parts of a sorted dist for the dia solves:
 *                           p = first position with dist >= 0 (one-based;
 *                           ndiag + 1 when there is none, and that position
 *                           then counts as a non-zero distance, never read)
""",
    "blocks": """ * Block kernels (mode 1: A, other: A^T; part 0: upper, other: lower; dense
 * operands column-major in the one-based routines, row-major in the
 * cspblas ones; y of invdiag is mb*lb x n, by columns or by rows alike):
 *   ?bsrmm{gen,sym,tr,skew,diag}   C += alpha op(A) B
 *   ?bs{r,c}_gauss                 triangular solve by block rows (bsc: the
 *                                  blocks stand transposed, A by block columns)
 *   ?bsr_invdiag                   y := y / diag(A)
""",
    "skyline": """ * Skyline (op, part and diag are integers read as zero or not; part 0 the
 * lower triangle by rows, else the upper by columns; diag 0 a unit
 * diagonal, whose term the products add):
 *   ?skymm{gk,sk,kk}        C += alpha op(A) B, triangular / symmetric / anti-symmetric
 *   ?skysvk                 y := op(A)^-1 y
 *   In c and z the dot is the conjugating one with the stored profile as
 *   its conjugated operand. With S the profile read by rows: part 0 is the
 *   matrix conj(S), other parts S^T, op != 0 the conjugate transpose of
 *   either; ?skymmsk is conj(S) on and below the diagonal and S^T above it
 *   (Hermitian for a real diagonal); ?skymmkk conj(L) - L^T of the strict
 *   part L, negated when exactly one of op and part is non-zero; ?skysvk
 *   divides by the stored diagonal unconjugated.
""",
    "conversions": """ * Conversions: zor_?csr{coo,csc,dia,sky,bsr}, zor_?dnscsr, zor_ildlt_sv,
 *   driven by their job arrays; info 0 is success, -1 no memory, 1 (or a
 *   row) capacity reached, 2 a bad job value or stride. zor_zcsrcoo's sort
 *   (job[0] = 2) moves 8-byte halves at the entries' positions: columns
 *   come sorted, value pairs of rows that were out of order do not follow.
 *   Rows are sorted in the CSR's own base. zor_?csrbsr refuses mblk < 1
 *   first (info 1); with ldabsr < mblk^2 (info 2) its marker block stays
 *   with the pool, in use. zor_?csrcsc reads n, job[1], job[2], job[5] by
 *   their low 32 bits.
""",
    "products": """ * Sorting, sums and products of CSR matrices: ?sortrow, ?mcsr_notr,
 *   ?mcsradd_{notr,tr}, ?multcsr_{tr,trom}, driven by their request codes;
 *   info 0 is success.
""",
}


def header():
    formats = [f for f in FORMATS if f in READY]
    out = [HEADER_TOP.replace("FORMATS", " ".join(formats))]
    out += [FORMAT_NOTES[f] for f in formats]
    out.append(HEADER_RULES)
    notes = [UNIT_NOTES[u] for u in UNITS if u in READY and u in UNIT_NOTES]
    if notes:
        out.append("\n/*" + "".join(notes)[2:] + " */\n")
    for prefix, itype in PREFIXES:
        out.append(f"\n/* ---- {prefix} ({itype[:-2].replace('int', '')}-bit integers) */\n")
        for p, name, args, _, _ in other_names():
            out.append(f"ZOR_API void {prefix}{name}({args_for(args, p, itype)});\n")
        for k in grammar_kernels():
            out.append(f"ZOR_API void {prefix}{grammar_name(k)}({args_for(args_of(k), k[0], itype)});\n")
    out.append("\n#endif\n")
    return "".join(out)


def unit_files():
    for prefix, _ in PREFIXES:
        width = "lp64_" if "lp64" in prefix else ""
        for unit in UNITS:
            if unit not in READY:
                continue
            for p in PRECISIONS:
                yield unit, p, prefix, f"{unit}_{width}{p}.cpp"


def write_if_changed(path, text):
    # Leave an unchanged file alone so that the build does not recompile it.
    if not os.path.exists(path) or open(path).read() != text:
        with open(path, "w") as f:
            f.write(text)


def entries(outdir):
    os.makedirs(outdir, exist_ok=True)
    itypes = dict(PREFIXES)
    for unit, p, prefix, fname in unit_files():
        itype = itypes[prefix]
        includes = "".join(f'#include "{h}"\n' for h in UNIT_HEADERS[unit])
        lines = ["// Generated by tools/spblas_family.py: the exported wrappers of one unit, precision and\n"
                 "// integer width, each a call of the kernel template its name spells.\n",
                 f"#include <zor/export.h>\n{includes}\n", "using namespace zor::spblas;\n\n"]
        if unit in FORMATS:
            for k in grammar_kernels(unit):
                if k[0] != p:
                    continue
                _, f, base, op, structure, part, diag, operation, mode = k
                sig = args_of(k)
                call = ", ".join(arg_names(sig))
                kind = f"Kind{{{base}, '{op}', '{structure}', '{part}', '{diag}'}}"
                lines.append(f"ZOR_API void {prefix}{grammar_name(k)}({args_for(sig, p, itype)}) {{\n"
                             f"  {f}_{operation}_{mode}<{TRAITS[p]}, {kind}>({call});\n}}\n")
        for q, name, args, template, u in other_names():
            if u != unit or q != p:
                continue
            call = ", ".join(arg_names(args))
            t = template.split("<", 1)
            targs = f"{TRAITS[p]}, {t[1][:-1]}" if len(t) > 1 else TRAITS[p]
            lines.append(f"ZOR_API void {prefix}{name}({args_for(args, p, itype)}) {{\n"
                         f"  {t[0]}<{targs}>({call});\n}}\n")
        write_if_changed(os.path.join(outdir, fname), "".join(lines))


def cases(path):
    lines = ["// Generated by tools/spblas_family.py: every grammar kernel of the family table.\n",
             "// {name, precision, integer bytes, format, base, op, structure, part, diagonal, operation, mode,\n"
             "//  entry}\n"]
    for prefix, itype in PREFIXES:
        ibytes = 8 if itype == "int64_t" else 4
        for k in grammar_kernels():
            p, f, base, op, structure, part, diag, operation, mode = k
            name = prefix + grammar_name(k)
            lines.append(f'{{"{name}", \'{p}\', {ibytes}, "{f}", {base}, \'{op}\', \'{structure}\', \'{part}\', '
                         f'\'{diag}\', "{operation}", "{mode}", reinterpret_cast<void (*)()>(&{name})}},\n')
    write_if_changed(path, "".join(lines))


def others(path):
    # Others<E, I>::stem is the exported routine of that element and integer
    # type (stem: the name without its precision letter and "zor_").
    elem = {"s": "float", "d": "double", "c": "std::complex<float>", "z": "std::complex<double>"}
    lines = ["// Generated by tools/spblas_family.py: the exported routines without the grammar.\n"]
    for prefix, itype in PREFIXES:
        for p in PRECISIONS:
            rows = []
            for q, name, _, _, _ in other_names():
                if q != p:
                    continue
                stem = next(s for s, ps, _, _, _ in OTHERS if (s.replace("?", q) if ps != "-" else s) == name)
                member = stem.replace("?", "").replace("zor_", "")
                rows.append(f"  static constexpr auto {member} = &{prefix}{name};\n")
            lines.append(f"template <> struct Others<{elem[p]}, {itype}> {{\n" + "".join(rows) + "};\n")
    write_if_changed(path, "".join(lines))


def main(argv):
    if len(argv) < 2:
        sys.exit(__doc__)
    what = argv[1]
    if what == "header":
        sys.stdout.write(header())
    elif what == "entries":
        entries(argv[2])
    elif what == "units":
        print(";".join(f for _, _, _, f in unit_files()))
    elif what == "cases":
        cases(argv[2])
    elif what == "others":
        others(argv[2])
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
