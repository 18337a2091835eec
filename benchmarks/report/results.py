"""What was measured: samples by benchmark and counter, read from files in the form of Google Benchmark's."""

import dataclasses
import json
import statistics

# Numbers in an entry that are no samples.
BOOKKEEPING = {"family_index", "per_family_instance_index", "repetitions", "repetition_index", "threads", "iterations",
               "real_time", "cpu_time"}
UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


class UnusableResults(Exception):
    """Results are missing or have failed; there is no page without them."""


@dataclasses.dataclass(frozen=True)
class Figure:
    """Median and quartiles of repeated measurements."""

    median: float
    low: float
    high: float
    samples: int = 1

    @staticmethod
    def of(samples):
        if len(samples) == 1:
            return Figure(samples[0], samples[0], samples[0])
        low, _, high = statistics.quantiles(samples, n=4, method="inclusive")
        return Figure(statistics.median(samples), low, high, len(samples))

    def __truediv__(self, other):
        """The ratio of the medians; its spread allows for both figures being off at once, in opposite directions."""
        return Figure(self.median / other.median, self.low / other.high, self.high / other.low,
                      min(self.samples, other.samples))

    def __mul__(self, factor):
        return dataclasses.replace(self, median=self.median * factor, low=self.low * factor, high=self.high * factor)

    def inverse(self):
        """Per second what was seconds per each, or the other way round."""
        return dataclasses.replace(self, median=1 / self.median, low=1 / self.high, high=1 / self.low)


class Results:
    """All samples of a run. Times are in seconds; the counter "time" is the processor time of one iteration."""

    def __init__(self, documents):
        self._samples = {}
        self._missing = []
        for document in documents:
            for entry in document["benchmarks"]:
                if entry["run_type"] == "iteration":
                    self._add(entry)

    @staticmethod
    def read(paths):
        return Results([json.loads(path.read_text()) for path in paths])

    def _add(self, entry):
        name = entry["run_name"]
        if entry.get("error_occurred"):
            raise UnusableResults(f"{name}: {entry['error_message']}")
        if "cpu_time" in entry:
            self._samples.setdefault((name, "time"), []).append(entry["cpu_time"] * UNITS[entry["time_unit"]])
        for counter, value in entry.items():
            if isinstance(value, (int, float)) and counter not in BOOKKEEPING:
                self._samples.setdefault((name, counter), []).append(value)

    def samples(self, benchmark, counter):
        """All samples of a counter. A missing one is noted and counts as 1 until `check` reports it."""
        if (benchmark, counter) not in self._samples:
            self._missing.append(f"{benchmark} ({counter})")
            return [1.0]
        return self._samples[benchmark, counter]

    def figure(self, benchmark, counter):
        return Figure.of(self.samples(benchmark, counter))

    def largest(self, benchmark, counter):
        return max(self.samples(benchmark, counter))

    def check(self):
        """Reports everything that was asked for and is missing."""
        if self._missing:
            raise UnusableResults("not measured: " + ", ".join(dict.fromkeys(self._missing)))

    def benchmarks(self):
        """Names and counters of all samples, in order."""
        return list(self._samples)

    def sizes(self, prefix):
        """The numbers N of all benchmarks `prefix`/N, in order; noted as missing if there are none."""
        sizes = {int(name[len(prefix) + 1:]) for name, _ in self._samples
                 if name.startswith(prefix + "/") and name[len(prefix) + 1:].isdigit()}
        if not sizes:
            self._missing.append(f"{prefix}/N")
        return sorted(sizes)
