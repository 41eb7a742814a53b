// The changes of settings that were made, the newest first.

import { button, element } from "./dom.js";

const ENTRIES = "/redfish/v1/Systems/system/LogServices/Changes/Entries";
const PAGE = 50;

const timeFormat = new Intl.DateTimeFormat(undefined, { dateStyle: "medium", timeStyle: "medium" });

function shownTime(text) {
  const time = new Date(text);
  return Number.isNaN(time.getTime()) ? String(text ?? "") : timeFormat.format(time);
}

// "uid=0,gid=0,pid=17,program=/usr/bin/dpctl" as "dpctl, user 0".
function shownClient(text) {
  const program = /(?:^|,)program=(?:.*\/)?([^/]+)$/.exec(text);
  const user = /(?:^|,)uid=([0-9]+)/.exec(text);
  const parts = [program?.[1] ?? "", user === null ? "" : `user ${user[1]}`].filter(Boolean);
  return parts.join(", ") || text;
}

// Who made the change: the person, if the client named one, and the client.
function shownOriginator(entry) {
  const client = shownClient(String(entry.Originator ?? ""));
  return entry.Username ? `${entry.Username} with ${client}` : client;
}

function row(entry) {
  const time = element("time", {}, shownTime(entry.Created));
  time.dateTime = String(entry.Created ?? "");
  return element("tr", {},
    element("td", { class: "history-time" }, time),
    element("td", { class: "history-text" }, String(entry.Message ?? "")),
    element("td", { class: "history-client", title: String(entry.Originator ?? "") },
      shownOriginator(entry)));
}

export class HistoryView {
  #api;
  #view;
  #body = element("tbody");
  #table = element("div", { class: "table-frame", tabIndex: 0, role: "region", "aria-labelledby": "title" },
    element("table", { class: "history" },
      element("thead", {}, element("tr", {},
        ...["Time", "Change", "Made by"].map((title) => element("th", { scope: "col" }, title)))),
      this.#body));
  #older = button("Show older changes", { class: "more", onclick: () => {
    this.#showOlder().catch(() => { this.#note.textContent = "The older changes could not be read."; });
  } });
  #note = element("p", { class: "muted" });
  #first = 0; // the index of the oldest entry that is shown
  #total = 0;
  #newest = "";

  constructor(api, view) {
    this.#api = api;
    this.#view = view;
  }

  async show() {
    this.#view.replaceChildren(element("h1", { tabIndex: -1, id: "title" }, "History"), this.#note, this.#table,
      this.#older);
    this.#table.hidden = true;
    this.#older.hidden = true;
    this.#note.textContent = "Reading…";
    try {
      await this.update();
    } catch (problem) {
      this.#note.textContent = "The changes could not be read.";
      throw problem;
    }
  }

  // Entries from an index on, with their total number.
  async #read(first, count) {
    const page = await this.#api.get(`${ENTRIES}?$skip=${first}&$top=${count}`);
    const entries = Array.isArray(page?.Members) ? page.Members : [];
    return { entries, total: Number(page?.["Members@odata.count"] ?? entries.length) };
  }

  /** Shows the newest entries if there are new ones. */
  async update() {
    const { total } = await this.#read(0, 1);
    const first = Math.max(0, total - PAGE);
    const { entries } = total === 0 ? { entries: [] } : await this.#read(first, PAGE);
    const newest = `${total} ${entries[entries.length - 1]?.["@odata.id"] ?? ""}`;
    if (newest === this.#newest && this.#body.isConnected && !this.#table.hidden) {
      return;
    }
    this.#newest = newest;
    this.#total = total;
    this.#first = first;
    this.#body.replaceChildren(...entries.map(row).reverse());
    this.#showRest();
  }

  async #showOlder() {
    const first = Math.max(0, this.#first - PAGE);
    const { entries } = await this.#read(first, this.#first - first);
    this.#first = first;
    this.#body.append(...entries.map(row).reverse());
    this.#showRest();
  }

  #showRest() {
    this.#note.textContent = this.#total === 0 ? "Nothing was changed yet."
      : `The newest ${this.#total - this.#first} of ${this.#total} changes.`;
    this.#table.hidden = this.#total === 0;
    this.#older.hidden = this.#first === 0;
  }
}
