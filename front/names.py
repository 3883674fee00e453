#!/usr/bin/env python3
"""The names of the Fortran BLAS front and their wrappers.

Every exported Fortran name is a row of ROUTINES below: the name's letters,
the family whose argument list and body it takes, and the precision. Each
row gives two names, the 32-bit one (dgemm_) and the 64-bit one (dgemm_64_);
a function row also gives the subroutine forms (ddotsub_, ddotsub_64_) that
return through a last argument. The wrapper of a name only reads its
arguments at their width and calls the family's body (front/bodies.hpp).

  names.py wrappers OUT.cpp   the wrappers of both widths
  names.py header             the public declarations (include/zor/fortran_blas.h)
  names.py names              every exported Fortran name, one a line
  names.py cases              the table of names the tests walk
"""
import sys

# Argument kinds: c letter, i integer, e/E element array or scalar (read /
# written), r/R real (read / written).
# family: (result, arguments, body). Result: info (bad-argument position,
# reported), void, elem, real, index, double.
FAMILIES = {
    # level 1
    'axpy':  ('void', 'i:n e:alpha e:x i:incx E:y i:incy', 'axpy'),
    'axpby': ('void', 'i:n e:alpha e:x i:incx e:beta E:y i:incy', 'axpby'),
    'copy':  ('void', 'i:n e:x i:incx E:y i:incy', 'copy'),
    'swap':  ('void', 'i:n E:x i:incx E:y i:incy', 'swap'),
    'scal':  ('void', 'i:n e:alpha E:x i:incx', 'scal'),
    'rscal': ('void', 'i:n r:alpha E:x i:incx', 'rscal'),
    'dot':   ('elem', 'i:n e:x i:incx e:y i:incy', 'dotu'),
    'dotc':  ('elem', 'i:n e:x i:incx e:y i:incy', 'dotc'),
    'dsdot': ('double', 'i:n e:x i:incx e:y i:incy', 'dsdot'),
    'sdsdot': ('elem', 'i:n r:sb e:x i:incx e:y i:incy', 'sdsdot'),
    'nrm2':  ('real', 'i:n e:x i:incx', 'nrm2'),
    'asum':  ('real', 'i:n e:x i:incx', 'asum'),
    'iamax': ('index', 'i:n e:x i:incx', 'iamax'),
    'iamin': ('index', 'i:n e:x i:incx', 'iamin'),
    'cabs1': ('real', 'e:z', 'cabs1'),
    'rot':   ('void', 'i:n E:x i:incx E:y i:incy r:c r:s', 'rot'),
    'rotg':  ('void', 'E:a E:b R:c E:s', 'rotg'),
    'rotm':  ('void', 'i:n E:x i:incx E:y i:incy e:param', 'rotm'),
    'rotmg': ('void', 'E:d1 E:d2 E:x1 e:y1 E:param', 'rotmg'),
    # level 2
    'gemv':  ('info', 'c:trans i:m i:n e:alpha e:a i:lda e:x i:incx e:beta E:y i:incy', 'gemv'),
    'gbmv':  ('info', 'c:trans i:m i:n i:kl i:ku e:alpha e:a i:lda e:x i:incx e:beta E:y i:incy', 'gbmv'),
    'hemv':  ('info', 'c:uplo i:n e:alpha e:a i:lda e:x i:incx e:beta E:y i:incy', 'hemv'),
    'hbmv':  ('info', 'c:uplo i:n i:k e:alpha e:a i:lda e:x i:incx e:beta E:y i:incy', 'hbmv'),
    'hpmv':  ('info', 'c:uplo i:n e:alpha e:ap e:x i:incx e:beta E:y i:incy', 'hpmv'),
    'trmv':  ('info', 'c:uplo c:trans c:diag i:n e:a i:lda E:x i:incx', 'trxv<Tri::mv>'),
    'trsv':  ('info', 'c:uplo c:trans c:diag i:n e:a i:lda E:x i:incx', 'trxv<Tri::sv>'),
    'tbmv':  ('info', 'c:uplo c:trans c:diag i:n i:k e:a i:lda E:x i:incx', 'tbxv<Tri::mv>'),
    'tbsv':  ('info', 'c:uplo c:trans c:diag i:n i:k e:a i:lda E:x i:incx', 'tbxv<Tri::sv>'),
    'tpmv':  ('info', 'c:uplo c:trans c:diag i:n e:ap E:x i:incx', 'tpxv<Tri::mv>'),
    'tpsv':  ('info', 'c:uplo c:trans c:diag i:n e:ap E:x i:incx', 'tpxv<Tri::sv>'),
    'geru':  ('info', 'i:m i:n e:alpha e:x i:incx e:y i:incy E:a i:lda', 'ger<false>'),
    'gerc':  ('info', 'i:m i:n e:alpha e:x i:incx e:y i:incy E:a i:lda', 'ger<true>'),
    'her':   ('info', 'c:uplo i:n r:alpha e:x i:incx E:a i:lda', 'her'),
    'hpr':   ('info', 'c:uplo i:n r:alpha e:x i:incx E:ap', 'hpr'),
    'her2':  ('info', 'c:uplo i:n e:alpha e:x i:incx e:y i:incy E:a i:lda', 'her2'),
    'hpr2':  ('info', 'c:uplo i:n e:alpha e:x i:incx e:y i:incy E:ap', 'hpr2'),
    # level 3
    'gemm':  ('info', 'c:transa c:transb i:m i:n i:k e:alpha e:a i:lda e:b i:ldb e:beta E:c i:ldc', 'gemm<false>'),
    'gemm3m': ('info', 'c:transa c:transb i:m i:n i:k e:alpha e:a i:lda e:b i:ldb e:beta E:c i:ldc', 'gemm<true>'),
    'symm':  ('info', 'c:side c:uplo i:m i:n e:alpha e:a i:lda e:b i:ldb e:beta E:c i:ldc', 'symm<false>'),
    'hemm':  ('info', 'c:side c:uplo i:m i:n e:alpha e:a i:lda e:b i:ldb e:beta E:c i:ldc', 'symm<true>'),
    'syrk':  ('info', 'c:uplo c:trans i:n i:k e:alpha e:a i:lda e:beta E:c i:ldc', 'syrk<false>'),
    'herk':  ('info', 'c:uplo c:trans i:n i:k r:alpha e:a i:lda r:beta E:c i:ldc', 'syrk<true>'),
    'syr2k': ('info', 'c:uplo c:trans i:n i:k e:alpha e:a i:lda e:b i:ldb e:beta E:c i:ldc', 'syr2k<false>'),
    'her2k': ('info', 'c:uplo c:trans i:n i:k e:alpha e:a i:lda e:b i:ldb r:beta E:c i:ldc', 'syr2k<true>'),
    'trmm':  ('info', 'c:side c:uplo c:transa c:diag i:m i:n e:alpha e:a i:lda E:b i:ldb', 'trxm<Tri::mv>'),
    'trsm':  ('info', 'c:side c:uplo c:transa c:diag i:m i:n e:alpha e:a i:lda E:b i:ldb', 'trxm<Tri::sv>'),
}

# (name, family, precision, has a subroutine form). The precision letter
# gives the element type; a row whose element differs from its name's
# first letter (scnrm2: complex data, real result) says so by its own.
ROUTINES = []


def rows(family, names, precisions, sub=False):
    for name, p in zip(names.split(), precisions):
        ROUTINES.append((name, family, p, sub))


rows('axpy', 'saxpy daxpy caxpy zaxpy', 'sdcz')
rows('axpby', 'saxpby daxpby caxpby zaxpby', 'sdcz')
rows('copy', 'scopy dcopy ccopy zcopy', 'sdcz')
rows('swap', 'sswap dswap cswap zswap', 'sdcz')
rows('scal', 'sscal dscal cscal zscal', 'sdcz')
rows('rscal', 'csscal zdscal', 'cz')
rows('dot', 'sdot ddot cdotu zdotu', 'sdcz', sub=True)
rows('dotc', 'cdotc zdotc', 'cz', sub=True)
rows('dsdot', 'dsdot', 's', sub=True)
rows('sdsdot', 'sdsdot', 's', sub=True)
rows('nrm2', 'snrm2 dnrm2 scnrm2 dznrm2', 'sdcz', sub=True)
rows('asum', 'sasum dasum scasum dzasum', 'sdcz', sub=True)
rows('iamax', 'isamax idamax icamax izamax', 'sdcz', sub=True)
rows('iamin', 'isamin idamin icamin izamin', 'sdcz')
rows('cabs1', 'scabs1 dcabs1', 'cz', sub=True)
rows('rot', 'srot drot csrot zdrot', 'sdcz')
rows('rotg', 'srotg drotg crotg zrotg', 'sdcz')
rows('rotm', 'srotm drotm', 'sd')
rows('rotmg', 'srotmg drotmg', 'sd')
rows('gemv', 'sgemv dgemv cgemv zgemv', 'sdcz')
rows('gbmv', 'sgbmv dgbmv cgbmv zgbmv', 'sdcz')
rows('hemv', 'ssymv dsymv chemv zhemv', 'sdcz')
rows('hbmv', 'ssbmv dsbmv chbmv zhbmv', 'sdcz')
rows('hpmv', 'sspmv dspmv chpmv zhpmv', 'sdcz')
for f in ('trmv', 'trsv', 'tbmv', 'tbsv', 'tpmv', 'tpsv', 'gemm', 'symm', 'syrk', 'syr2k', 'trmm', 'trsm'):
    rows(f, ' '.join(p + f for p in 'sdcz'), 'sdcz')
rows('geru', 'sger dger cgeru zgeru', 'sdcz')
rows('gerc', 'cgerc zgerc', 'cz')
rows('her', 'ssyr dsyr cher zher', 'sdcz')
rows('hpr', 'sspr dspr chpr zhpr', 'sdcz')
rows('her2', 'ssyr2 dsyr2 cher2 zher2', 'sdcz')
rows('hpr2', 'sspr2 dspr2 chpr2 zhpr2', 'sdcz')
rows('gemm3m', 'cgemm3m zgemm3m', 'cz')
rows('hemm', 'chemm zhemm', 'cz')
rows('herk', 'cherk zherk', 'cz')
rows('her2k', 'cher2k zher2k', 'cz')

ELEM = {'s': 'float', 'd': 'double', 'c': 'zor::cplx<float>', 'z': 'zor::cplx<double>'}
REAL = {'s': 'float', 'd': 'double', 'c': 'float', 'z': 'double'}
C_ELEM = {'s': 'float', 'd': 'double', 'c': 'void', 'z': 'void'}   # arrays at the C boundary
C_VALUE = {'s': 'float', 'd': 'double', 'c': 'zor_complex8', 'z': 'zor_complex16'}  # results
WIDTHS = (('int32_t', '_'), ('int64_t', '_64_'))


def suffixed(name, suffix):
    return name + suffix


def c_arguments(args, p, int_type):
    out = []
    for arg in args.split():
        kind, name = arg.split(':')
        ctype = {'c': 'const char', 'i': 'const ' + int_type, 'e': 'const ' + C_ELEM[p], 'E': C_ELEM[p],
                 'r': 'const ' + REAL[p], 'R': REAL[p]}[kind]
        out.append(f'{ctype} *{name}')
    return out


def body_arguments(args):
    out = []
    for arg in args.split():
        kind, name = arg.split(':')
        out.append(f'*{name}' if kind in 'ci' else f'as<{"E" if kind in "eE" else "R"}>({name})')
    return ', '.join(out)


def result_type(result, p, int_type, c_side):
    if result in ('info', 'void'):
        return 'void'
    if result == 'elem':
        return C_VALUE[p] if c_side else ELEM[p]
    if result == 'real':
        return REAL[p]
    if result == 'double':
        return 'double'
    return int_type  # index


def expanded():
    """(name, family, precision, is_sub, int_type, suffix) of every exported Fortran name."""
    for int_type, suffix in WIDTHS:
        for name, family, p, sub in ROUTINES:
            yield name, family, p, False, int_type, suffix
            if sub:
                yield name, family, p, True, int_type, suffix


def exported(name, is_sub, suffix):
    return (name + 'sub' if is_sub else name) + suffix


def wrapper(name, family, p, is_sub, int_type, suffix):
    result, args, body = FAMILIES[family]
    params = c_arguments(args, p, int_type)
    rtype = result_type(result, p, int_type, True)
    call = f'zor::front::{body}({body_arguments(args)})'
    if is_sub:
        params.append(f'{rtype} *result')
        stmt = f'*result = {rtype}({call});' if result != 'elem' or p in 'sd' else f'*result = std::bit_cast<{rtype}>({call});'
        rtype = 'void'
    elif result == 'info':
        stmt = f'if (int bad = {call}) bad_argument("{name.upper()}", bad, {"true" if int_type == "int64_t" else "false"});'
    elif result == 'void':
        stmt = call + ';'
    elif result == 'elem' and p in 'cz':
        stmt = f'return std::bit_cast<{rtype}>({call});'
    else:
        stmt = f'return {rtype}({call});'
    types = (f'  using E = {ELEM[p]};\n' if 'as<E>' in stmt else '') + (f'  using R = {REAL[p]};\n' if 'as<R>' in stmt else '')
    return f'ZOR_API {rtype} {exported(name, is_sub, suffix)}({", ".join(params)}) {{\n{types}  {stmt}\n}}\n'


def write_wrappers(path):
    text = ['// Generated by front/names.py from its table: one wrapper per exported name.',
            '#include <bit>', '#include <cstdint>', '', '#include "front/bodies.hpp"', '#include "front/front.hpp"', '',
            'using zor::front::as;', 'using zor::front::Tri;', 'using zor::front::bad_argument;', '']
    text += [wrapper(*row) for row in expanded()]
    new = '\n'.join(text)
    try:
        if open(path).read() == new:
            return
    except OSError:
        pass
    with open(path, 'w') as f:
        f.write(new)


PROLOGUE = """/* The Fortran BLAS of libzor_blas (and of its second link, libblas.so.3).
 *
 * Every routine of the published BLAS under its Fortran name, in two
 * widths: dgemm_ takes 32-bit integers (only the low 32 bits of each are
 * read), dgemm_64_ 64-bit ones. Everything is by reference; a letter is
 * read at its first byte in either case, and the hidden lengths a Fortran
 * caller appends for letters are accepted and never read, so C callers may
 * leave them out. Complex functions (cdotc_ ...) return their value as a
 * Fortran COMPLEX function does; their ...sub_ forms return it through a
 * last argument. Complex arrays are interleaved (re, im) pairs.
 *
 * A bad argument is reported by position to xerbla_ (xerbla_64_), exactly
 * where the published routine reports it, and the routine returns having
 * written nothing. The xerbla_ here prints the usual line and returns; a
 * program that defines its own xerbla_ receives the reports instead, and a
 * handler set by zor_blas_set_error_handler takes precedence over both.
 *
 * Generated by front/names.py. */
#ifndef ZOR_FORTRAN_BLAS_H
#define ZOR_FORTRAN_BLAS_H

#include <stddef.h>
#include <zor/export.h>

/* ---- errors */
ZOR_API void xerbla_(const char *name, const int *info, size_t name_length);
ZOR_API void xerbla_64_(const char *name, const int64_t *info, size_t name_length);
ZOR_API void xerbla_array_(const char *name, const int *length, const int *info, size_t);
ZOR_API void xerbla_array_64_(const char *name, const int64_t *length, const int64_t *info, size_t);
ZOR_API int lsame_(const char *a, const char *b, size_t, size_t);
ZOR_API int64_t lsame_64_(const char *a, const char *b, size_t, size_t);

/* Called with the routine's name ("DGEMM", "cblas_dgemm") and the position
 * of the bad argument in place of xerbla_ / cblas_xerbla while it is set.
 * Setting is atomic and returns the previous handler; null restores the
 * default. */
typedef void (*zor_blas_error_handler)(const char *routine, int64_t position);
ZOR_API zor_blas_error_handler zor_blas_set_error_handler(zor_blas_error_handler handler);
/* The last bad argument met on the calling thread: its position (0: none
 * since the thread started or last cleared) and, through routine if not
 * null, the routine's name. */
ZOR_API int64_t zor_blas_last_error(const char **routine);
ZOR_API void zor_blas_clear_last_error(void);

/* ---- the routines, 32-bit then 64-bit integers */
"""


def header():
    lines = [PROLOGUE.rstrip('\n')]
    for name, family, p, is_sub, int_type, suffix in expanded():
        result, args, _ = FAMILIES[family]
        params = c_arguments(args, p, 'int' if int_type == 'int32_t' else 'int64_t')
        rtype = result_type(result, p, 'int' if int_type == 'int32_t' else 'int64_t', True)
        if is_sub:
            params.append(f'{rtype} *result')
            rtype = 'void'
        lines.append(f'ZOR_API {rtype} {exported(name, is_sub, suffix)}({", ".join(params)});')
    lines.append('\n#endif')
    return '\n'.join(lines)


def cases():
    """The test table: every exported Fortran name with its argument kinds
    and the reference routine that serves as its oracle ('' for none)."""
    oracle_of = {'cgemm3m': 'cgemm', 'zgemm3m': 'zgemm'}
    out = []
    for name, family, p, is_sub, int_type, suffix in expanded():
        if suffix != '_':
            continue
        result, args, _ = FAMILIES[family]
        oracle = '' if family in ('axpby', 'iamin') else oracle_of.get(name, name)
        if oracle and is_sub:
            oracle += 'sub'
        out.append(f'{{"{exported(name, is_sub, "")}", "{oracle}", \'{p}\', "{result}", {str(is_sub).lower()}, '
                   f'"{args}"}},')
    return '\n'.join(out)


if __name__ == '__main__':
    command = sys.argv[1]
    if command == 'wrappers':
        write_wrappers(sys.argv[2])
    elif command == 'header':
        print(header())
    elif command == 'cases':
        print(cases())
    elif command == 'names':
        for name, family, p, is_sub, int_type, suffix in expanded():
            print(exported(name, is_sub, suffix))
    else:
        sys.exit(f'unknown command {command}')

