// Makes elements. Text only ever becomes text, never markup.

const SVG = "http://www.w3.org/2000/svg";

const ICONS = {
  warning: "M8 1.5 15 14H1L8 1.5Zm0 5v3.5m0 2v.01",
  lock: "M4 7V5a4 4 0 0 1 8 0v2M3 7h10v7H3V7Z",
  undo: "M3 6h7a3.5 3.5 0 0 1 0 7H6M3 6l3-3M3 6l3 3",
  search: "M7 12A5 5 0 1 0 7 2a5 5 0 0 0 0 10Zm3.6-1.4L14.5 14.5",
  menu: "M2 4h12M2 8h12M2 12h12",
  chevron: "m6 3 5 5-5 5",
  history: "M2.5 8A5.5 5.5 0 1 0 4 4.2M2.5 2.5v2.7h2.7M8 5v3.2l2 1.3",
  download: "M8 2v8m0 0L5 7m3 3 3-3M2.5 13.5h11",
  upload: "M8 10V2m0 0L5 5m3-3 3 3M2.5 13.5h11",
  restart: "M13.5 8A5.5 5.5 0 1 1 11.7 4M13.5 1.5v3.2h-3.2",
  reset: "M2 3h12M5.5 3V1.8h5V3M4 3l.7 11h6.6L12 3",
  logout: "M6 2H3v12h3M7 8h7m0 0-2.5-2.5M14 8l-2.5 2.5",
  check: "m3 8.5 3.2 3.2L13 4.5",
  arrow: "M2 8h11M9 4l4 4-4 4",
};

/** An icon, which screen readers ignore. */
export function icon(name) {
  const svg = document.createElementNS(SVG, "svg");
  svg.setAttribute("viewBox", "0 0 16 16");
  svg.setAttribute("class", "icon");
  svg.setAttribute("aria-hidden", "true");
  svg.setAttribute("focusable", "false");
  const path = document.createElementNS(SVG, "path");
  path.setAttribute("d", ICONS[name]);
  svg.append(path);
  return svg;
}

/**
 * An element. Of `options`, "on..." are listeners, "class" and names with a hyphen attributes, and
 * others properties. Children are elements and texts; null and "" are left out.
 */
export function element(tag, options = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(options)) {
    if (name.startsWith("on")) {
      made.addEventListener(name.substring(2), value);
    } else if (name === "class" || name.includes("-") || name === "role" || name === "for") {
      if (value !== null && value !== "") {
        made.setAttribute(name, value);
      }
    } else {
      made[name] = value;
    }
  }
  made.append(...children.filter((child) => child !== null && child !== ""));
  return made;
}

export function button(label, options = {}, symbol = "") {
  return element("button", { type: "button", ...options }, symbol === "" ? null : icon(symbol),
    element("span", {}, label));
}

/** Sets an element's text only if it changes, so that a live region does not speak again. */
export function setText(target, text) {
  if (target.textContent !== text) {
    target.textContent = text;
  }
}

let nextId = 0;

/** An id that no other element has. */
export function newId(prefix) {
  return `${prefix}-${++nextId}`;
}

export function plural(number, one, many = `${one}s`) {
  return `${number} ${number === 1 ? one : many}`;
}
