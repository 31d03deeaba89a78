// charts.js: line and point charts on uPlot, with switches, zoom, values under the pointer, and PNG, SVG and CSV.
const Charts = (() => {
  // Okabe and Ito's colours, which people with colour-blindness can tell apart, and dashes for more than eight lines.
  const COLOURS = {
    light: ["#0072b2", "#d55e00", "#007a5a", "#b5568c", "#8a6d00", "#2f8fc4", "#1c1d1f", "#7a7d84"],
    dark: ["#56b4e9", "#ff9a4d", "#2fd0a0", "#e69ac8", "#f0e442", "#9fd0ff", "#e8e8e4", "#a9adb5"],
  };
  const DASHES = [[], [8, 4], [2, 3], [10, 3, 2, 3]];

  const style = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  const isDark = () => {
    const theme = document.documentElement.dataset.theme;
    return theme ? theme === "dark" : matchMedia("(prefers-color-scheme: dark)").matches;
  };
  const look = (at) => ({
    stroke: COLOURS[isDark() ? "dark" : "light"][at % 8],
    dash: DASHES[Math.floor(at / 8) % DASHES.length],
  });
  const format = (value, digits) =>
    value == null ? "none" : Math.abs(value) >= 1e5 ? value.toPrecision(4) : String(+value.toFixed(digits));

  const download = (name, type, content) => {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(content instanceof Blob ? content : new Blob([content], { type }));
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 1000);
  };

  const escape = (text) => text.replace(/[&<>"]/g, (one) => `&#${one.charCodeAt(0)};`);

  class Chart {
    // spec: {title, x: {label, log}, y: {label, range, digits}, points, series: [{name, values, look, labels}], xs}
    constructor(host, spec) {
      this.host = host;
      this.plotHost = host.querySelector(".plot");
      this.readout = host.querySelector(".readout");
      const tools = host.querySelector(".tools");
      const add = (text, label, act) => {
        const button = document.createElement("button");
        button.type = "button";
        button.textContent = text;
        button.setAttribute("aria-label", `${label}: ${spec.title}`);
        button.addEventListener("click", act);
        tools.append(button);
      };
      add("Zoom in", "Zoom in", () => this.zoom(0.5));
      add("Zoom out", "Zoom out", () => this.zoom(2));
      add("Whole", "Show the whole chart", () => this.whole());
      add("PNG", "Download as PNG", () => this.plot.ctx.canvas.toBlob((blob) => download(this.file("png"), "", blob)));
      add("SVG", "Download as SVG", () => download(this.file("svg"), "image/svg+xml", this.svg()));
      add("CSV", "Download as CSV", () => download(this.file("csv"), "text/csv", this.csv()));
      addEventListener("themechange", () => this.draw());
      new ResizeObserver(() => {
        if (this.plot && this.plotHost.clientWidth > 0)
          this.plot.setSize({ width: this.plotHost.clientWidth, height: this.height() });
      }).observe(this.plotHost);
      this.set(spec);
    }

    set(spec) {
      this.spec = spec;
      this.plotHost.setAttribute("role", "img");
      const names = spec.series.map((one) => one.name).join(", ");
      this.plotHost.setAttribute("aria-label", `${spec.title}. Lines: ${names || "none"}. The CSV holds all values.`);
      this.draw();
    }

    height() {
      return Math.max(300, Math.min(460, this.plotHost.clientWidth * 0.5));
    }

    file(ending) {
      return this.spec.title.toLowerCase().replace(/[^a-z0-9]+/g, "-") + "." + ending;
    }

    draw() {
      const { spec } = this;
      const text = style("--quiet");
      const grid = { stroke: style("--line"), width: 1 };
      const axis = (label) => ({ label, stroke: text, grid, ticks: grid, font: "12px system-ui", labelFont: "12px system-ui" });
      const data = [spec.xs, ...spec.series.map((one) => one.values)];
      const options = {
        width: this.plotHost.clientWidth || 600,
        height: this.height(),
        legend: { show: false },
        cursor: { drag: { x: true, y: true, uni: 20 }, points: { size: 7 } },
        scales: {
          x: { time: false, distr: spec.x.log ? 3 : 1, log: 10, range: (plot, min, max) => this.along(plot, min, max) },
          y: { range: spec.y.range ? () => spec.y.range : undefined },
        },
        axes: [axis(spec.x.label), { ...axis(spec.y.label), size: 64 }],
        series: [
          {},
          ...spec.series.map((one) => ({
            ...look(one.look),
            label: one.name,
            width: one.wide ? 2.5 : 1.5,
            paths: spec.points ? () => null : undefined,
            points: spec.points ? { show: true, size: 11, fill: look(one.look).stroke } : { show: false },
            spanGaps: false,
          })),
        ],
        hooks: {
          setCursor: [(plot) => this.tell(plot.cursor.idx)],
          draw: spec.points ? [(plot) => this.namePoints(plot)] : [],
        },
      };
      this.plot?.destroy();
      this.plot = new uPlot(options, data, this.plotHost);
      this.tell(null);
    }

    // The range of the x axis: what was zoomed to, or the whole.
    along(plot, min, max) {
      const { x, xs } = this.spec;
      const whole = min === xs[0] && max === xs[xs.length - 1];
      return whole && x.range ? x.range : [min, max];
    }

    // Writes the name of each point next to it.
    namePoints(plot) {
      const { ctx } = plot;
      ctx.save();
      ctx.fillStyle = style("--text");
      ctx.font = `${11 * devicePixelRatio}px system-ui`;
      ctx.textAlign = "center";
      for (const one of this.spec.series) {
        const at = one.values.findIndex((value) => value != null);
        const left = plot.valToPos(this.spec.xs[at], "x", true);
        // Ours above and others below their points, which often are near one another.
        const down = plot.valToPos(one.values[at], "y", true) + (one.wide ? -11 : 19) * devicePixelRatio;
        const half = ctx.measureText(one.label).width / 2;
        const room = plot.bbox.left + plot.bbox.width - half;
        ctx.fillText(one.label, Math.max(plot.bbox.left + half, Math.min(left, room)), down);
      }
      ctx.restore();
    }

    // The names of the lines, with their values where the pointer is.
    tell(at) {
      const { spec } = this;
      const key = (one) => {
        const { stroke, dash } = look(one.look);
        let value = "";
        if (at != null) value = ` ${format(one.values[at], spec.y.digits ?? 2)}`;
        return (
          `<span class="key"><svg width="26" height="8" aria-hidden="true"><line x1="0" y1="4" x2="26" y2="4" ` +
          `stroke="${stroke}" stroke-width="${one.wide ? 3 : 2}" stroke-dasharray="${dash.join(" ")}"/></svg>` +
          `${escape(one.name)}${value}</span>`
        );
      };
      const place = at == null ? "" : `<span class="key">${escape(spec.x.label)} ${format(spec.xs[at], 3)}</span>`;
      this.readout.innerHTML = place + spec.series.map(key).join("");
    }

    zoom(factor) {
      const { min, max } = this.plot.scales.x;
      const log = this.spec.x.log;
      const [low, high] = log ? [Math.log(min), Math.log(max)] : [min, max];
      const middle = (low + high) / 2;
      const half = ((high - low) / 2) * factor;
      const ends = [middle - half, middle + half].map((one) => (log ? Math.exp(one) : one));
      const { x, xs } = this.spec;
      const [first, last] = x.range ?? [xs[0], xs[xs.length - 1]];
      this.plot.setScale("x", { min: Math.max(first, ends[0]), max: Math.min(last, ends[1]) });
    }

    whole() {
      const { x, xs } = this.spec;
      const [min, max] = x.range ?? [xs[0], xs[xs.length - 1]];
      this.plot.setData(this.plot.data, true);
      this.plot.setScale("x", { min, max });
    }

    csv() {
      const quote = (text) => `"${String(text).replaceAll('"', '""')}"`;
      const rows = [[this.spec.x.label, ...this.spec.series.map((one) => one.name)].map(quote).join(",")];
      this.spec.xs.forEach((x, at) => rows.push([x, ...this.spec.series.map((one) => one.values[at] ?? "")].join(",")));
      return rows.join("\r\n") + "\r\n";
    }

    // The part that is shown, as lines between the same axes.
    svg() {
      const width = 900;
      const height = 480;
      const box = { left: 80, top: 50, right: 20, bottom: 60 + 18 * this.spec.series.length };
      const { x, y } = this.plot.scales;
      const log = this.spec.x.log;
      const along = (value) => (log ? Math.log10(value) : value);
      const toX = (value) =>
        box.left + ((along(value) - along(x.min)) / (along(x.max) - along(x.min))) * (width - box.left - box.right);
      const toY = (value) => box.top + ((y.max - value) / (y.max - y.min)) * (height - box.top - 60);
      const parts = [];
      const label = (text, at, baseline, anchor = "middle", more = "") =>
        parts.push(`<text x="${at}" y="${baseline}" text-anchor="${anchor}" ${more}>${escape(text)}</text>`);
      label(this.spec.title, width / 2, 28, "middle", 'font-size="16"');
      const steps = [0, 1, 2, 3, 4, 5].map((at) => at / 5);
      for (const step of steps) {
        const value = y.min + step * (y.max - y.min);
        parts.push(`<line x1="${box.left}" x2="${width - box.right}" y1="${toY(value)}" y2="${toY(value)}" stroke="#ccc"/>`);
        label(format(value, this.spec.y.digits ?? 2), box.left - 8, toY(value) + 4, "end");
        const position = log ? x.min * (x.max / x.min) ** step : x.min + step * (x.max - x.min);
        parts.push(`<line x1="${toX(position)}" x2="${toX(position)}" y1="${box.top}" y2="${height - 60}" stroke="#ccc"/>`);
        label(format(position, log ? 0 : 3), toX(position), height - 42);
      }
      label(this.spec.x.label, width / 2, height - 20);
      label(this.spec.y.label, 0, 0, "middle", `transform="translate(18 ${(height - 10) / 2}) rotate(-90)"`);
      this.spec.series.forEach((one, at) => {
        const colour = COLOURS.light[one.look % 8];
        const dash = DASHES[Math.floor(one.look / 8) % DASHES.length].join(" ");
        const runs = [[]];
        this.spec.xs.forEach((value, place) => {
          const level = one.values[place];
          if (level == null || value < x.min || value > x.max) runs.push([]);
          else runs[runs.length - 1].push(`${toX(value).toFixed(1)},${toY(level).toFixed(1)}`);
        });
        for (const run of runs.filter((points) => points.length > 0)) {
          if (this.spec.points)
            parts.push(...run.map((point) => `<circle cx="${point.split(",")[0]}" cy="${point.split(",")[1]}" r="5" fill="${colour}"/>`));
          else
            parts.push(`<polyline clip-path="url(#box)" fill="none" stroke="${colour}" stroke-width="1.5" stroke-dasharray="${dash}" points="${run.join(" ")}"/>`);
        }
        const line = height + 18 * at;
        parts.push(`<line x1="${box.left}" x2="${box.left + 30}" y1="${line}" y2="${line}" stroke="${colour}" stroke-width="2" stroke-dasharray="${dash}"/>`);
        label(one.name, box.left + 40, line + 4, "start");
      });
      const whole = height + 18 * this.spec.series.length + 10;
      const clip = `<clipPath id="box"><rect x="${box.left}" y="${box.top}" width="${width - box.left - box.right}" height="${height - 60 - box.top}"/></clipPath>`;
      return (
        `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${whole}" viewBox="0 0 ${width} ${whole}" ` +
        `font-family="sans-serif" font-size="12"><rect width="100%" height="100%" fill="#fff"/>${clip}${parts.join("")}</svg>`
      );
    }
  }

  const made = {};
  // Each chart is made in a task of its own, so that a page with many answers between them.
  let last = Promise.resolve();
  const rest = () => new Promise((done) => setTimeout(done));
  return {
    made, // by the id of their element
    show(id, spec) {
      if (made[id]) {
        made[id].set(spec);
        return;
      }
      last = last.then(rest).then(() => {
        if (made[id]) made[id].set(spec);
        else made[id] = new Chart(document.getElementById(id), spec);
      });
    },
    // Resolves when all charts asked for are drawn.
    drawn: () => last,
    readout: format,
  };
})();
