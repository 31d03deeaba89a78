// site.js: the theme switch and the search of the reference.
(() => {
  const root = document.documentElement;
  const read = () => {
    try {
      return localStorage.getItem("theme");
    } catch {
      return null; // some browsers keep nothing for pages from the file system
    }
  };
  const keep = (theme) => {
    try {
      localStorage.setItem("theme", theme);
    } catch {
      // the choice then holds for this page alone
    }
  };
  if (read()) root.dataset.theme = read();

  const isDark = () =>
    root.dataset.theme ? root.dataset.theme === "dark" : matchMedia("(prefers-color-scheme: dark)").matches;

  addEventListener("DOMContentLoaded", () => {
    const button = document.querySelector("#theme");
    const label = () => (button.textContent = isDark() ? "Light" : "Dark");
    label();
    button.addEventListener("click", () => {
      root.dataset.theme = isDark() ? "light" : "dark";
      keep(root.dataset.theme);
      label();
      dispatchEvent(new Event("themechange"));
    });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
      label();
      dispatchEvent(new Event("themechange"));
    });

    const search = document.querySelector("#search");
    if (!search) return;
    const entries = [...document.querySelectorAll(".function")];
    const texts = entries.map((entry) => entry.textContent.toLowerCase());
    const count = document.querySelector("#found");
    const apply = () => {
      const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
      let shown = 0;
      entries.forEach((entry, at) => {
        entry.hidden = !words.every((word) => texts[at].includes(word));
        shown += entry.hidden ? 0 : 1;
      });
      for (const section of document.querySelectorAll("section.header"))
        section.hidden = words.length > 0 && !section.querySelector(".function:not([hidden])");
      count.textContent = words.length ? `${shown} of ${entries.length}` : `${entries.length} entries`;
    };
    search.addEventListener("input", apply);
    apply();
  });
})();
