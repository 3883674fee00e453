#!/usr/bin/python3
"""Debian's numpy on our libblas.so.3 (run with LD_LIBRARY_PATH at the
drop-in's folder and the reference LAPACK's): solve, inv, eigh, svd and
matmul on random matrices, each checked by an identity, in both real
and complex double and single precision.

  numpy_check.py EXPECTED_LIBBLAS
"""
import os
import sys

import numpy as np


def loaded(name):
    """The mapped files whose name starts with `name`."""
    with open('/proc/self/maps') as maps:
        paths = {line.split()[-1] for line in maps if '/' in line}
    return {p for p in paths if os.path.basename(p).startswith(name)}


def main():
    expected = os.path.realpath(sys.argv[1])
    np.dot(np.ones((2, 2)), np.ones((2, 2)))  # loads the BLAS
    np.linalg.inv(np.eye(2))                  # and LAPACK
    blas = {os.path.realpath(p) for p in loaded('libblas.so')}
    lapack = loaded('liblapack.so')
    print('libblas.so.3:', blas, 'liblapack.so.3:', lapack)
    if blas != {expected} or any('openblas' in p for p in lapack | loaded('libopenblas')):
        print('not our BLAS under the reference LAPACK')
        return 1
    rng = np.random.default_rng(20261123)
    failures = 0
    for dtype, tol in ((np.float64, 1e-10), (np.complex128, 1e-10), (np.float32, 2e-3), (np.complex64, 2e-3)):
        for n in (1, 7, 64, 203):
            a = rng.standard_normal((n, n)) + (1j * rng.standard_normal((n, n)) if np.iscomplexobj(dtype(0)) else 0)
            a = (a + n * np.eye(n)).astype(dtype)   # well conditioned
            b = rng.standard_normal((n, 3)).astype(dtype)
            h = (a + a.conj().T) / 2
            checks = {
                'matmul': np.abs(a @ b - np.einsum('ij,jk->ik', a, b)).max() / max(1, np.abs(a).max() * np.abs(b).max() * n),
                'solve': np.abs(a @ np.linalg.solve(a, b) - b).max() / max(1, np.abs(b).max()),
                'inv': np.abs(a @ np.linalg.inv(a) - np.eye(n)).max(),
            }
            w, v = np.linalg.eigh(h)
            checks['eigh'] = np.abs(h @ v - v * w).max() / max(1, np.abs(h).max())
            u, s, vh = np.linalg.svd(a)
            checks['svd'] = np.abs((u * s) @ vh - a).max() / max(1, np.abs(a).max())
            for name, err in checks.items():
                ok = err <= tol * n
                failures += not ok
                if not ok:
                    print(f'{name} {np.dtype(dtype).name} n={n}: residual {err:.3g}')
    print('numpy checks:', 'all passed' if not failures else f'{failures} failed')
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
