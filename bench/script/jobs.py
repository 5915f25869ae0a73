# The jobs of ./zavo bench script on the side of NumPy and SciPy; see jobs.tcl.
import sys
import time

import numpy as np

N = 1000000
single = np.float32


def sequence(n, step):
    return (np.fmod(np.arange(n, dtype=np.float64) * step, 1) - 0.5).astype(single)


def calc():
    x = sequence(N, 0.618034)
    y = sequence(N, 0.414214)
    two = single(2)
    return lambda: two * np.sin(x) + y * y, lambda r: r.sum(dtype=np.float64)


def exp():
    x = sequence(N, 0.618034)
    return lambda: np.exp(x), lambda r: r.sum(dtype=np.float64)


def log():
    x = sequence(N, 0.618034) + single(1)
    return lambda: np.log(x), lambda r: r.sum(dtype=np.float64)


def tan():
    x = sequence(N, 0.618034)
    return lambda: np.tan(x), lambda r: np.linalg.norm(r.astype(np.float64))


def power():
    x = sequence(N, 0.618034) + single(1)
    exponent = single(1.5)
    return lambda: x**exponent, lambda r: r.sum(dtype=np.float64)


def statistics():
    x = sequence(N, 0.618034)
    return lambda: (x.mean(), x.std(ddof=1)), lambda r: r[1]


def normals():
    generator = np.random.default_rng(1)
    return lambda: generator.standard_normal(N, dtype=single), lambda r: int(abs(r.mean()) < 0.01)


def spectrum():
    from scipy.signal import periodogram

    x = sequence(1048576, 0.618034)
    return lambda: periodogram(x, window="hann", detrend="constant")[1], lambda r: r.sum(dtype=np.float64)


def convolution():
    from scipy.signal import convolve

    x = sequence(100000, 0.618034)
    y = sequence(1000, 0.414214)
    return lambda: convolve(x, y), lambda r: np.linalg.norm(r.astype(np.float64))


def text():
    words = (str(i * 7046029254386353131 + 10**19)[-17:] for i in range(1, N + 1))
    digits = " ".join("0." + word for word in words)
    return lambda: np.fromstring(digits, sep=" ").astype(single), lambda r: r.sum(dtype=np.float64)


def rosenbrock():
    from scipy.optimize import minimize

    def f(x):
        return 100 * (x[1] - x[0] * x[0]) ** 2 + (1 - x[0]) ** 2

    return lambda: minimize(f, [-1.2, 1], method="BFGS"), lambda r: int(r.fun < 1e-6)


def start():
    return lambda: single(1) + single(1), lambda r: r


jobs = [calc, exp, log, tan, power, statistics, normals, spectrum, convolution, text, rosenbrock, start]

if len(sys.argv) == 2:
    job = next(job for job in jobs if job.__name__ == sys.argv[1])
    body, check = job()
    print(check(body()))
    sys.exit()
for job in jobs:
    body, check = job()
    best = float("inf")
    for _ in range(100 if job is rosenbrock else 15):
        begin = time.perf_counter()
        result = body()
        best = min(best, time.perf_counter() - begin)
    print(job.__name__, best * 1e6, check(result))
