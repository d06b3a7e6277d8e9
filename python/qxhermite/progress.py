"""Progress bars: those of tqdm where it is installed, a line on stderr otherwise."""

import sys
import time
from concurrent.futures import ThreadPoolExecutor, wait


class _Line:
    """The least that a progress bar needs to be, redrawn five times a second at most."""

    def __init__(self, total, label, unit):
        self.total, self.label, self.unit = total, label, unit
        self.done, self.drawn = 0, 0.0

    def update(self, count=1):
        self.done += count
        now = time.monotonic()
        if now - self.drawn > 0.2:
            self.drawn = now
            self._draw()

    def refresh(self):
        self.update(0)

    def _draw(self):
        of = f"/{self.total}" if self.total else ""
        print(f"\r{self.label}: {self.done}{of} {self.unit}", end="", file=sys.stderr, flush=True)

    def close(self):
        self._draw()
        print(file=sys.stderr)


class _Silent:
    def update(self, count=1):
        pass

    def refresh(self):
        pass

    def close(self):
        pass


def progress_bar(show, total=None, label="", unit=""):
    """A bar with update(count), refresh() and close(). show: False for none, True for one on stderr.

    total: how much there is to do, None where it is not known.
    """
    if not show:
        return _Silent()
    try:
        from tqdm.auto import tqdm
    except ImportError:
        return _Line(total, label, unit)
    return tqdm(total=total, desc=label, unit=" " + unit)


def run_with_bar(show, work, label):
    """work(), a single call without steps, beside a bar that tells how long it has been going on."""
    if not show:
        return work()
    bar = progress_bar(True, 1, label, "call")
    try:
        with ThreadPoolExecutor(1) as pool:
            future = pool.submit(work)
            while not wait([future], timeout=0.5).done:
                bar.refresh()
        result = future.result()
        bar.update()
        return result
    finally:
        bar.close()
