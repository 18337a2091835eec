"""The plots of the page, as SVG that is the same for the same results."""

import matplotlib

matplotlib.use("svg")

from matplotlib import pyplot, ticker

import targets

STYLE = {
    "svg.hashsalt": "qzsignal",
    "svg.fonttype": "none",
    "font.family": "DejaVu Sans",
    "font.size": 9,
    "axes.spines.top": False,
    "axes.spines.right": False,
    "axes.axisbelow": True,
    "axes.grid": True,
    "grid.color": "#e0e0e0",
    "lines.markersize": 4,
    "legend.frameon": False,
    "savefig.facecolor": "white",
}
COLOURS = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9"]  # distinguishable for all eyes
GOOD, BAD, GREY = "#0072b2", "#d55e00", "#999999"


def _nanoseconds(value, _=None):
    for scale, unit in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")):
        if value >= scale:
            return f"{value / scale:g} {unit}"
    return f"{value:g} ns"


def _with_bars(axes, names, figures, colours):
    """Horizontal bars, the first on top, with quartiles."""
    rows = range(len(names))
    medians = [figure.median for figure in figures]
    below = [figure.median - figure.low for figure in figures]
    above = [figure.high - figure.median for figure in figures]
    axes.barh(rows, medians, color=colours, height=0.7)
    axes.errorbar(medians, rows, xerr=[below, above], fmt="none", ecolor="black", elinewidth=0.8, capsize=2)
    axes.set_yticks(rows, names)
    axes.invert_yaxis()
    axes.grid(axis="y", visible=False)


def draw_targets(results):
    outcomes = [targets.Outcome.of(target, results) for target in targets.TARGETS]
    figure, axes = pyplot.subplots(figsize=(9, 0.26 * len(outcomes) + 0.8))
    names = [f"{outcome.target.what.replace('`', '')}: {outcome.target.limit.goal()}" for outcome in outcomes]
    _with_bars(axes, names, [outcome.used for outcome in outcomes], [GOOD if outcome.met() else BAD for outcome in outcomes])
    axes.axvline(1, color="black", linewidth=1)
    axes.set_xscale("log")
    axes.xaxis.set_major_formatter(ticker.StrMethodFormatter("{x:g}"))
    axes.set_xlabel("part of the limit that is used; up to 1 the target is met")
    axes.tick_params(axis="y", labelsize=7)
    return figure


def draw_decoding(results):
    figure, axes = pyplot.subplots(figsize=(7, 3))
    figures = [results.figure(name, "frame") * 1e9 for name in targets.DECODING]
    _with_bars(axes, list(targets.DECODING.values()), figures,
               [GREY if name.startswith("yardstick/") else GOOD for name in targets.DECODING])
    axes.set_xlabel("ns per frame")
    return figure


def _lines(axes, results, rows):
    """Lines of times against sizes, both logarithmic: rows of name shown, benchmark, counter, and whether it is of each."""
    for number, (what, benchmark, counter, each) in enumerate(rows):
        sizes = results.sizes(benchmark)
        figures = [results.figure(f"{benchmark}/{size}", counter) * ((size if each else 1) * 1e9) for size in sizes]
        axes.plot(sizes, [figure.median for figure in figures], "o-", label=what, color=COLOURS[number % len(COLOURS)])
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.xaxis.set_major_formatter(ticker.StrMethodFormatter("{x:,.0f}"))
    axes.yaxis.set_major_formatter(ticker.FuncFormatter(_nanoseconds))


def draw_look_up(results):
    figure, axes = pyplot.subplots(figsize=(7, 3.6))
    _lines(axes, results, [(what, name, "frame", False) for name, what in {**targets.LOOK_UPS, **targets.MAPS}.items()])
    axes.yaxis.set_minor_formatter(ticker.NullFormatter())
    axes.set_xlabel("frames that are defined")
    axes.legend(loc="upper left", fontsize=8)
    return figure


def draw_growth(results):
    figure, axes = pyplot.subplots(figsize=(7, 4))
    axes.plot([10, 10_000], [10, 10_000], ":", color=GREY, label="proportional")
    _lines(axes, results, [(growth.what, growth.benchmark, growth.counter, growth.each) for growth in targets.GROWTH])
    axes.set_xlabel("signals that are defined")
    axes.legend(loc="upper left", fontsize=8)
    return figure


def draw_expressions(results):
    figure, axes = pyplot.subplots(figsize=(7, 3))
    height = 0.8 / len(targets.EVALUATORS)
    for number, (way, called) in enumerate(targets.EVALUATORS.items()):
        figures = [results.figure(f"expression/{formula}/{way}", "time") * 1e9 for formula in targets.FORMULAS]
        axes.barh([row + (number - 1.5) * height for row in range(len(figures))], [figure.median for figure in figures],
                  height=height, color=COLOURS[number], label=called)
    axes.set_yticks(range(len(targets.FORMULAS)), targets.FORMULAS.values())
    axes.invert_yaxis()
    axes.grid(axis="y", visible=False)
    axes.set_xlabel("ns per value")
    axes.legend(fontsize=8)
    return figure


def draw_contention(results):
    figure, panels = pyplot.subplots(1, 2, figsize=(9, 3.6), sharey=True)
    for axes, call in zip(panels, ("write", "read")):
        for colour, (lock, called) in zip((GOOD, BAD), targets.LOCKS.items()):
            for readers, line in zip(targets.READERS, (":", "--", "-")):
                name = f"contention/{lock}/{readers}"
                waits = [results.figure(name, f"{call}_{wait}").median for wait in list(targets.WAITS)[:-1]]
                waits.append(results.largest(name, f"{call}_max"))
                plural = "s" if readers != 1 else ""
                axes.plot(range(len(waits)), [wait * 1e9 for wait in waits], "o" + line, color=colour,
                          label=f"{called}, {readers} reader{plural}")
        axes.set_xticks(range(len(targets.WAITS)), targets.WAITS.values())
        axes.set_yscale("log")
        axes.yaxis.set_major_formatter(ticker.FuncFormatter(_nanoseconds))
        axes.set_title(f"{call}s", fontsize=9)
    figure.legend(*panels[0].get_legend_handles_labels(), ncols=2, loc="upper center", bbox_to_anchor=(0.5, 0.02), fontsize=8)
    return figure


PLOTS = {
    "performance-targets.svg": draw_targets,
    "performance-decoding.svg": draw_decoding,
    "performance-look-up.svg": draw_look_up,
    "performance-growth.svg": draw_growth,
    "performance-expressions.svg": draw_expressions,
    "performance-contention.svg": draw_contention,
}


def write(results, folder):
    """Draws all of them into a folder."""
    with pyplot.rc_context(STYLE):
        for name, draw in PLOTS.items():
            figure = draw(results)
            figure.savefig(folder / name, bbox_inches="tight", metadata={"Date": None})
            pyplot.close(figure)
