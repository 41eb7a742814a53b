// The settings of a menu, or those that a search or a filter finds.

import { element, icon, plural, setText } from "./dom.js";
import { fullTitle, menusBelow, orderedSettings } from "./menu_tree.js";
import { menuAddress } from "./menu_view.js";
import { SettingRow } from "./setting_row.js";

const MOST_ROWS = 100; // at once; a button shows more

function matches(settings, setting, words) {
  const text = [
    setting.name,
    settings.displayName(setting),
    settings.property(setting, "HelpText") ?? "",
    settings.property(setting, "WarningText") ?? "",
    settings.shownValue(setting, settings.value(setting)),
    fullTitle(setting.menu),
  ].join("\n").toLowerCase();
  return words.every((word) => text.includes(word));
}

export class SettingsView {
  #view;
  #settings;
  #options;
  #rows = new Map();
  #list = element("div", { class: "settings" });
  #empty = element("p", { class: "muted" }, "This menu has no settings.");

  /** `view` is the element that is filled; `options` are those of the rows. */
  constructor(view, settings, options) {
    this.#view = view;
    this.#settings = settings;
    this.#options = options;
  }

  /** The rows that are shown, by the setting's name. */
  get rows() {
    return this.#rows;
  }

  #title(text) {
    return element("h1", { tabIndex: -1, id: "title" }, text);
  }

  /** The settings of a menu, and ways to the menus below it. */
  showMenu(menu) {
    this.#rows.clear();
    const above = [];
    for (let at = menu.above; at !== null && at.title !== ""; at = at.above) {
      above.unshift(element("li", {}, element("a", { href: menuAddress(at.path) }, at.title)));
    }
    const trail = above.length === 0 ? null
      : element("nav", { class: "trail", "aria-label": "Menus above" }, element("ol", {}, ...above));
    const below = menu.below.filter(({ isHidden }) => !isHidden);
    const cards = below.length === 0 ? null : element("ul", { class: "cards" }, ...below.map((inner) =>
      element("li", {}, element("a", { href: menuAddress(inner.path) },
        element("span", { class: "card-title" }, inner.title),
        element("span", { class: "muted" }, this.#summary(inner)), icon("chevron")))));
    this.#view.replaceChildren(...[trail, this.#title(menu.title || "Settings"), this.#list, cards,
      below.length === 0 ? this.#empty : null].filter(Boolean));
    this.#fill([{ menu, settings: orderedSettings(menu, this.#settings) }], false);
    this.#showEmpty();
  }

  // Nothing may be left to show: dependencies hide settings.
  #showEmpty() {
    const isEmpty = this.#list.querySelector(".more") === null &&
      [...this.#rows.values()].every((row) => row.element.hidden);
    this.#list.hidden = isEmpty;
    this.#empty.hidden = !isEmpty;
  }

  #summary(menu) {
    const inside = menusBelow(menu);
    const settings = inside.reduce((sum, { settings: own }) =>
      sum + own.filter((setting) => !this.#settings.isHidden(setting)).length, 0);
    const menus = inside.length - 1;
    return plural(settings, "setting") + (menus > 0 ? ` in ${plural(menus + 1, "menu")}` : "");
  }

  /** The settings of all menus that a search and a filter find. Returns their number. */
  showFound(root, search, filter) {
    this.#rows.clear();
    const words = search.toLowerCase().split(/\s+/).filter(Boolean);
    const settings = this.#settings;
    const isWanted = (setting) =>
      (!settings.isHidden(setting) || settings.edits.has(setting.name)) &&
      (filter !== "changed" || settings.isChanged(setting)) &&
      (filter !== "default" || !settings.isAtDefault(setting)) &&
      matches(settings, setting, words);
    const groups = menusBelow(root)
      .map((menu) => ({ menu, settings: orderedSettings(menu, settings).filter(isWanted) }))
      .filter((group) => group.settings.length > 0);
    const count = groups.reduce((sum, group) => sum + group.settings.length, 0);
    const title = words.length > 0 ? "Search" : filter === "changed" ? "Changed settings" : "Not at default";
    this.#view.replaceChildren(this.#title(title),
      element("p", { class: "muted" }, count === 0 ? "No setting was found." : `${plural(count, "setting")} found.`),
      this.#list);
    this.#fill(groups, true);
    this.#showEmpty();
    return count;
  }

  // Adds the first rows of the groups to the list, and a button for more.
  #fill(groups, hasTitles) {
    const list = this.#list;
    const items = groups.flatMap(({ menu, settings }) => settings.map((setting) => ({ menu, setting })));
    const label = element("span");
    const more = element("button", { type: "button", class: "more" }, label);
    let next = 0;
    let titled = null;
    const addSome = () => {
      const end = Math.min(next + MOST_ROWS, items.length);
      for (; next < end; ++next) {
        const { menu, setting } = items[next];
        if (hasTitles && menu !== titled) {
          titled = menu;
          list.append(element("h2", { class: "group" },
            element("a", { href: menuAddress(menu.path) }, fullTitle(menu) || "Settings")));
        }
        this.#addRow(setting);
      }
      const left = items.length - next;
      setText(label, `Show ${Math.min(left, MOST_ROWS)} more of ${left}`);
      if (left > 0) {
        list.append(more);
      } else {
        more.remove();
      }
    };
    more.addEventListener("click", () => {
      const first = items[next].setting;
      addSome();
      this.#rows.get(first.name).focus();
    });
    addSome();
  }

  #addRow(setting) {
    const row = new SettingRow(setting, this.#settings, this.#options);
    this.#rows.set(setting.name, row);
    this.#list.append(row.element);
  }

  /** Shows what the settings say now. */
  update() {
    this.#rows.forEach((row) => row.update());
    this.#showEmpty();
  }
}
