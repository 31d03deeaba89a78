// quality.js: the charts of the page Quality, from the measured data.
(() => {
  const DEFAULTS = ["tonekit high normal", "tonekit best normal", "sox rate -v", "libsamplerate best sinc", "libswresample"];
  const data = () => window.tonekitQuality;
  const chosen = () => [...document.querySelectorAll("#choices input:checked")].map((box) => box.value);
  const all = () => [...document.querySelectorAll("#choices input")].map((box) => box.value);
  const at = (id) => document.getElementById(id)?.value;

  // Data of a pair of rates comes in a file of its own, when it is asked for: pages from the file system can't fetch.
  const loaded = {};
  const load = (file) =>
    (loaded[file] ??= new Promise((done, fail) => {
      const script = document.createElement("script");
      script.src = `data/${file}.js`;
      script.onload = done;
      script.onerror = () => fail(new Error(`data/${file}.js can't be read`));
      document.head.append(script);
    }));

  // One look for a converter in all charts: ours first, then in the order of the list.
  const lookOf = (name) => all().indexOf(name);
  const line = (name, values) => ({ name, values, look: lookOf(name), wide: name.startsWith("tonekit") });
  const lines = (converters, pick) =>
    chosen()
      .filter((name) => converters[name] && !converters[name].failure)
      .map((name) => line(name, pick(converters[name])));

  const hz = { label: "Frequency, Hz" };
  const cut = (values, keep) => values.map((value, place) => (keep[place] ? value : null));

  async function tones() {
    const pair = at("pair");
    await load(`tones-${pair}`);
    const { frequencies: xs, converters, from, to } = data()[`tones-${pair}`];
    const half = Math.min(from, to) / 2;
    const inside = xs.map((x) => x < half);
    const near = xs.map((x) => x > 0.8 * half && x < 1.1 * half);
    const title = (what) => `${what}, ${from / 1000} to ${to / 1000} kHz`;
    Charts.show("response", {
      title: title("Response"), x: hz, y: { label: "Gain, dB", range: [-200, 10] }, xs,
      series: lines(converters, (one) => one.gain),
    });
    Charts.show("passband", {
      title: title("Pass band"), x: { ...hz, range: [0, half] }, y: { label: "Gain, dB", range: [-0.05, 0.02], digits: 6 }, xs,
      series: lines(converters, (one) => cut(one.gain, inside)),
    });
    Charts.show("edge", {
      title: title("Edge of the pass band"), x: { ...hz, range: [0.85 * half, 1.08 * half] },
      y: { label: "Gain, dB", range: [-12, 1], digits: 4 }, xs,
      series: lines(converters, (one) => cut(one.gain, near)),
    });
    Charts.show("noise", {
      title: title("Distortion and noise of a tone"), x: { ...hz, log: true, range: [20, half] }, y: { label: "THD+N, dB", range: [-230, -20] }, xs,
      series: lines(converters, (one) => cut(one.residual, inside)),
    });
    Charts.show("alias", {
      title: title("Strongest alias or image of a tone"), x: hz, y: { label: "Level, dB", range: [-240, 5] }, xs,
      series: lines(converters, (one) => one.spur),
    });
    const phases = lines(converters, (one) => cut(one.phase, xs.map((x) => x < 0.9 * half)));
    const most = Math.max(1e-5, ...phases.flatMap((one) => one.values).map(Math.abs));
    Charts.show("phase", {
      title: title("Phase"), x: { ...hz, range: [0, half] },
      y: { label: "Phase, degrees", digits: 6, range: [-1.2 * most, 1.2 * most] }, xs, series: phases,
    });
  }

  async function shapes() {
    await load("shapes");
    const { first, unit, converters, to } = data().shapes;
    const length = Object.values(converters)[0].impulse.length;
    const xs = Array.from({ length }, (_, place) => +(((first + place) * 1000) / to).toFixed(4));
    const shape = (id, key, title) =>
      Charts.show(id, {
        title, x: { label: "Time, ms" }, y: { label: "Part of the input", digits: 6 }, xs,
        series: lines(converters, (one) => one[key].map((value) => value * unit)),
      });
    shape("impulse", "impulse", "Impulse response, 44.1 to 48 kHz");
    shape("step", "step", "Step response, 44.1 to 48 kHz");
  }

  async function ends() {
    await load("ends");
    const { to, unit, cases } = data().ends;
    const which = at("end-signal");
    const end = at("end-side");
    const { ideal, converters } = cases[which];
    const xs = ideal[end].map((_, place) => +(((end === "start" ? place : place - ideal[end].length) * 1000) / to).toFixed(4));
    const values = (list) => list.map((value) => value * unit);
    Charts.show("ends", {
      title: `${end === "start" ? "First" : "Last"} 20 ms of a cut ${which}, 48 to 44.1 kHz`,
      x: { label: end === "start" ? "Time from the start, ms" : "Time to the end, ms" },
      y: { label: "Part of full scale", digits: 5 }, xs,
      series: [{ name: "the uncut signal", values: values(ideal[end]), look: 6, wide: false },
               ...lines(converters, (one) => values(one[end]))],
    });
  }

  async function dither() {
    await load("dither");
    const { rate, size, levels } = data().dither;
    const xs = Array.from({ length: size / 2 + 1 }, (_, place) => +((place * rate) / size).toFixed(1));
    xs[0] = 1; // the logarithmic axis has no 0
    const spectra = levels[at("dither-level")];
    Charts.show("dither", {
      title: `Spectrum of a tone of ${at("dither-level")} dB at 16 bits`, x: { ...hz, log: true, range: [20, rate / 2] },
      y: { label: "Level, dB", range: [-180, -50], digits: 1 }, xs,
      series: Object.entries(spectra).map(([name, values], place) => ({ name, values, look: place, wide: name === "24 bits" })),
    });
  }

  async function downmix() {
    await load("downmix");
    const { rate, unit, outputs } = data().downmix;
    const series = Object.entries(outputs).map(([name, one], place) => ({
      name: `${name} (THD+N ${one.distortion} dB)`, values: one.samples.map((value) => value * unit), look: place, wide: false,
    }));
    const xs = series[0].values.map((_, place) => +(((place - 240) * 1000) / rate).toFixed(4));
    Charts.show("downmix", {
      title: "A loud passage of 5.1 as stereo at 16 bits", x: { label: "Time from the first loud sample, ms" },
      y: { label: "Part of full scale", digits: 5 }, xs, series,
    });
  }

  function pictures() {
    const files = data().spectrograms.files[at("pair")];
    const host = document.getElementById("spectrograms");
    const names = chosen().filter((name) => files[name]);
    host.replaceChildren(
      ...names.map((name) => {
        const figure = document.createElement("figure");
        figure.className = "card";
        const image = document.createElement("img");
        image.src = `spectrograms/${files[name]}`;
        image.width = 640;
        image.height = 360;
        image.loading = "lazy";
        image.alt = `Spectrogram of a swept sine through ${name}: one rising line; all else is alias, image or noise`;
        const caption = document.createElement("figcaption");
        caption.textContent = name;
        figure.append(image, caption);
        return figure;
      }),
    );
    document.getElementById("no-spectrogram").hidden = names.length > 0;
  }

  const showAll = () => {
    pictures();
    return Promise.all([tones(), shapes(), ends(), dither(), downmix()]);
  };

  addEventListener("DOMContentLoaded", () => {
    for (const box of document.querySelectorAll("#choices input")) {
      box.checked = DEFAULTS.includes(box.value);
      box.addEventListener("change", showAll);
    }
    document.getElementById("pair").addEventListener("change", () => (pictures(), tones()));
    for (const id of ["end-signal", "end-side"]) document.getElementById(id).addEventListener("change", ends);
    document.getElementById("dither-level").addEventListener("change", dither);
    showAll().then(Charts.drawn).then(() => document.body.classList.add("ready"));
  });
})();
