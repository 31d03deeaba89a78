// site.test.mjs: the finished site in headless Chromium: no errors, no broken links, charts that show what the data say.
import assert from "node:assert/strict";
import { existsSync, readFileSync, readdirSync, statSync } from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";
import test, { after, before } from "node:test";
import { fileURLToPath, pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const here = path.dirname(fileURLToPath(import.meta.url));
const tree = path.resolve(here, "../../..");
const site = path.resolve(process.env.SITE ?? path.join(tree, "build/site"));
const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const pages = readdirSync(site).filter((name) => name.endsWith(".html"));
const chartPages = ["quality.html", "speed.html"];
const measured = () => {
  const folder = path.join(tree, "docs/quality");
  const first = readdirSync(folder).sort().find((name) => existsSync(path.join(folder, name, "machine.json")));
  return path.join(folder, first);
};
const json = (name) => JSON.parse(readFileSync(path.join(measured(), `${name}.json`), "utf8"));

let browser;
before(async () => {
  browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
           "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage"],
  });
});
after(() => browser.close());

// Opens a page of the site and gathers what goes wrong on it.
async function open(name, { width = 1280, scheme = "light" } = {}) {
  const context = await browser.newContext({ viewport: { width, height: 900 }, colorScheme: scheme, acceptDownloads: true });
  const page = await context.newPage();
  const errors = [];
  page.on("console", (message) => message.type() === "error" && errors.push(message.text()));
  page.on("pageerror", (error) => errors.push(error.message));
  page.on("requestfailed", (request) => errors.push(`${request.url()} can't be loaded`));
  page.on("request", (request) => {
    if (!/^(file|data|blob):/.test(request.url())) errors.push(`${request.url()} is not of the site`);
  });
  await page.addInitScript(() => {
    window.shift = 0;
    new PerformanceObserver((list) => {
      for (const entry of list.getEntries()) if (!entry.hadRecentInput) window.shift += entry.value;
    }).observe({ type: "layout-shift", buffered: true });
  });
  await page.goto(pathToFileURL(path.join(site, name)).href);
  if (chartPages.includes(name)) await page.waitForSelector("body.ready");
  return { page, errors, close: () => context.close() };
}

// The part of a canvas whose points differ from its corner.
const drawn = (page, id) =>
  page.evaluate((chart) => {
    const { canvas } = Charts.made[chart].plot.ctx;
    const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    let other = 0;
    for (let at = 0; at < data.length; at += 4) other += data[at + 3] !== data[3] || data[at] !== data[0];
    return other / (data.length / 4);
  }, id);

const valuesOf = (page, id, name) =>
  page.evaluate(([chart, line]) => {
    const { plot, spec } = Charts.made[chart];
    const place = spec.series.findIndex((one) => one.name === line);
    return { xs: Array.from(plot.data[0]), values: place < 0 ? null : Array.from(plot.data[place + 1]) };
  }, [id, name]);

test("the site has its pages", () => {
  for (const name of ["index", "quality", "speed", "convert", "reference", "inside"])
    assert.ok(pages.includes(`${name}.html`), name);
});

for (const name of pages) {
  test(`${name} opens without an error, offline, in both themes and three widths`, async () => {
    for (const scheme of ["light", "dark"])
      for (const width of [360, 1024, 2560]) {
        const { page, errors, close } = await open(name, { width, scheme });
        const facts = await page.evaluate(() => ({
          overflow: document.documentElement.scrollWidth - innerWidth,
          background: getComputedStyle(document.body).backgroundColor,
          shift: window.shift,
        }));
        assert.deepEqual(errors, [], `${name} at ${width}`);
        assert.ok(facts.overflow <= 0, `${name} is ${facts.overflow} pixels too wide at ${width}`);
        assert.ok(facts.shift < 0.1, `${name} at ${width} shifts by ${facts.shift}`);
        const lightness = Number(facts.background.match(/\d+/)[0]);
        assert.equal(lightness > 128, scheme === "light", `${name} is ${facts.background} in the ${scheme} theme`);
        await close();
      }
  });

  test(`${name} has no serious barrier`, async () => {
    for (const scheme of ["light", "dark"]) {
      const { page, close } = await open(name, { scheme });
      await page.evaluate(axe);
      const found = await page.evaluate(async () => (await window.axe.run()).violations);
      const serious = found.filter((one) => ["serious", "critical"].includes(one.impact));
      assert.deepEqual(serious.map((one) => `${one.id}: ${one.nodes[0].html}`), [], scheme);
      await close();
    }
  });

  test(`${name} links to what exists`, async () => {
    const { page, close } = await open(name);
    const links = await page.$$eval("a[href]", (all) => all.map((one) => one.href));
    for (const link of links.filter((one) => one.startsWith("file:"))) {
      const url = new URL(link);
      assert.ok(existsSync(fileURLToPath(url.origin === "null" ? link.split("#")[0] : url)), link);
      if (url.hash && path.basename(url.pathname) === name)
        assert.ok(await page.$(`[id="${decodeURIComponent(url.hash.slice(1))}"]`), link);
    }
    await close();
  });

  test(`${name} weighs less than a megabyte without pictures`, async () => {
    const context = await browser.newContext();
    const page = await context.newPage();
    const files = new Set();
    page.on("request", (request) => files.add(request.url()));
    await page.goto(pathToFileURL(path.join(site, name)).href);
    if (chartPages.includes(name)) await page.waitForSelector("body.ready");
    const bytes = [...files].filter((one) => one.startsWith("file:") && !/\.(png|svg|wav)$/.test(one))
      .reduce((sum, one) => sum + statSync(fileURLToPath(one)).size, 0);
    assert.ok(bytes < 1e6, `${bytes} bytes`);
    await context.close();
  });
}

test("the page Speed shows every kept row of the benchmarks", async () => {
  const folder = path.join(tree, "benchmarks", "results");
  const kept = readdirSync(folder).flatMap((name) =>
    readFileSync(path.join(folder, name), "utf8").split("\n").filter(Boolean).map((line) => JSON.parse(line)));
  const { page, close } = await open("speed.html");
  const shown = await page.evaluate(() =>
    [...document.querySelectorAll("details.table tbody tr")].map((one) => ({ row: one.cells[0].textContent, ratio: +one.cells[1].textContent })));
  const sorted = (rows) => [...rows].sort((a, b) => (a.row < b.row ? -1 : a.row > b.row ? 1 : a.ratio - b.ratio));
  const [all, drawn] = [sorted(kept), sorted(shown)];
  assert.ok(all.length > 200);
  assert.deepEqual(drawn.map((one) => one.row), all.map((one) => one.row));
  for (const [place, one] of all.entries()) assert.ok(Math.abs(drawn[place].ratio - one.ratio) < 0.00501, JSON.stringify(one));
  await close();
});

test("every page says in a line of its own what it is about", () => {
  const lines = pages.map((name) => /<meta name="description" content="([^"]{40,160})">/.exec(readFileSync(path.join(site, name), "utf8"))?.[1]);
  assert.deepEqual(pages.filter((_, place) => !lines[place]), []);
  assert.equal(new Set(lines).size, pages.length);
});

test("the rows of a table without a first heading have headings of their own", async () => {
  const { page, close } = await open("python.html");
  const rows = await page.evaluate(() =>
    [...document.querySelectorAll("table")].filter((one) => one.rows[0].cells[0].textContent === "").map((one) =>
      [...one.rows].slice(1).every((row) => row.cells[0].tagName === "TH" && row.cells[0].scope === "row" && row.cells[1].tagName === "TD")));
  assert.ok(rows.length > 0 && rows.every(Boolean), JSON.stringify(rows));
  await close();
});

test("every chart draws the values of the measured data", async () => {
  const { page, close } = await open("quality.html");
  const name = "tonekit high normal";
  for (const pair of ["44100-48000", "96000-44100"]) {
    await page.selectOption("#pair", pair);
    await page.waitForFunction((wanted) => Charts.made.alias.spec.title.includes(wanted), pair === "96000-44100" ? "96 to" : "44.1 to 48");
    const { frequencies, converters } = json(`tones-${pair}`);
    assert.deepEqual(await valuesOf(page, "response", name), { xs: frequencies, values: converters[name].gain });
    assert.deepEqual((await valuesOf(page, "alias", name)).values, converters[name].spur);
    const half = Math.min(...pair.split("-").map(Number)) / 2;
    const noise = converters[name].residual.map((value, at) => (frequencies[at] < half ? value : null));
    assert.deepEqual((await valuesOf(page, "noise", name)).values, noise);
  }
  const shapes = json("shapes");
  const impulse = (await valuesOf(page, "impulse", name)).values;
  assert.deepEqual(impulse.map((value) => Math.round(value / shapes.unit)), shapes.converters[name].impulse);
  const ends = json("ends");
  await page.selectOption("#end-signal", "voice");
  await page.selectOption("#end-side", "end");
  await page.waitForFunction(() => Charts.made.ends.spec.title.startsWith("Last 20 ms of a cut voice"));
  const shown = (await valuesOf(page, "ends", name)).values;
  assert.deepEqual(shown.map((value) => Math.round(value / ends.unit)), ends.cases.voice.converters[name].end);
  const dither = json("dither");
  await page.selectOption("#dither-level", "-100");
  await page.waitForFunction(() => Charts.made.dither.spec.title.includes("-100"));
  assert.deepEqual((await valuesOf(page, "dither", "shaped")).values, dither.levels["-100"].shaped);
  for (const id of await page.evaluate(() => Object.keys(Charts.made))) assert.ok((await drawn(page, id)) > 0.01, `${id} is blank`);
  await close();
});

test("the chart of speed against quality draws every converter", async () => {
  const { page, close } = await open("speed.html");
  const speeds = json("speed").pairs["44100-48000"];
  const names = await page.evaluate(() => Charts.made["speed-quality"].spec.series.map((one) => one.label));
  assert.deepEqual([...names].sort(), Object.keys(speeds).sort());
  const { xs } = await valuesOf(page, "speed-quality", "");
  assert.deepEqual(xs, [...new Set(Object.values(speeds))].sort((a, b) => a - b));
  assert.ok((await drawn(page, "speed-quality")) > 0.01);
  await close();
});

test("converters can be switched on and off", async () => {
  const { page, close } = await open("quality.html");
  const shown = () => page.evaluate(() => Charts.made.response.spec.series.map((one) => one.name));
  assert.ok(!(await shown()).includes("speexdsp 10"));
  await page.check('#choices input[value="speexdsp 10"]');
  await page.waitForFunction(() => Charts.made.response.spec.series.some((one) => one.name === "speexdsp 10"));
  await page.uncheck('#choices input[value="speexdsp 10"]');
  await page.waitForFunction(() => !Charts.made.response.spec.series.some((one) => one.name === "speexdsp 10"));
  await close();
});

test("charts zoom by drag and by button, and show the whole again", async () => {
  const { page, close } = await open("quality.html");
  const range = () => page.evaluate(() => ({ min: Charts.made.response.plot.scales.x.min, max: Charts.made.response.plot.scales.x.max }));
  const whole = await range();
  const box = await (await page.$("#response .u-over")).boundingBox();
  await page.evaluate((top) => scrollTo(0, top - 100), box.y);
  const now = await (await page.$("#response .u-over")).boundingBox();
  await page.mouse.move(now.x + 0.3 * now.width, now.y + 50);
  await page.mouse.down();
  await page.mouse.move(now.x + 0.6 * now.width, now.y + 55, { steps: 5 });
  await page.mouse.up();
  const zoomed = await range();
  assert.ok(zoomed.min > whole.min && zoomed.max < whole.max, JSON.stringify({ whole, zoomed }));
  await page.click("#response .tools button:nth-child(3)");
  assert.deepEqual(await range(), whole);
  await page.click("#response .tools button:nth-child(1)");
  const closer = await range();
  assert.ok(closer.max - closer.min < 0.6 * (whole.max - whole.min));
  await close();
});

test("the values under the pointer are those of the data", async () => {
  const { page, close } = await open("quality.html");
  await page.locator("#alias").scrollIntoViewIfNeeded();
  const box = await (await page.$("#alias .u-over")).boundingBox();
  await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
  const text = await page.textContent("#alias .readout");
  const at = await page.evaluate(() => Charts.made.alias.plot.cursor.idx);
  const { frequencies, converters } = json("tones-44100-48000");
  assert.ok(text.includes(`Frequency, Hz ${frequencies[at]}`), text);
  assert.ok(text.includes(`tonekit high normal ${converters["tonekit high normal"].spur[at]}`), text);
  await close();
});

test("a chart downloads as PNG, SVG and CSV", async () => {
  const { page, close } = await open("quality.html");
  const get = async (place) => {
    const [download] = await Promise.all([page.waitForEvent("download"), page.click(`#response .tools button:nth-child(${place})`)]);
    return { name: download.suggestedFilename(), content: readFileSync(await download.path()) };
  };
  const png = await get(4);
  assert.equal(png.content.subarray(1, 4).toString(), "PNG");
  const svg = (await get(5)).content.toString();
  assert.match(svg, /^<svg .*<polyline .*<\/svg>$/s);
  const csv = await get(6);
  assert.equal(csv.name, "response-44-1-to-48-khz.csv");
  const { frequencies, converters } = json("tones-44100-48000");
  const rows = csv.content.toString().trim().split("\r\n");
  assert.equal(rows.length, frequencies.length + 1);
  assert.equal(rows[0].replace('"Frequency, Hz",', "").split(",")[0], '"tonekit high normal"');
  assert.deepEqual(rows.slice(1).map((row) => Number(row.split(",")[1])), converters["tonekit high normal"].gain.map((value) => value || 0));
  await close();
});

test("pictures and sounds are there, and no picture is blank", async () => {
  const { page, close } = await open("quality.html");
  await page.locator("#spectrograms").scrollIntoViewIfNeeded();
  const blank = await page.$$eval("#spectrograms img", async (images) => {
    const found = [];
    for (const image of images) {
      image.loading = "eager";
      await image.decode();
      const canvas = Object.assign(document.createElement("canvas"), { width: image.naturalWidth, height: image.naturalHeight });
      canvas.getContext("2d").drawImage(image, 0, 0);
      if (image.naturalWidth !== 640) found.push(image.src);
    }
    return found.concat(images.length < 5 ? ["fewer than five"] : []);
  });
  assert.deepEqual(blank, []);
  for (const { file } of json("sounds").files) assert.ok(statSync(path.join(site, "sounds", file)).size > 10000, file);
  await close();
});

test("the reference finds functions, and says what they do", async () => {
  const { page, close } = await open("reference.html");
  await page.fill("#search", "SRC4_Flush");
  const shown = await page.$$eval(".function:not([hidden]) h3", (all) => all.map((one) => one.textContent));
  assert.ok(shown.includes("SRC4_Flush") && shown.length < 20, shown.join(" "));
  const text = await page.$eval('[id^="convert-SRC4_Flush-"]', (one) => one.textContent);
  assert.match(text, /uint32_t SRC4_Flush\(void \*handle, void \*\*out, uint32_t \*outFrames, uint32_t \*outBytes\)/);
  assert.match(text, /Returns/);
  await page.fill("#search", "no such thing anywhere");
  assert.equal(await page.$$eval(".function:not([hidden])", (all) => all.length), 0);
  await close();
});

test("the reference has every function of the headers", async () => {
  const { page, close } = await open("reference.html");
  const names = new Set(await page.$$eval(".function h3", (all) => all.map((one) => one.textContent)));
  for (const header of ["frame", "convert", "hdcd", "loudness", "tags", "encode", "image"]) {
    const source = readFileSync(path.join(tree, "include/tonekit", `${header}.h`), "utf8");
    for (const [, name] of source.matchAll(/^TONEKIT_API [^;(]*?\b(\w+)\(/gm)) assert.ok(names.has(name), name);
  }
  await close();
});

test("the theme switch changes the page and its charts", async () => {
  const { page, close } = await open("quality.html");
  const colours = () => page.evaluate(() => [getComputedStyle(document.body).backgroundColor, Charts.made.response.plot.series[1].stroke()]);
  const before = await colours();
  await page.click("#theme");
  const now = await colours();
  assert.notEqual(before[0], now[0]);
  assert.notEqual(before[1], now[1]);
  await close();
});
