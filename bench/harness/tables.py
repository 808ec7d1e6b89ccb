"""The tables, in Markdown, as doc/performance.md shows them."""


def markdown(headings, rows):
    widths = [max(len(row[i]) for row in [headings, *rows]) for i in range(len(headings))]

    def line(cells):
        padded = [cells[0].ljust(widths[0])]
        padded += [cell.rjust(width) for cell, width in zip(cells[1:], widths[1:])]
        return "| " + " | ".join(padded) + " |"

    ruler = "|" + "|".join("-" * (width + 1) + (":" if i else "-")
                           for i, width in enumerate(widths)) + "|"
    return "\n".join([line(headings), ruler, *map(line, rows)])


def number(value, form=".2f"):
    return "-" if value is None else format(value, form)


def whole(value):
    return "-" if value is None else f"{value:,.0f}"


def seconds(times):
    return number(times and times.cpu, ".3f")


class Weighted:
    """Ratios summed up by the stock parse's time, as one run over everything would show them."""

    def __init__(self):
        self._weights = 0.0
        self._sum = 0.0

    def add(self, ratio, stock):
        self._weights += stock.cpu
        self._sum += ratio * stock.cpu
        return ratio

    def mean(self):
        return self._sum / self._weights if self._weights else None
