"""Progress bars: those of tqdm where it is installed, a line on stderr otherwise."""

import sys
import time


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

    def _draw(self):
        of = f"/{self.total}" if self.total else ""
        print(f"\r{self.label}: {self.done}{of} {self.unit}", end="", file=sys.stderr, flush=True)

    def close(self):
        self._draw()
        print(file=sys.stderr)


class _Silent:
    def update(self, count=1):
        pass

    def close(self):
        pass


def progress_bar(show, total=None, label="", unit=""):
    """A bar with update(count) and close(). show: False for none, True for one on stderr.

    total: how much there is to do, None where it is not known.
    """
    if not show:
        return _Silent()
    try:
        from tqdm.auto import tqdm
    except ImportError:
        return _Line(total, label, unit)
    return tqdm(total=total, desc=label, unit=" " + unit)
