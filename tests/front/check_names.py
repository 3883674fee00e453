#!/usr/bin/env python3
"""The dynamic symbol table of our libblas.so.3 against the reference's.

Every name the reference libblas.so.3 defines must be ours (the C names
only when --with-c, once the C layer is built), each Fortran name also
with the 64-bit suffix; besides those, only the tier's extras, the front's
own zor_blas_* functions and nothing that the reference LAPACK defines.
Of its own names the library calls only the error routines through the
dynamic symbol table (a program's definitions replace them); every other
internal call binds inside the library.

With --plain64, OURS is libblas64.so.3: the same names with 64-bit
integers and no suffixed twins, which a call with a negative size whose
low half looks valid shows (it does nothing).

  check_names.py OURS REFERENCE_BLAS REFERENCE_LAPACK NAMES_PY [--with-c] [--plain64]
"""
import ctypes
import subprocess
import sys


def defined(path):
    out = subprocess.run(['nm', '-D', '--defined-only', path], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1] for line in out.splitlines() if line.strip()}


def wide_sizes(path):
    """ddot_ and cblas_ddot read all 64 bits of n."""
    lib = ctypes.CDLL(path)
    x = (ctypes.c_double * 3)(1, 2, 3)
    i64, dbl = ctypes.c_int64, ctypes.c_double
    lib.ddot_.restype = lib.cblas_ddot.restype = dbl
    lib.cblas_ddot.argtypes = [i64, ctypes.c_void_p, i64, ctypes.c_void_p, i64]
    out = []
    for n, expected in ((3, 14.0), (-(1 << 32) + 3, 0.0)):
        one, size = i64(1), i64(n)
        got = lib.ddot_(ctypes.byref(size), x, ctypes.byref(one), x, ctypes.byref(one))
        if got != expected:
            out.append(f'ddot_ with n = {n}: {got}, expected {expected}')
        got = lib.cblas_ddot(n, x, 1, x, 1)
        if got != expected:
            out.append(f'cblas_ddot with n = {n}: {got}, expected {expected}')
    return out


def main():
    ours_path, ref_blas, ref_lapack, names_py = sys.argv[1:5]
    with_c = '--with-c' in sys.argv
    ours, reference, lapack = defined(ours_path), defined(ref_blas), defined(ref_lapack)
    fortran = set(subprocess.run([sys.executable, names_py, 'names'], check=True, capture_output=True,
                                 text=True).stdout.split())
    fortran |= {'lsame_', 'xerbla_', 'xerbla_array_', 'lsame_64_', 'xerbla_64_', 'xerbla_array_64_'}
    plain64 = '--plain64' in sys.argv
    if plain64:
        fortran = {n for n in fortran if not n.endswith('_64_')}
    c_names = {n for n in reference if n.startswith('cblas_') or n in ('RowMajorStrg', 'CBLAS_CallFromC')}
    problems = []
    for n in sorted(reference - ours):
        if n in c_names and not with_c:
            continue
        problems.append(f'missing: {n}')
    for n in sorted(n for n in reference if n.endswith('_') and not n.startswith('cblas_')):
        if not plain64 and n[:-1] + '_64_' not in ours:
            problems.append(f'missing 64-bit twin of {n}')
    for n in sorted(fortran - ours):
        problems.append(f'table name not exported: {n}')
    extra = ours - reference - fortran
    extra = {n for n in extra if not n.startswith('zor_blas_') and not (with_c and n.startswith('cblas_'))}
    extra -= {'_init', '_fini'}
    # The address sanitizer's indicators of exported globals.
    extra = {n for n in extra if not n.startswith('__odr_asan')}
    for n in sorted(extra):
        problems.append(f'unexpected export: {n}')
    for n in sorted((ours & lapack) - reference):
        problems.append(f'a LAPACK name: {n}')
    relocations = subprocess.run(['objdump', '-R', ours_path], check=True, capture_output=True, text=True).stdout
    called = {line.split()[-1].split('@')[0] for line in relocations.splitlines() if 'JUMP_SLOT' in line or 'GLOB_DAT' in line}
    # (the C layer's data words are shared with the program the same way)
    allowed = {'xerbla_', 'xerbla_64_', 'cblas_xerbla', 'cblas_xerbla64_', 'RowMajorStrg', 'CBLAS_CallFromC'}
    for n in sorted((called & ours) - allowed):
        problems.append(f'own name called through the dynamic table: {n}')
    for n in ('xerbla_',) if plain64 else ('xerbla_', 'xerbla_64_'):
        if n not in called:
            problems.append(f'{n} is not called through the dynamic table: a program could not replace it')
    if plain64:
        problems += wide_sizes(ours_path)
    for p in problems:
        print(p)
    print(f'{len(ours)} names exported, {len(reference)} in the reference, {len(problems)} problems')
    return 1 if problems else 0


if __name__ == '__main__':
    sys.exit(main())
