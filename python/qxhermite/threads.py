"""Work in threads: the calls of the library release the interpreter lock."""

import os
from collections import deque
from concurrent.futures import ThreadPoolExecutor
from itertools import islice


def num_threads(threads):
    """The number of threads asked for; None stands for one a core that may be used."""
    if threads is None:
        return len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count()
    return int(threads)


def in_order(work, tasks, threads):
    """Yields work(task) in the order of the tasks, some of them worked on ahead in threads."""
    if threads == 1:
        yield from map(work, tasks)
        return
    with ThreadPoolExecutor(threads) as pool:
        waiting = deque()
        try:
            for task in tasks:
                waiting.append(pool.submit(work, task))
                if len(waiting) >= 2 * threads:
                    yield waiting.popleft().result()
            while waiting:
                yield waiting.popleft().result()
        finally:
            for future in waiting:
                future.cancel()


def chunks(iterable, size):
    iterator = iter(iterable)
    while chunk := list(islice(iterator, size)):
        yield chunk
