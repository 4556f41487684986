"""Plots as SVG."""

import math
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 720, 400
LEFT, RIGHT, TOP, BOTTOM = 76, 20, 40, 52
COLOURS = ("#1b6ca8", "#c0392b", "#5f7d3b", "#8e44ad", "#8a6d1f")


def chart(title, x_label, y_label, series, log_x=False, log_y=False):
    """Lines through points.

    series: a name and its points for each; what can't stand on a logarithmic axis is left out
    """
    series = [(name, [point for point in points if fits(point, log_x, log_y)]) for name, points in series]
    series = [(name, points) for name, points in series if points]
    if not series:
        raise ValueError(f"{title}: nothing to draw")
    x_axis = Axis([x for _, points in series for x, _ in points], log_x, LEFT, WIDTH - RIGHT)
    y_axis = Axis([y for _, points in series for _, y in points], log_y, HEIGHT - BOTTOM, TOP, from_zero=True)
    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
        'font-size="13">',
        f"<title>{escape(title)}</title>",
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>',
        f'<text x="{WIDTH / 2:g}" y="22" text-anchor="middle" font-size="15">{escape(title)}</text>',
    ]
    for tick in x_axis.ticks():
        x = x_axis.place(tick)
        lines.append(f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#dddddd"/>')
        lines.append(f'<text x="{x:.1f}" y="{HEIGHT - BOTTOM + 18}" text-anchor="middle">{number(tick)}</text>')
    for tick in y_axis.ticks():
        y = y_axis.place(tick)
        lines.append(f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#dddddd"/>')
        lines.append(f'<text x="{LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">{number(tick)}</text>')
    lines.append(f'<text x="{WIDTH / 2:g}" y="{HEIGHT - 12}" text-anchor="middle">{escape(x_label)}</text>')
    lines.append(
        f'<text transform="translate(16 {HEIGHT / 2:g}) rotate(-90)" text-anchor="middle">{escape(y_label)}</text>'
    )
    for index, (name, points) in enumerate(series):
        colour = COLOURS[index % len(COLOURS)]
        places = [(x_axis.place(x), y_axis.place(y)) for x, y in points]
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in places)
        lines.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        if len(places) <= 12:
            lines += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.5" fill="{colour}"/>' for x, y in places]
        y = TOP + 16 + 18 * index
        lines.append(f'<rect x="{LEFT + 12}" y="{y - 9}" width="14" height="4" fill="{colour}"/>')
        lines.append(f'<text x="{LEFT + 32}" y="{y - 2}">{escape(name)}</text>')
    return "\n".join(lines + ["</svg>", ""])


def fits(point, log_x, log_y):
    return (not log_x or point[0] > 0) and (not log_y or point[1] > 0)


class Axis:
    """From values to places of the picture."""

    def __init__(self, values, is_log, begin, end, from_zero=False):
        self.is_log, self.begin, self.end = is_log, begin, end
        low, high = min(values), max(values)
        if is_log:
            low, high = 10 ** math.floor(math.log10(low)), 10 ** math.ceil(math.log10(high))
            self.low, self.high = low, high if high > low else low * 10
        else:
            self.low = min(low, 0) if from_zero else low
            self.step = nice_step((high - self.low) or abs(high) or 1)
            self.low = math.floor(self.low / self.step) * self.step
            self.high = max(math.ceil(high / self.step) * self.step, self.low + self.step)

    def place(self, value):
        if self.is_log:
            share = math.log(value / self.low) / math.log(self.high / self.low)
        else:
            share = (value - self.low) / (self.high - self.low)
        return self.begin + share * (self.end - self.begin)

    def ticks(self):
        if self.is_log:
            first, last = round(math.log10(self.low)), round(math.log10(self.high))
            return [10.0**exponent for exponent in range(first, last + 1)]
        return [self.low + i * self.step for i in range(round((self.high - self.low) / self.step) + 1)]


def nice_step(span):
    """Of 4 to 10 steps, each 1, 2 or 5 times a power of ten."""
    raw = span / 8
    power = 10 ** math.floor(math.log10(raw))
    return next(factor * power for factor in (1, 2, 5, 10) if factor * power >= raw)


def number(value):
    """Without needless digits."""
    return f"{value:,.0f}".replace(",", " ") if abs(value) >= 1000 else f"{value:.6g}"
