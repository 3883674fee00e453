#!/usr/bin/env python3
"""The C names of the BLAS front (cblas_*) and their wrappers.

Every exported C name is a row of ROUTINES: the name, the family whose
argument list and body it takes, and the precision. Each row gives two
names, cblas_dgemm with 32-bit integers and cblas_dgemm64_ with 64-bit
ones. A wrapper widens the integers and calls the family's body
(front/cblas_bodies.hpp), which checks, transforms a row-major call into
its column-major image and calls the Fortran front's body.

  cblas.py wrappers OUT.cpp   the wrappers of both widths
  cblas.py header             the public declarations (include/zor/cblas.h)
  cblas.py names              every exported C name, one a line
  cblas.py cases [OUT]        the table of names the tests walk
  cblas.py renames OUT        the renaming that makes libblas64.so.3 of the
                              same objects: the 64-bit routines under the
                              plain names, the 32-bit ones out of the way
"""
import sys

import names  # the Fortran front's table, beside this file

# Argument kinds: O order; T trans, U uplo, D diag, S side (enumerations);
# i integer; a scalar of the element type (by value for real data, by
# pointer for complex); r real scalar by value; x / X array read / written;
# R real array written.
# family: (result, arguments). Result: void, elem (by value, real data),
# real, double, index.
FAMILIES = {
    # level 1
    'axpy':   ('void', 'i:n a:alpha x:x i:incx X:y i:incy'),
    'axpby':  ('void', 'i:n a:alpha x:x i:incx a:beta X:y i:incy'),
    'copy':   ('void', 'i:n x:x i:incx X:y i:incy'),
    'swap':   ('void', 'i:n X:x i:incx X:y i:incy'),
    'scal':   ('void', 'i:n a:alpha X:x i:incx'),
    'rscal':  ('void', 'i:n r:alpha X:x i:incx'),
    'dot':    ('elem', 'i:n x:x i:incx x:y i:incy'),
    'dotu_sub': ('void', 'i:n x:x i:incx x:y i:incy X:dotu'),
    'dotc_sub': ('void', 'i:n x:x i:incx x:y i:incy X:dotc'),
    'dsdot':  ('double', 'i:n x:x i:incx x:y i:incy'),
    'sdsdot': ('elem', 'i:n r:alpha x:x i:incx x:y i:incy'),
    'nrm2':   ('real', 'i:n x:x i:incx'),
    'asum':   ('real', 'i:n x:x i:incx'),
    'iamax':  ('index', 'i:n x:x i:incx'),
    'iamin':  ('index', 'i:n x:x i:incx'),
    'cabs1':  ('real', 'x:z'),
    'rot':    ('void', 'i:n X:x i:incx X:y i:incy r:c r:s'),
    'rotg':   ('void', 'X:a X:b R:c X:s'),
    'rotm':   ('void', 'i:n X:x i:incx X:y i:incy x:p'),
    'rotmg':  ('void', 'X:d1 X:d2 X:b1 r:b2 X:p'),
    # level 2
    'gemv':   ('void', 'O T:trans i:m i:n a:alpha x:a i:lda x:x i:incx a:beta X:y i:incy'),
    'gbmv':   ('void', 'O T:trans i:m i:n i:kl i:ku a:alpha x:a i:lda x:x i:incx a:beta X:y i:incy'),
    'trmv':   ('void', 'O U:uplo T:trans D:diag i:n x:a i:lda X:x i:incx'),
    'trsv':   ('void', 'O U:uplo T:trans D:diag i:n x:a i:lda X:x i:incx'),
    'tbmv':   ('void', 'O U:uplo T:trans D:diag i:n i:k x:a i:lda X:x i:incx'),
    'tbsv':   ('void', 'O U:uplo T:trans D:diag i:n i:k x:a i:lda X:x i:incx'),
    'tpmv':   ('void', 'O U:uplo T:trans D:diag i:n x:ap X:x i:incx'),
    'tpsv':   ('void', 'O U:uplo T:trans D:diag i:n x:ap X:x i:incx'),
    'hemv':   ('void', 'O U:uplo i:n a:alpha x:a i:lda x:x i:incx a:beta X:y i:incy'),
    'hbmv':   ('void', 'O U:uplo i:n i:k a:alpha x:a i:lda x:x i:incx a:beta X:y i:incy'),
    'hpmv':   ('void', 'O U:uplo i:n a:alpha x:ap x:x i:incx a:beta X:y i:incy'),
    'geru':   ('void', 'O i:m i:n a:alpha x:x i:incx x:y i:incy X:a i:lda'),
    'gerc':   ('void', 'O i:m i:n a:alpha x:x i:incx x:y i:incy X:a i:lda'),
    'her':    ('void', 'O U:uplo i:n r:alpha x:x i:incx X:a i:lda'),
    'hpr':    ('void', 'O U:uplo i:n r:alpha x:x i:incx X:ap'),
    'her2':   ('void', 'O U:uplo i:n a:alpha x:x i:incx x:y i:incy X:a i:lda'),
    'hpr2':   ('void', 'O U:uplo i:n a:alpha x:x i:incx x:y i:incy X:ap'),
    # level 3
    'gemm':   ('void', 'O T:transa T:transb i:m i:n i:k a:alpha x:a i:lda x:b i:ldb a:beta X:c i:ldc'),
    'gemm3m': ('void', 'O T:transa T:transb i:m i:n i:k a:alpha x:a i:lda x:b i:ldb a:beta X:c i:ldc'),
    'symm':   ('void', 'O S:side U:uplo i:m i:n a:alpha x:a i:lda x:b i:ldb a:beta X:c i:ldc'),
    'hemm':   ('void', 'O S:side U:uplo i:m i:n a:alpha x:a i:lda x:b i:ldb a:beta X:c i:ldc'),
    'syrk':   ('void', 'O U:uplo T:trans i:n i:k a:alpha x:a i:lda a:beta X:c i:ldc'),
    'herk':   ('void', 'O U:uplo T:trans i:n i:k r:alpha x:a i:lda r:beta X:c i:ldc'),
    'syr2k':  ('void', 'O U:uplo T:trans i:n i:k a:alpha x:a i:lda x:b i:ldb a:beta X:c i:ldc'),
    'her2k':  ('void', 'O U:uplo T:trans i:n i:k a:alpha x:a i:lda x:b i:ldb r:beta X:c i:ldc'),
    'trmm':   ('void', 'O S:side U:uplo T:transa D:diag i:m i:n a:alpha x:a i:lda X:b i:ldb'),
    'trsm':   ('void', 'O S:side U:uplo T:transa D:diag i:m i:n a:alpha x:a i:lda X:b i:ldb'),
}

# (C name without cblas_, family, precision): the Fortran front's routines
# (front/names.py) under their C names; the complex dot products exist only
# in their _sub forms.
ROUTINES = []
for _name, _family, _p, _ in names.ROUTINES:
    if _family == 'dot' and _p in 'cz':
        ROUTINES.append((_name + '_sub', 'dotu_sub', _p))
    elif _family == 'dotc':
        ROUTINES.append((_name + '_sub', 'dotc_sub', _p))
    else:
        ROUTINES.append((_name, _family, _p))

# Names beyond the reference CBLAS: the tier's extras.
EXTRAS = {'axpby', 'iamin', 'gemm3m'}

ELEM, REAL, C_ELEM = names.ELEM, names.REAL, names.C_ELEM
ENUM = {'O': 'CBLAS_LAYOUT', 'T': 'CBLAS_TRANSPOSE', 'U': 'CBLAS_UPLO', 'D': 'CBLAS_DIAG', 'S': 'CBLAS_SIDE'}
WIDTHS = (('int', ''), ('int64_t', '64_'))


def arg_kinds(args):
    for arg in args.split():
        kind, _, name = arg.partition(':')
        yield kind, name or 'order'


def c_parameters(family, p, int_type):
    out = []
    for kind, name in arg_kinds(FAMILIES[family][1]):
        if kind in ENUM:
            out.append(f'{ENUM[kind]} {name}')
        elif kind == 'i':
            out.append(f'{int_type} {name}')
        elif kind == 'a':
            out.append(f'{REAL[p]} {name}' if p in 'sd' else f'const void *{name}')
        elif kind == 'r':
            out.append(f'{REAL[p]} {name}')
        elif kind == 'x':
            out.append(f'const {C_ELEM[p]} *{name}')
        elif kind == 'X':
            out.append(f'{C_ELEM[p]} *{name}')
        elif kind == 'R':
            out.append(f'{REAL[p]} *{name}')
    return out


def body_arguments(family):
    out = []
    for kind, name in arg_kinds(FAMILIES[family][1]):
        if kind in ENUM or kind in 'ir':
            out.append(name)
        elif kind == 'a':
            out.append(f'scalar<E>({name})')
        elif kind in 'xX':
            out.append(f'as<E>({name})')
        else:
            out.append(name)
    return ', '.join(out)


def result_type(family, p):
    result = FAMILIES[family][0]
    return {'void': 'void', 'elem': REAL[p], 'real': REAL[p], 'double': 'double', 'index': 'CBLAS_INDEX'}[result]


def expanded():
    """(C name, family, precision, integer type) of every exported C name."""
    for int_type, suffix in WIDTHS:
        for name, family, p in ROUTINES:
            yield f'cblas_{name}{suffix}', family, p, int_type


def wrapper(cname, family, p, int_type):
    params = c_parameters(family, p, int_type)
    rtype = result_type(family, p)
    call = f'zor::front::cblas::{family}("{cname.removesuffix("64_")}", {body_arguments(family)})'
    stmt = f'{call};' if rtype == 'void' else f'return {call};'
    return f'ZOR_API {rtype} {cname}({", ".join(params)}) {{\n  using E = {ELEM[p]};\n  {stmt}\n}}\n'


def write_wrappers(path):
    text = ['// Generated by front/cblas.py from its table: one wrapper per exported C name.',
            '#include <cstdint>', '', '#include <zor/cblas.h>', '', '#include "front/cblas_bodies.hpp"', '',
            'using zor::front::as;', 'using zor::front::cblas::scalar;', '']
    text += [wrapper(*row) for row in expanded()]
    new = '\n'.join(text)
    try:
        if open(path).read() == new:
            return
    except OSError:
        pass
    with open(path, 'w') as f:
        f.write(new)


PROLOGUE = """/* The C interface of the BLAS front (libzor_blas, and its second link
 * libblas.so.3): every cblas_ routine in two widths, cblas_dgemm with int
 * integers and cblas_dgemm64_ with 64-bit ones, and the tier's extras
 * (cblas_?axpby, cblas_i?amin, cblas_cgemm3m, cblas_zgemm3m).
 *
 * Matrices are column-major (CblasColMajor) or row-major (CblasRowMajor);
 * a row-major call runs as the column-major call on the transposed
 * operands. Complex scalars and arrays are passed as void pointers to
 * interleaved (re, im) pairs. Indices returned by cblas_i?amax/amin count
 * from 0.
 *
 * A bad argument is reported to cblas_xerbla(position, routine, message,
 * ...) with the position counted from the order argument (1) at the place
 * the reference interface reports it; for a row-major call that is the
 * position in its column-major image, and RowMajorStrg is 1 while the
 * report runs (CBLAS_CallFromC too), so that a handler can translate it.
 * The routine then returns having written nothing. The cblas_xerbla here
 * prints the translated position and returns; a program that defines its
 * own receives the reports instead, and a handler set with
 * zor_blas_set_error_handler (<zor/fortran_blas.h>) takes precedence.
 * Level-3 routines run on several threads when the work is large
 * (<zor/blas_threads.h>).
 *
 * Generated by front/cblas.py. */
#ifndef ZOR_CBLAS_H
#define ZOR_CBLAS_H

#include <stddef.h>
#include <zor/blas_threads.h>
#include <zor/export.h>

typedef enum { CblasRowMajor = 101, CblasColMajor = 102 } CBLAS_LAYOUT;
typedef CBLAS_LAYOUT CBLAS_ORDER;
typedef enum { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 } CBLAS_TRANSPOSE;
typedef enum { CblasUpper = 121, CblasLower = 122 } CBLAS_UPLO;
typedef enum { CblasNonUnit = 131, CblasUnit = 132 } CBLAS_DIAG;
typedef enum { CblasLeft = 141, CblasRight = 142 } CBLAS_SIDE;
typedef size_t CBLAS_INDEX;

/* Set to 1 while a bad argument is being reported (RowMajorStrg: of a
 * row-major call); 0 otherwise. */
ZOR_API int RowMajorStrg;
ZOR_API int CBLAS_CallFromC;
ZOR_API void cblas_xerbla(int position, const char *routine, const char *message, ...);

/* ---- the routines, int then 64-bit integers */
"""


def header():
    lines = [PROLOGUE.rstrip('\n')]
    for cname, family, p, int_type in expanded():
        lines.append(f'ZOR_API {result_type(family, p)} {cname}({", ".join(c_parameters(family, p, int_type))});')
    lines.append('\n#endif')
    return '\n'.join(lines)


def cases():
    """The test table: every 32-bit C name, its family's argument kinds, its
    result, and whether the reference interface has it."""
    out = []
    for cname, family, p, int_type in expanded():
        if int_type != 'int':
            continue
        result, args = FAMILIES[family]
        out.append(f'{{"{cname}", \'{p}\', "{result}", "{args}", {str(family not in EXTRAS).lower()}}},')
    return '\n'.join(out)


def renames():
    """objcopy --redefine-syms lines: dgemm_64_ -> dgemm_, dgemm_ -> zor_lp64_dgemm_
    (made local afterwards), and the same for every Fortran and C name."""
    pairs = []
    for name, family, p, is_sub, int_type, suffix in names.expanded():
        if suffix == '_':
            plain = names.exported(name, is_sub, '_')
            pairs += [(plain, 'zor_lp64_' + plain), (names.exported(name, is_sub, '_64_'), plain)]
    for plain in ('lsame_', 'xerbla_', 'xerbla_array_'):
        pairs += [(plain, 'zor_lp64_' + plain), (plain[:-1] + '_64_', plain)]
    for cname, family, p, int_type in expanded():
        if int_type == 'int':
            pairs += [(cname, 'zor_lp64_' + cname), (cname + '64_', cname)]
    return '\n'.join(f'{old} {new}' for old, new in pairs) + '\n'


if __name__ == '__main__':
    command = sys.argv[1]
    if command == 'wrappers':
        write_wrappers(sys.argv[2])
    elif command == 'header':
        print(header())
    elif command == 'cases':
        if len(sys.argv) > 2:
            with open(sys.argv[2], 'w') as f:
                f.write(cases() + '\n')
        else:
            print(cases())
    elif command == 'renames':
        with open(sys.argv[2], 'w') as f:
            f.write(renames())
    elif command == 'names':
        for cname, *_ in expanded():
            print(cname)
    else:
        sys.exit(f'unknown command {command}')
