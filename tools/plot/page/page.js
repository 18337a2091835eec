// The page of a drive: a lane for each unit, all over the same stretch of time, which is called the view.
(() => {
    "use strict";

    const lightColours = ["#0072b2", "#d55e00", "#009e73", "#b3478f", "#8a6d00", "#5b50b8", "#c0392b", "#1f7a8c"];
    const darkColours = ["#56b4e9", "#ff9a57", "#35c99a", "#e78ac3", "#e6c84f", "#a99cf5", "#ff7f6e", "#62c3d6"];
    const laneHeight = 190;
    const pixelSteps = 4; // points that a column of pixels keeps: its first, lowest, highest and last

    const drive = JSON.parse(document.getElementById("drive").textContent);

    // Little-endian doubles, as all browsers hold them.
    function doublesOf(text) {
        const characters = atob(text);
        const bytes = new Uint8Array(characters.length);
        for (let i = 0; i < characters.length; ++i)
            bytes[i] = characters.charCodeAt(i);
        return new Float64Array(bytes.buffer);
    }

    const times = drive.times.map(doublesOf);
    const signals = drive.signals.map((signal, index) => ({
        ...signal,
        index,
        times: times[signal.times],
        values: doublesOf(signal.values),
        words: new Map(signal.words),
        shown: true,
    }));

    // Index of the first time that is not below `time`.
    function firstFrom(column, time) {
        let low = 0;
        let high = column.length;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (column[middle] < time)
                low = middle + 1;
            else
                high = middle;
        }
        return low;
    }

    // What is drawn of a signal between two times, with a neighbour on each side, so that lines leave the lane. If there
    // are more points than pixels, each column of pixels keeps the points that decide what it looks like.
    function reduced(signal, from, to, width) {
        const begin = Math.max(firstFrom(signal.times, from) - 1, 0);
        const end = Math.min(firstFrom(signal.times, to) + 2, signal.times.length);
        if (end - begin <= pixelSteps * width)
            return [signal.times.subarray(begin, end), signal.values.subarray(begin, end)];
        const xs = [];
        const ys = [];
        const take = index => {
            xs.push(signal.times[index]);
            ys.push(signal.values[index]);
        };
        const perPixel = (to - from) / width;
        let index = begin;
        while (index < end) {
            const columnEnd = from + (Math.floor((signal.times[index] - from) / perPixel) + 1) * perPixel;
            const first = index;
            let lowest = index;
            let highest = index;
            for (; index < end && (signal.times[index] < columnEnd || index === first); ++index) {
                if (signal.values[index] < signal.values[lowest])
                    lowest = index;
                if (signal.values[index] > signal.values[highest])
                    highest = index;
            }
            const kept = [first, Math.min(lowest, highest), Math.max(lowest, highest), index - 1];
            kept.forEach((each, place) => {
                if (place === 0 || each !== kept[place - 1])
                    take(each);
            });
        }
        return [xs, ys];
    }

    function extent(columns) {
        let low = Infinity;
        let high = -Infinity;
        for (const column of columns)
            for (const value of column)
                if (Number.isFinite(value)) {
                    low = Math.min(low, value);
                    high = Math.max(high, value);
                }
        return low <= high ? [low, high] : [0, 1];
    }

    // With room above and below, also around a constant.
    function withRoom([low, high]) {
        const room = (high - low) * 0.06 || Math.abs(low) * 0.1 || 1;
        return [low - room, high + room];
    }

    // Times count from the first value, in seconds.
    const whole = { min: 0, max: Math.max(...times.map(column => column[column.length - 1])) || 1 };
    const shortest = 1e-5; // seconds of the view
    let view = { ...whole };
    let cursorTime = null;
    let lanes = [];
    let printing = false;

    const isDark = () => !printing && matchMedia("(prefers-color-scheme: dark)").matches;
    const colourOf = signal => (isDark() ? darkColours : lightColours)[signal.index % lightColours.length];
    const style = name => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

    function secondsText(seconds) {
        return `${seconds.toFixed(3)} s`;
    }

    function markLane(chart) {
        const { ctx } = chart;
        ctx.save();
        ctx.beginPath();
        ctx.rect(chart.bbox.left, chart.bbox.top, chart.bbox.width, chart.bbox.height);
        ctx.clip();
        ctx.fillStyle = style("--mark");
        for (const mark of drive.marks)
            for (const [begin, end] of mark.spans) {
                const left = chart.valToPos(begin, "x", true);
                const right = chart.valToPos(end, "x", true);
                ctx.fillRect(left, chart.bbox.top, Math.max(right - left, 1), chart.bbox.height);
            }
        ctx.restore();
    }

    function dataOf(lane) {
        const tables = lane.signals.map(signal => reduced(signal, view.min, view.max, lane.width));
        return tables.length === 1 ? tables[0] : uPlot.join(tables);
    }

    function makeLane(unit, members, parent, width, isLast) {
        const lane = { unit, signals: members, element: document.createElement("div") };
        lane.element.className = "lane";
        parent.append(lane.element);
        lane.width = width;
        const axis = { stroke: style("--faint"), grid: { stroke: style("--line"), width: 1 }, ticks: { show: false } };
        const range = withRoom(extent(members.map(signal => signal.values)));
        lane.chart = new uPlot(
            {
                width: lane.width,
                padding: [10, 16, 0, 0],
                height: laneHeight + (isLast ? 30 : 0),
                scales: { x: { time: false, range: () => [view.min, view.max] }, y: { range: () => range } },
                series: [
                    {},
                    ...members.map(signal => ({
                        label: signal.name,
                        stroke: colourOf(signal),
                        width: 1.25,
                        spanGaps: true,
                        paths: uPlot.paths.stepped({ align: 1 }), // a value holds until the next one comes
                    })),
                ],
                axes: [
                    { ...axis, show: isLast, size: 30, values: (chart, splits) => splits.map(timeTick) },
                    { ...axis, size: 64, label: unit || "no unit", labelSize: 18 },
                ],
                legend: { show: false },
                cursor: { sync: { key: "drive" }, drag: { x: false, y: false }, points: { show: false } },
                hooks: { drawClear: [markLane], setCursor: [followCursor] },
            },
            dataOf(lane),
            lane.element
        );
        listen(lane.chart);
        return lane;
    }

    function timeTick(seconds) {
        const digits = Math.min(Math.max(Math.ceil(-Math.log10((view.max - view.min) / 8)), 0), 6);
        return seconds.toFixed(digits);
    }

    function build() {
        const parent = document.getElementById("lanes");
        lanes.forEach(lane => lane.chart.destroy());
        parent.replaceChildren();
        const units = new Map();
        for (const signal of signals)
            if (signal.shown)
                units.set(signal.unit, [...(units.get(signal.unit) ?? []), signal]);
        lanes = [];
        const width = Math.max(parent.clientWidth, 200);
        for (const [unit, members] of units)
            lanes.push(makeLane(unit, members, parent, width, lanes.length === units.size - 1));
        showView();
    }

    function showView() {
        document.getElementById("span").textContent =
            `${secondsText(view.min)} to ${secondsText(view.max)} after ${recorded(0)}`;
    }

    // A time as recorded, all six decimals of it.
    function recorded(seconds) {
        const microseconds = BigInt(drive.beginning) + BigInt(Math.round(seconds * 1e6));
        return `${microseconds / 1000000n}.${String(microseconds % 1000000n).padStart(6, "0")}`;
    }

    // Shows another stretch of time, inside that of the recording.
    function setView(min, max) {
        const length = Math.min(Math.max(max - min, shortest), whole.max - whole.min);
        const middle = (min + max) / 2;
        const begin = Math.min(Math.max(middle - length / 2, whole.min), whole.max - length);
        view = { min: begin, max: begin + length };
        for (const lane of lanes)
            lane.chart.setData(dataOf(lane));
        showView();
    }

    // Once per drawn frame, however many events there are.
    let wanted = null;
    function requestView(min, max) {
        if (wanted === null)
            requestAnimationFrame(() => {
                const [nextMin, nextMax] = wanted;
                wanted = null;
                setView(nextMin, nextMax);
            });
        wanted = [min, max];
    }
    const currentView = () => wanted ?? [view.min, view.max];

    function zoom(factor, around) {
        const [min, max] = currentView();
        requestView(around - (around - min) * factor, around + (max - around) * factor);
    }

    function move(share) {
        const [min, max] = currentView();
        requestView(min + (max - min) * share, max + (max - min) * share);
    }

    function listen(chart) {
        const over = chart.over;
        over.addEventListener("wheel", event => {
            event.preventDefault();
            const place = event.clientX - over.getBoundingClientRect().left;
            if (Math.abs(event.deltaX) > Math.abs(event.deltaY))
                move(event.deltaX / over.clientWidth);
            else
                zoom(Math.exp(event.deltaY * 0.002), chart.posToVal(place, "x"));
        }, { passive: false });
        over.addEventListener("pointerdown", event => {
            if (event.button !== 0)
                return;
            const start = event.clientX;
            const [min, max] = currentView();
            over.setPointerCapture(event.pointerId);
            over.classList.add("moving");
            const drag = moved => {
                const shift = ((start - moved.clientX) / over.clientWidth) * (max - min);
                requestView(min + shift, max + shift);
            };
            const end = () => {
                over.classList.remove("moving");
                over.removeEventListener("pointermove", drag);
            };
            over.addEventListener("pointermove", drag);
            over.addEventListener("pointerup", end, { once: true });
            over.addEventListener("pointercancel", end, { once: true });
        });
        over.addEventListener("dblclick", () => requestView(whole.min, whole.max));
    }

    function followCursor(chart) {
        if (chart.cursor.left < 0)
            return;
        cursorTime = chart.posToVal(chart.cursor.left, "x");
        showValues();
    }

    // The last value by then.
    function valueAt(signal, time) {
        const index = firstFrom(signal.times, time);
        const last = index < signal.times.length && signal.times[index] === time ? index : index - 1;
        return last < 0 ? null : signal.values[last];
    }

    function showValues() {
        document.getElementById("cursor").textContent =
            cursorTime === null ? "" : `${secondsText(cursorTime)} (${recorded(cursorTime)})`;
        for (const signal of signals) {
            const value = cursorTime === null ? null : valueAt(signal, cursorTime);
            signal.valueCell.textContent = value === null ? "" : String(value);
            const word = value === null ? undefined : signal.words.get(value);
            if (word !== undefined) {
                const text = document.createElement("span");
                text.className = "word";
                text.textContent = ` ${word}`;
                signal.valueCell.append(text);
            }
        }
    }

    function makeTable() {
        const body = document.querySelector("#values tbody");
        for (const signal of signals) {
            const row = body.insertRow();
            const box = document.createElement("input");
            box.type = "checkbox";
            box.checked = true;
            box.setAttribute("aria-label", `Show ${signal.name}`);
            box.addEventListener("change", () => {
                signal.shown = box.checked;
                build();
            });
            row.insertCell().append(box);
            const name = row.insertCell();
            name.className = "name";
            signal.swatch = document.createElement("span");
            signal.swatch.className = "swatch";
            name.append(signal.swatch, ` ${signal.name}`);
            signal.valueCell = row.insertCell();
            signal.valueCell.className = "value";
            row.insertCell().textContent = signal.unit;
            signal.row = row;
        }
    }

    function colourTable() {
        for (const signal of signals)
            signal.swatch.style.background = colourOf(signal);
    }

    function listMarks() {
        const parent = document.getElementById("marks");
        for (const mark of drive.marks) {
            const title = document.createElement("h2");
            title.textContent = mark.expression;
            const list = document.createElement("ul");
            for (const [begin, end] of mark.spans) {
                const button = document.createElement("button");
                button.textContent = `${begin.toFixed(3)} s`;
                button.addEventListener("click", () => {
                    const room = Math.max((end - begin) * 0.5, 1);
                    setView(begin - room, end + room);
                });
                const item = document.createElement("li");
                item.append(button, ` for ${secondsText(end - begin)}`);
                list.append(item);
            }
            if (mark.spans.length === 0)
                list.append("never");
            parent.append(title, list);
        }
    }

    function search(text) {
        const words = text.toLowerCase().split(/\s+/);
        for (const signal of signals)
            signal.row.hidden = !words.every(word => signal.name.toLowerCase().includes(word));
    }

    function colourAgain() {
        colourTable();
        build();
    }

    document.querySelector("h1").textContent = drive.title;
    makeTable();
    colourTable();
    listMarks();
    build();
    document.getElementById("search").addEventListener("input", event => search(event.target.value));
    document.addEventListener("keydown", event => {
        if (event.target instanceof HTMLInputElement && event.target.type === "search")
            return;
        const middle = (view.min + view.max) / 2;
        const actions = {
            "+": () => zoom(0.5, middle),
            "-": () => zoom(2, middle),
            "0": () => requestView(whole.min, whole.max),
            ArrowLeft: () => move(-0.2),
            ArrowRight: () => move(0.2),
        };
        if (actions[event.key] === undefined || event.ctrlKey || event.metaKey || event.altKey)
            return;
        event.preventDefault();
        actions[event.key]();
    });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", colourAgain);
    addEventListener("beforeprint", () => {
        printing = true;
        colourAgain();
    });
    addEventListener("afterprint", () => {
        printing = false;
        colourAgain();
    });
    let lastWidth = document.getElementById("lanes").clientWidth;
    new ResizeObserver(() => {
        const width = document.getElementById("lanes").clientWidth;
        if (width !== lastWidth) {
            lastWidth = width;
            build();
        }
    }).observe(document.getElementById("lanes"));

    // For scripts that look at the page, such as its tests.
    window.drivePlot = { signals, lanes: () => lanes, view: () => ({ ...view }), setView, cursorTime: () => cursorTime };
})();
