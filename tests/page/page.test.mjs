// The page of `qzsignal plot` in a browser. The environment names the command, the browser and the folder of modules.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { pathToFileURL } from "node:url";

const { QZSIGNAL_TEST_COMMAND, QZSIGNAL_TEST_BROWSER, QZSIGNAL_TEST_MODULES } = process.env;
const puppeteer = createRequire(join(QZSIGNAL_TEST_MODULES, "modules"))(join(QZSIGNAL_TEST_MODULES, "puppeteer-core"));

const definitions = `VERSION ""
BO_ 256 Engine: 8 X
 SG_ Speed : 0|16@1+ (0.5,-40) [0|0] "km/h" X
 SG_ Load : 16|8@1- (1,0) [0|0] "%" X
BO_ 257 Box: 8 X
 SG_ Gear : 0|8@1+ (1,0) [0|0] "" X
VAL_ 257 Gear 0 "Neutral" 1 "Drive" ;
`;

// 100 s: a sine with one spike, a slow load, and a gear.
const count = 100000;
const spike = 54321;
function recording() {
    const hex = (value, digits) => value.toString(16).toUpperCase().padStart(digits, "0");
    const lines = [];
    for (let i = 0; i < count; ++i) {
        const raw = i === spike ? 0xffff : Math.round(1000 + 500 * Math.sin(i / 5000));
        const time = `(1700000${String(100 + Math.floor(i / 1000))}.${String(i % 1000).padStart(3, "0")}000)`;
        lines.push(`${time} can0 100#${hex(raw & 0xff, 2)}${hex(raw >> 8, 2)}${hex(Math.floor(i / 2000), 2)}`);
        if (i % 10000 === 0)
            lines.push(`${time} can0 101#${hex((i / 10000) % 2, 2)}`);
    }
    return lines.join("\n") + "\n";
}

let folder;
let browser;
let page;
const complaints = [];

before(async () => {
    folder = mkdtempSync(join(tmpdir(), "qzsignal-page-"));
    writeFileSync(join(folder, "drive.dbc"), definitions);
    writeFileSync(join(folder, "drive.log"), recording());
    execFileSync(QZSIGNAL_TEST_COMMAND, [
        "plot", "-d", join(folder, "drive.dbc"), join(folder, "drive.log"), "Engine.*", "Gear",
        "--mark", "Engine.Load > 40", "-o", join(folder, "drive.html"),
    ]);
    browser = await puppeteer.launch({
        executablePath: QZSIGNAL_TEST_BROWSER,
        args: ["--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"],
        timeout: 120000, // of a machine that is busy with other tests
    });
    page = await browser.newPage();
    await page.setViewport({ width: 1200, height: 800 });
    page.on("console", message => complaints.push(message.text()));
    page.on("pageerror", error => complaints.push(String(error)));
    page.on("request", request => {
        if (!request.url().startsWith("file:"))
            complaints.push(`request of ${request.url()}`);
    });
    await page.goto(pathToFileURL(join(folder, "drive.html")).href);
});

after(async () => {
    await browser?.close();
    rmSync(folder, { recursive: true, force: true });
});

// What is drawn of a signal: [time, value] pairs of its lane.
const drawn = name => page.evaluate(wanted => {
    for (const lane of drivePlot.lanes()) {
        const place = lane.signals.findIndex(signal => signal.name === wanted);
        if (place >= 0)
            return Array.from(lane.chart.data[0])
                .map((time, index) => [time, lane.chart.data[place + 1][index]])
                .filter(([, value]) => value !== null && value !== undefined);
    }
    return null;
}, name);
const view = () => page.evaluate(() => drivePlot.view());
const nextDrawing = () => page.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));

async function middleOfFirstLane() {
    const over = await page.$(".lane .u-over");
    const box = await over.boundingBox();
    return { over, x: box.x + box.width / 2, y: box.y + box.height / 2, width: box.width };
}

test("each unit has a lane", async () => {
    assert.deepEqual(await page.evaluate(() => drivePlot.lanes().map(lane => lane.unit)), ["%", "km/h", ""]);
    assert.deepEqual(await view(), { min: 0, max: 99.999 });
});

test("a lane with more points than pixels loses no spike", async () => {
    const points = await drawn("Engine.Speed");
    assert.ok(points.length < 10000, `${points.length} points are drawn`);
    const values = points.map(([, value]) => value);
    assert.equal(Math.max(...values), 0xffff * 0.5 - 40);
    assert.deepEqual(points.find(([, value]) => value > 1000), [spike / 1000, 0xffff * 0.5 - 40]);
});

test("closer in, the drawn points are all recorded values", async () => {
    await page.evaluate(() => drivePlot.setView(54.3, 54.4));
    const points = await drawn("Engine.Speed");
    const expected = [];
    for (let i = 54299; i <= 54401; ++i)
        expected.push([i / 1000, (i === spike ? 0xffff : Math.round(1000 + 500 * Math.sin(i / 5000))) * 0.5 - 40]);
    assert.deepEqual(points, expected.filter(([time]) => time >= points[0][0] && time <= points.at(-1)[0]));
    assert.ok(points[0][0] <= 54.3 && points.at(-1)[0] >= 54.4, "lines leave the lane on both sides");
    await page.evaluate(() => drivePlot.setView(0, 100));
});

test("the wheel zooms around the cursor, double click shows all", async () => {
    const { x, y } = await middleOfFirstLane();
    await page.mouse.move(x, y);
    await page.mouse.wheel({ deltaY: -500 });
    await nextDrawing();
    const near = await view();
    assert.ok(near.max - near.min < 50, "it shows less");
    assert.ok(Math.abs((near.min + near.max) / 2 - 50) < 1, "around its middle");
    await page.mouse.click(x, y, { count: 2 });
    await nextDrawing();
    assert.deepEqual(await view(), { min: 0, max: 99.999 });
});

test("dragging moves the view, and keys do", async () => {
    const { x, y, width } = await middleOfFirstLane();
    await page.evaluate(() => drivePlot.setView(40, 50));
    await page.mouse.move(x, y);
    await page.mouse.down();
    await page.mouse.move(x - width / 2, y, { steps: 4 });
    await page.mouse.up();
    await nextDrawing();
    const moved = await view();
    assert.ok(Math.abs(moved.min - 45) < 0.1 && Math.abs(moved.max - 55) < 0.1, JSON.stringify(moved));
    await page.keyboard.press("ArrowRight");
    await nextDrawing();
    assert.ok(Math.abs((await view()).min - 47) < 0.1);
    await page.keyboard.press("0");
    await nextDrawing();
    assert.deepEqual(await view(), { min: 0, max: 99.999 });
});

test("the cursor reads all signals, with their words", async () => {
    const { x, y } = await middleOfFirstLane();
    await page.mouse.move(x + 3, y);
    await nextDrawing();
    const time = await page.evaluate(() => drivePlot.cursorTime());
    const index = Math.floor(time * 1000 + 1e-6);
    const rows = await page.$$eval("#values tbody tr", all => all.map(row => [...row.cells].map(cell => cell.textContent.trim())));
    assert.deepEqual(rows.map(row => row[1]), ["Engine.Load", "Engine.Speed", "Box.Gear"]);
    const speed = rows.find(row => row[1] === "Engine.Speed");
    assert.equal(Number(speed[2]), Math.round(1000 + 500 * Math.sin(index / 5000)) * 0.5 - 40);
    const gear = Math.floor(index / 10000) % 2;
    assert.equal(rows.find(row => row[1] === "Box.Gear")[2], `${gear} ${["Neutral", "Drive"][gear]}`);
});

test("marks are listed with their durations, and lead to their place", async () => {
    const items = await page.$$eval("#marks li", all => all.map(item => item.textContent));
    assert.deepEqual(items, ["82.000 s for 17.999 s"]);
    await page.click("#marks li button");
    const near = await view();
    assert.ok(near.min > 60 && near.min < 82 && near.max > 99, JSON.stringify(near));
    await page.evaluate(() => drivePlot.setView(0, 100));
});

// Colour and opacity of a pixel of the first lane.
const shade = time => page.evaluate(at => {
    const { chart } = drivePlot.lanes()[0];
    const copy = new OffscreenCanvas(1, 1).getContext("2d", { willReadFrequently: true });
    copy.drawImage(chart.ctx.canvas, -Math.round(chart.valToPos(at, "x", true)), -chart.bbox.top - 3);
    return [...copy.getImageData(0, 0, 1, 1).data];
}, time);

test("marks are shaded", async () => {
    assert.equal((await shade(41.3))[3], 0);
    assert.ok((await shade(91.3))[3] > 30);
});

test("the search box hides rows, the check box a signal", async () => {
    await page.type("#search", "gear");
    const shown = await page.$$eval("#values tbody tr", all => all.filter(row => !row.hidden).map(row => row.cells[1].textContent.trim()));
    assert.deepEqual(shown, ["Box.Gear"]);
    await page.click("#values tbody tr:not([hidden]) input");
    assert.deepEqual(await page.evaluate(() => drivePlot.lanes().map(lane => lane.unit)), ["%", "km/h"]);
    await page.click("#values tbody tr:not([hidden]) input");
    await page.$eval("#search", box => {
        box.value = "";
        box.dispatchEvent(new Event("input"));
    });
});

test("it is light or dark as the user has it, and light on paper", async () => {
    const paper = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    const lineColour = () => page.evaluate(() => drivePlot.lanes()[0].chart.series[1].stroke());
    // Lines are drawn again when the page hears of the change.
    const lineTurns = colour => page.waitForFunction(
        wanted => (drivePlot.lanes()[0].chart.series[1].stroke() === wanted.colour) === wanted.same, {}, colour);
    const light = await lineColour();
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "dark" }]);
    assert.equal(await paper(), "rgb(21, 25, 29)");
    await lineTurns({ colour: light, same: false });
    await page.emulateMediaType("print");
    assert.equal(await paper(), "rgb(255, 255, 255)");
    await page.emulateMediaType(null);
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "light" }]);
    assert.equal(await paper(), "rgb(255, 255, 255)");
    await lineTurns({ colour: light, same: true });
});

test("nothing is on the console, and nothing was fetched", () => {
    assert.deepEqual(complaints, []);
});
