// speed.js: the chart of speed against quality.
(() => {
  addEventListener("DOMContentLoaded", () => {
    const select = document.getElementById("speed-pair");
    const show = () => {
      const points = window.tonekitQuality["speed-points"][select.value];
      const xs = [...new Set(points.map((one) => one.speed))].sort((a, b) => a - b);
      Charts.show("speed-quality", {
        title: `Speed against quality, ${select.selectedOptions[0].textContent}`,
        x: { label: "Seconds of stereo in a second of one core", log: true, range: [10, 2000] },
        y: { label: "Worst THD+N in the pass band, dB", digits: 1 },
        points: true,
        xs,
        series: points.map((one, place) => ({
          label: one.name,
          name: `${one.name} (${one.speed} times real time, ${one.noise} dB)`,
          values: xs.map((x) => (x === one.speed ? one.noise : null)),
          look: place,
          wide: one.name.startsWith("tonekit"),
        })),
      });
    };
    select.addEventListener("change", show);
    show();
    Charts.drawn().then(() => document.body.classList.add("ready"));
  });
})();
