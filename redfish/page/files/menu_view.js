// The menus beside the settings.

import { button, element, plural, setText } from "./dom.js";

/** The fragment of the address of a menu. */
export function menuAddress(path) {
  return `#/menu/${encodeURIComponent(path)}`;
}

export class MenuView {
  #list;
  #items = new Map();
  #open = new Set();

  constructor(list) {
    this.#list = list;
  }

  /** Builds the list of the menus below `root`. */
  build(root) {
    this.#items.clear();
    const tops = root.below.filter((menu) => !menu.isHidden);
    // A single menu at the top is open, so that those below it are seen.
    if (tops.length === 1) {
      this.#open.add(tops[0].path);
    }
    this.#list.replaceChildren(...tops.map((menu) => this.#item(menu)));
  }

  #item(menu) {
    const below = menu.below.filter(({ isHidden }) => !isHidden);
    const count = element("span", { class: "menu-count" });
    const link = element("a", { href: menuAddress(menu.path) }, element("span", {}, menu.title), count);
    const item = { menu, link, count, toggle: null, list: null };
    const made = element("li", {}, element("div", { class: "menu-line" }, link));
    if (below.length > 0) {
      item.list = element("ul", {}, ...below.map((inner) => this.#item(inner)));
      item.toggle = button("", { class: "quiet menu-toggle", "aria-label": `Menus below ${menu.title}`,
        onclick: () => this.#setOpen(menu, !this.#open.has(menu.path)) }, "chevron");
      made.firstChild.prepend(item.toggle);
      made.append(item.list);
    }
    this.#items.set(menu.path, item);
    this.#showOpen(item);
    return made;
  }

  #showOpen({ menu, toggle, list }) {
    if (toggle !== null) {
      const isOpen = this.#open.has(menu.path);
      toggle.setAttribute("aria-expanded", String(isOpen));
      list.hidden = !isOpen;
    }
  }

  #setOpen(menu, isOpen) {
    if (isOpen) {
      this.#open.add(menu.path);
    } else {
      this.#open.delete(menu.path);
    }
    const item = this.#items.get(menu.path);
    if (item !== undefined) {
      this.#showOpen(item);
    }
  }

  /** Marks the menu that is shown, null for none, and opens those above it. */
  select(menu) {
    for (const { link } of this.#items.values()) {
      link.removeAttribute("aria-current");
    }
    for (let at = menu; at !== null; at = at.above) {
      this.#setOpen(at, true);
    }
    this.#items.get(menu?.path)?.link.setAttribute("aria-current", "page");
  }

  /** Shows how many settings of each menu, and of those below it, are changed. */
  count(isChanged) {
    const countOf = (menu) => {
      const own = menu.settings.filter(isChanged).length;
      const total = menu.below.reduce((sum, below) => sum + countOf(below), own);
      const item = this.#items.get(menu.path);
      if (item !== undefined) {
        setText(item.count, total === 0 ? "" : String(total));
        item.count.hidden = total === 0;
        item.count.title = total === 0 ? "" : `${plural(total, "setting")} changed`;
        if (total === 0) {
          item.link.removeAttribute("aria-label");
        } else {
          item.link.setAttribute("aria-label", `${menu.title}, ${plural(total, "changed setting")}`);
        }
      }
      return total;
    };
    for (const { menu } of this.#items.values()) {
      if (menu.above.above === null) {
        countOf(menu);
      }
    }
  }
}
