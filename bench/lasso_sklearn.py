#!/usr/bin/python3
"""QXLasso beside scikit-learn's lars_path, in turns on one core in one run.

Usage: lasso_sklearn.py PATH_OF_lasso_path [REPEATS]   (python3-sklearn)

lars_path is measured as it stands and with the Gram matrix made first (Gram='auto'), the time of
which is part of it. The last coefficients of both must agree. With the reference BLAS NumPy is far
slower than with OpenBLAS (libopenblas0-pthread; LD_LIBRARY_PATH=.../openblas-pthread where it is
not the default), so which one it is is printed first.
"""

import os

for variable in ('OPENBLAS_NUM_THREADS', 'OMP_NUM_THREADS'):
    os.environ[variable] = '1'
os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})

import statistics
import subprocess
import sys
import tempfile
import time
import warnings

import numpy as np
from sklearn.linear_model import lars_path
from threadpoolctl import threadpool_info

program = sys.argv[1]
repeats = int(sys.argv[2]) if len(sys.argv) > 2 else 5
warnings.simplefilter('ignore')  # degenerate columns, which both leave out


def ours(path, shape, limit):
    text = subprocess.run([program, path, *map(str, shape), str(limit), '1'], check=True,
                          capture_output=True, text=True).stdout.split('\n')
    coefficients = np.zeros(shape[1])
    for line in filter(None, text[1:]):
        column, value = line.split()
        coefficients[int(column)] = float(value)
    return float(text[0]), coefficients


def theirs(X, y, limit, gram):
    start = time.perf_counter()
    # The knot after `limit` steps is where another column would enter, if none has left.
    coefficients = lars_path(X, y, method='lasso', Gram=gram, max_iter=limit or 10**9)[2]
    return time.perf_counter() - start, coefficients[:, -1]


def measure(rows, columns, limit):
    random = np.random.default_rng(7)
    X = np.asfortranarray(random.normal(size=(rows, columns)))
    X -= X.mean(axis=0)
    X /= np.linalg.norm(X, axis=0)
    y = X @ (random.normal(size=columns) * random.random(columns)) + random.normal(size=rows)
    seconds = {'QXLasso': [], 'lars_path': [], "lars_path, Gram='auto'": []}
    difference = 0
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, 'design')
        with open(path, 'wb') as file:
            file.write(X.tobytes(order='F') + y.tobytes())
        for _ in range(repeats):
            runs = {'QXLasso': ours(path, X.shape, limit),
                    'lars_path': theirs(X, y, limit, None),
                    "lars_path, Gram='auto'": theirs(X, y, limit, 'auto')}
            for name, (time_taken, coefficients) in runs.items():
                seconds[name].append(time_taken)
                difference = max(difference, abs(coefficients - runs['QXLasso'][1]).max()
                                 / abs(coefficients).max())
    print(f'{rows} x {columns}, ' + (f'{limit} actives' if limit else 'to the end')
          + f': {np.count_nonzero(coefficients)} not zero, largest difference {difference:.1e}')
    median = {name: statistics.median(times) for name, times in seconds.items()}
    for name, times in seconds.items():
        print(f'  {name:24}{median[name]:9.4f} s  ({min(times):.4f} .. {max(times):.4f})'
              f'{median[name] / median["QXLasso"]:8.2f}')
    if not difference < 1e-6:
        sys.exit('the coefficients differ')


blas = [f"{info['internal_api']} {info['version']}" for info in threadpool_info()
        if info['user_api'] == 'blas']
print(*(blas or ['reference BLAS']))
measure(5000, 2000, 200)
measure(20000, 500, 0)
measure(300, 80, 0)
