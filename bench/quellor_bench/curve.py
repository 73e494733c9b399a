"""A smooth curve through a few points."""

from bisect import bisect_right


class Curve:
    """Through points (x, y) whose x all differ; two at least. Rises and falls only where they do: cubic Hermite pieces
    with the slopes of Fritsch and Butland (SIAM J. Sci. Stat. Comput. 5, 1984), the usual choice for rate curves."""

    def __init__(self, points: list):
        self._x, self._y = zip(*sorted(points))
        widths = [b - a for a, b in zip(self._x, self._x[1:])]
        secants = [(b - a) / width for a, b, width in zip(self._y, self._y[1:], widths)]
        inner = [between(*pair) for pair in zip(secants, secants[1:], widths, widths[1:])]
        self._slopes = [secants[0], *inner, secants[-1]]

    @property
    def least(self) -> float:
        return self._x[0]

    @property
    def greatest(self) -> float:
        return self._x[-1]

    def __call__(self, x: float) -> float:
        """y at x; beyond the ends, that of the end."""
        x = min(max(x, self.least), self.greatest)
        i = min(bisect_right(self._x, x), len(self._x) - 1) - 1
        width = self._x[i + 1] - self._x[i]
        t = (x - self._x[i]) / width
        return ((1 + 2 * t) * (1 - t) ** 2 * self._y[i] + t * (1 - t) ** 2 * width * self._slopes[i]
                + t**2 * (3 - 2 * t) * self._y[i + 1] - t**2 * (1 - t) * width * self._slopes[i + 1])


def between(left: float, right: float, left_width: float, right_width: float) -> float:
    """The slope where two pieces meet: a weighted harmonic mean of the secants, level at a peak or a valley."""
    if left * right <= 0:
        return 0.0
    left_weight, right_weight = left_width + 2 * right_width, 2 * left_width + right_width
    return (left_weight + right_weight) / (left_weight / left + right_weight / right)
