"""Numbers as the page shows them: three digits, with their unit, and their spread in brackets."""

import math


def digits(number):
    """Three significant digits, or all before the point."""
    if number == 0 or not math.isfinite(number):
        return f"{number:g}"
    places = max(0, 2 - math.floor(math.log10(abs(number))))
    text = f"{number:,.{places}f}"
    # Rounding may have made one digit more of it: 9.996 is 10.0, not 10.00.
    return text if places == 0 or len(text.replace(".", "").lstrip("0")) <= 3 else f"{number:,.{places - 1}f}"


def _with_unit(units, figure):
    scale, unit = next(((scale, unit) for scale, unit in units if abs(figure.median) >= scale), units[-1])
    return _spread(digits(figure.median / scale), unit, digits(figure.low / scale), digits(figure.high / scale))


def _spread(median, unit, low, high):
    text = f"{median} {unit}".rstrip()
    return text if low == high else f"{text} ({low} to {high})"


def seconds(figure):
    return _with_unit([(1, "s"), (1e-3, "ms"), (1e-6, "µs"), (1e-9, "ns")], figure)


def per_second(figure):
    if figure.high == 0:
        return "none"
    return _with_unit([(1e6, "million/s"), (1e3, "thousand/s"), (1, "/s")], figure)


def ratio(figure):
    return _spread(digits(figure.median), "", digits(figure.low), digits(figure.high))
