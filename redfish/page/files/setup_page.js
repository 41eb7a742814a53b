// The page after the login: reads the server, shows its settings, and saves what is edited.

import { ConnectionProblem, Refusal, isMessage, messagesOf, needsLogin } from "./api_client.js";
import { readRegistry } from "./attribute_registry.js";
import { SIZE_LIMIT, exportState, parseState, planState } from "./desired_state.js";
import { chooseFile, confirmAction, offerFile, showDialog } from "./dialogs.js";
import { button, element, icon, plural, setText } from "./dom.js";
import { HistoryView } from "./history_view.js";
import { LiveUpdates } from "./live_updates.js";
import { buildMenus, menusBelow } from "./menu_tree.js";
import { MenuView, menuAddress } from "./menu_view.js";
import { sortMessages } from "./refusals.js";
import { Settings } from "./settings.js";
import { SettingsView } from "./settings_view.js";

const SYSTEM = "/redfish/v1/Systems/system";
const BIOS = `${SYSTEM}/Bios`;
const BIOS_SETTINGS = `${BIOS}/Settings`;
const MANAGER = "/redfish/v1/Managers/bmc";
const HISTORY_ADDRESS = "#/history";
const LIVE_TEXTS = { live: "Live", polling: "Updated every 5 s", offline: "No connection" };

const at = (id) => document.getElementById(id);

export class SetupPage {
  #api;
  #onLogout;
  #listeners = new AbortController();
  #live;
  #settings = null;
  #menus = null;
  #menuView = new MenuView(at("menus"));
  #view = null;
  #history;
  #system = null;
  #tags = { pending: "", current: "" };
  #lockReason = ""; // why the user may change nothing; empty: the user may
  #registryId = "";
  #editsToKeep = []; // until the settings of another registry are shown
  #serviceProblem = "";
  #updating = null;
  #isSaving = false;
  #searchTimer = 0;

  constructor(api, onLogout) {
    this.#api = api;
    this.#onLogout = onLogout;
    this.user = api.session.user;
    this.#history = new HistoryView(api, at("view"));
    this.#live = new LiveUpdates(api, {
      update: () => this.#update(),
      show: (state) => this.#showLive(state),
    });
    this.#listen();
    this.#addTools();
  }

  // --- start and end

  /** Reads the server and shows it; also after a new login. What cannot be read is read later. */
  async resume() {
    const { user, role } = this.#api.session;
    setText(at("user-name"), user);
    setText(at("user-role"), role);
    try {
      await this.#readAll();
    } catch (problem) {
      if (needsLogin(problem)) {
        return;
      }
      this.#banner("unread", "error", `The settings cannot be read yet. ${this.#reasonOf(problem)}`);
    }
    this.#live.start();
  }

  async #readAll() {
    at("finder").hidden = this.#settings === null;
    await this.#readRole(this.#api.session.role);
    await this.#readServer();
    at("finder").hidden = false;
    this.#banner("unread", "", "");
    this.#addTools();
    this.#route(false);
  }

  get hasEdits() {
    return this.#settings !== null && this.#settings.edits.size > 0;
  }

  /** Ends what runs without the user; `resume` starts it again. */
  pause() {
    this.#live.stop();
  }

  /** Ends everything. */
  end() {
    this.#live.stop();
    this.#listeners.abort();
  }

  #listen() {
    const { signal } = this.#listeners;
    const listen = (target, type, act) => target.addEventListener(type, act, { signal });
    const click = (id, act) => listen(at(id), "click", () => this.#act(act));
    listen(window, "hashchange", () => this.#route(true));
    listen(window, "beforeunload", (event) => {
      if (this.hasEdits) {
        event.preventDefault();
      }
    });
    listen(window, "keydown", (event) => {
      const isTyping = /^(INPUT|SELECT|TEXTAREA)$/.test(document.activeElement?.tagName ?? "");
      const hasModifier = event.ctrlKey || event.altKey || event.metaKey;
      if (event.key === "/" && !hasModifier && !isTyping && document.querySelector("dialog[open]") === null) {
        event.preventDefault();
        at("search").focus();
      } else if (event.key === "Escape") {
        this.#openSidebar(false);
      }
    });
    // The address does not change when a search is left for the menu where it began.
    listen(document, "click", (event) => {
      const address = event.target.closest?.("a[href^='#/']")?.getAttribute("href");
      if (address !== undefined && address === location.hash) {
        this.#route(true);
      }
    });
    listen(at("skip"), "click", (event) => {
      event.preventDefault();
      this.#focusTitle();
    });
    listen(at("search"), "input", () => {
      clearTimeout(this.#searchTimer);
      this.#searchTimer = setTimeout(() => this.#find(), 150);
    });
    listen(at("filter"), "change", () => this.#find());
    listen(at("menu-button"), "click", () =>
      this.#openSidebar(at("menu-button").getAttribute("aria-expanded") !== "true"));
    listen(at("sidebar"), "click", (event) => {
      if (event.target.closest("a") !== null) {
        this.#openSidebar(false);
      }
    });
    click("logout-button", () => this.#logOut());
    click("save-button", () => this.#save());
    click("discard-button", () => this.#discard());
    click("review-button", () => this.#review());
    click("restart-button", () => this.#restart());
  }

  #openSidebar(isOpen) {
    at("menu-button").setAttribute("aria-expanded", String(isOpen));
    at("sidebar").classList.toggle("is-open", isOpen);
    if (isOpen) {
      at("sidebar").scrollTop = 0;
      at("menus").querySelector("[aria-current]")?.scrollIntoView({ block: "nearest" });
    }
  }

  #addTools() {
    const tool = (label, symbol, act, isForChanges) => element("li", {},
      button(label, { class: "quiet",
        disabled: this.#settings === null || (isForChanges && this.#lockReason !== ""),
        onclick: () => {
          this.#openSidebar(false);
          this.#act(act);
        } }, symbol));
    at("tools").replaceChildren(
      element("li", {}, element("a", { href: HISTORY_ADDRESS, id: "history-link" }, icon("history"),
        element("span", {}, "History"))),
      tool("Import settings…", "upload", () => this.#import(), true),
      tool("Export settings", "download", () => this.#export(), false),
      tool("Reset to defaults…", "reset", () => this.#reset(), true),
      tool("Restart the server…", "restart", () => this.#restart(), true),
    );
    this.#markHistory();
  }

  // Does what the user wants; what fails is shown.
  async #act(act) {
    try {
      await act();
    } catch (problem) {
      if (!needsLogin(problem)) { // which is shown then
        this.#banner("problem", "error", this.#reasonOf(problem));
      }
    }
  }

  #reasonOf(problem) {
    if (problem instanceof Refusal || problem instanceof ConnectionProblem) {
      return problem.message;
    }
    console.error(problem);
    return "Something went wrong in the page. Reload it.";
  }

  // --- the server

  // What the role may do.
  async #readRole(role) {
    let mayChange = role === "Administrator" || role === "Operator";
    try {
      const found = await this.#api.get(`/redfish/v1/AccountService/Roles/${encodeURIComponent(role)}`);
      mayChange = found.AssignedPrivileges.includes("ConfigureComponents");
    } catch (problem) {
      if (problem instanceof ConnectionProblem || needsLogin(problem)) {
        throw problem;
      }
    }
    this.#lockReason = mayChange ? "" : `Your role, ${role || "none"}, may read the settings and not change them.`;
    this.#banner("role", "info", this.#lockReason);
  }

  async #readServer() {
    const [system, current, pending] = await Promise.all([
      this.#api.get(SYSTEM),
      this.#api.getUnless(BIOS, ""),
      this.#api.getUnless(BIOS_SETTINGS, ""),
    ]);
    this.#system = system;
    this.#showServer();
    const id = String(pending.body.AttributeRegistry ?? "");
    if (this.#settings === null || this.#registryId !== id || !this.#hasSameSettings(pending.body.Attributes)) {
      await this.#readRegistry(id);
    }
    this.#take({ pending, current });
  }

  #hasSameSettings(attributes) {
    return Object.keys(attributes).length === this.#settings.list.length &&
      Object.keys(attributes).every((name) => this.#settings.byName.has(name));
  }

  async #readRegistry(id) {
    const files = await this.#api.get("/redfish/v1/Registries?$expand=.");
    const file = files.Members.find(({ Registry }) => Registry === id);
    const address = file?.Location?.find(({ Uri }) => typeof Uri === "string")?.Uri;
    if (address === undefined) {
      throw new ConnectionProblem("The service has no registry of its settings.");
    }
    const edits = this.#settings === null ? [] : [...this.#settings.edits];
    this.#settings = new Settings(readRegistry(await this.#api.get(address)));
    this.#registryId = id;
    this.#menus = null;
    this.#editsToKeep = edits;
  }

  // Takes what the service has. Returns the settings that others changed.
  #take({ pending = null, current = null }) {
    const changed = this.#settings.take({
      ...(pending === null ? {} : { pending: pending.body.Attributes }),
      ...(current === null ? {} : { current: current.body.Attributes }),
    });
    this.#tags.pending = pending?.etag ?? this.#tags.pending;
    this.#tags.current = current?.etag ?? this.#tags.current;
    if (this.#menus === null) {
      this.#menus = buildMenus(this.#settings);
      this.#menuView.build(this.#menus);
      this.#settings.editAll(this.#editsToKeep.filter(([name]) => this.#settings.byName.has(name)));
      this.#editsToKeep = [];
    }
    this.#showChanges();
    return changed;
  }

  // Reads again what changed. At most one update runs at a time; one that is wanted meanwhile
  // follows.
  #update() {
    if (this.#updating !== null) {
      this.#updating.again = true;
      return this.#updating.done;
    }
    const updating = { again: false, done: null };
    updating.done = (async () => {
      try {
        do {
          updating.again = false;
          await this.#updateOnce();
        } while (updating.again);
      } finally {
        this.#updating = null;
      }
    })();
    this.#updating = updating;
    return updating.done;
  }

  async #updateOnce() {
    if (this.#settings === null) {
      await this.#readAll();
    }
    const [pending, current, manager] = await Promise.all([
      this.#api.getUnless(BIOS_SETTINGS, this.#tags.pending),
      this.#api.getUnless(BIOS, this.#tags.current),
      this.#api.get(MANAGER),
    ]);
    this.#showService(manager);
    const isOther = pending !== null && (String(pending.body.AttributeRegistry ?? "") !== this.#registryId ||
      !this.#hasSameSettings(pending.body.Attributes));
    if (isOther) {
      await this.#readServer();
      this.#announce("The server has other settings now.");
      this.#route(false);
    } else if (pending !== null || current !== null) {
      if (this.#isSaving) {
        return; // the answer says what became of it
      }
      const changed = this.#take({ pending, current });
      // Others may belong to the list now. It is left alone while the user works in it.
      if (at("filter").value !== "all" && !at("view").contains(document.activeElement)) {
        this.#show();
      }
      if (changed.length > 0) {
        this.#announce(`${plural(changed.length, "saved value")} changed on the server.`);
      }
    }
    if (location.hash === HISTORY_ADDRESS) {
      await this.#history.update();
    }
  }

  #showServer() {
    const { HostName, BiosVersion, Name } = this.#system;
    const facts = [HostName, BiosVersion ? `BIOS ${BiosVersion}` : ""].filter(Boolean);
    setText(at("server-name"), facts.join(" · ") || String(Name ?? ""));
  }

  // Of the browser's tab: with the server's name, where it has one.
  #setTitle(text) {
    document.title = `${text} – ${this.#system.HostName || "Server setup"}`;
  }

  #showService(manager) {
    const conditions = manager?.Status?.Conditions;
    const isBad = manager?.Status?.Health === "Critical";
    this.#serviceProblem = !isBad ? ""
      : String((Array.isArray(conditions) ? conditions[0]?.Message : "") || "The server reports a problem.");
    this.#banner("service", "warning", this.#serviceProblem);
  }

  #showLive(state) {
    const live = at("live");
    live.className = `live is-${state}`;
    setText(live, LIVE_TEXTS[state]);
  }

  // --- what is shown

  #announce(text) {
    setText(at("announcement"), "");
    setTimeout(() => setText(at("announcement"), text), 50);
  }

  // A message above the settings; an empty text removes it. `details` are elements.
  #banner(id, kind, text, details = []) {
    const known = document.getElementById(`banner-${id}`);
    if (text === "") {
      known?.remove();
      return null;
    }
    if (known !== null && known.dataset.text === text && details.length === 0) {
      return known;
    }
    const isUrgent = kind === "error";
    const made = element("div", { id: `banner-${id}`, class: `banner ${kind}`,
      role: isUrgent ? "alert" : "status", tabIndex: -1 },
    element("p", {}, text), ...details);
    made.dataset.text = text;
    if (!["role", "service", "unread"].includes(id)) {
      made.append(button("Close", { class: "quiet small banner-close", onclick: () => {
        made.remove();
        this.#focusTitle();
      } }));
    }
    if (known === null) {
      at("banners").append(made);
    } else {
      known.replaceWith(made);
    }
    return made;
  }

  #clearBanners() {
    for (const id of ["problem", "result", "conflict"]) {
      this.#banner(id, "", "");
    }
  }

  #focusTitle() {
    const title = at("title") ?? at("content");
    title.focus();
  }

  #markHistory() {
    const link = at("history-link");
    if (location.hash === HISTORY_ADDRESS) {
      link?.setAttribute("aria-current", "page");
    } else {
      link?.removeAttribute("aria-current");
    }
  }

  #currentMenu() {
    const match = /^#\/menu\/(.*)$/.exec(location.hash);
    const all = menusBelow(this.#menus);
    if (match !== null) {
      let path = null;
      try {
        path = decodeURIComponent(match[1]);
      } catch {
        path = null;
      }
      const found = all.find((menu) => menu.path === path);
      if (found !== undefined) {
        return found;
      }
    }
    // The first menu with settings.
    return all.find(({ settings }) => settings.some((setting) => !this.#settings.isHidden(setting))) ?? this.#menus;
  }

  // Shows what the address says.
  #route(hasMoved) {
    if (this.#settings === null) {
      return;
    }
    if (hasMoved) {
      at("search").value = "";
      at("filter").value = "all";
    }
    this.#show();
    this.#markHistory();
    if (hasMoved) {
      window.scrollTo(0, 0);
      this.#focusTitle();
    }
  }

  #isFinding() {
    return at("search").value.trim() !== "" || at("filter").value !== "all";
  }

  #find() {
    if (this.#settings === null) {
      return;
    }
    if (location.hash === HISTORY_ADDRESS) {
      history.replaceState(null, "", "#/");
      this.#markHistory();
    }
    const count = this.#show();
    if (count !== null) {
      this.#announce(count === 0 ? "No setting was found." : `${plural(count, "setting")} found.`);
    }
  }

  #show() {
    this.#view = new SettingsView(at("view"), this.#settings, {
      onEdit: (setting, value) => this.#edit(setting, value),
      onUndo: (setting) => this.#undo(setting),
      lockReason: () => this.#lockReason,
    });
    let count = null;
    let menu = null;
    if (this.#isFinding()) {
      count = this.#view.showFound(this.#menus, at("search").value, at("filter").value);
      this.#setTitle(at("title").textContent);
    } else if (location.hash === HISTORY_ADDRESS) {
      this.#setTitle("History");
      this.#act(() => this.#history.show());
    } else {
      menu = this.#currentMenu();
      this.#view.showMenu(menu);
      this.#setTitle(menu.title || "Settings");
    }
    this.#menuView.select(menu);
    this.#showChanges();
    return count;
  }

  // Shows edits and their effects: in rows, menus and the bar.
  #showChanges() {
    const settings = this.#settings;
    this.#view?.update();
    this.#menuView.count((setting) => settings.isChanged(setting));
    const edits = settings.edits.size;
    const pending = settings.list.filter((setting) => settings.isPending(setting)).length;
    const isLocked = this.#lockReason !== "";
    at("save-bar").hidden = edits === 0 && pending === 0;
    setText(at("save-count"), edits > 0 ? `${plural(edits, "change")} not saved`
      : `${plural(pending, "saved change")} in effect after a restart`);
    const dependent = settings.dependent.size;
    const notes = [
      edits > 0 && dependent > 0 ? `${dependent} more by dependencies` : "",
      edits > 0 && pending > 0 ? `${pending} saved, in effect after a restart` : "",
    ];
    setText(at("save-note"), notes.filter(Boolean).join(" · "));
    for (const id of ["review-button", "discard-button", "save-button"]) {
      at(id).hidden = edits === 0;
    }
    at("save-button").disabled = this.#isSaving;
    at("restart-button").hidden = edits > 0 || isLocked;
  }

  #edit(setting, value) {
    this.#settings.edit(setting.name, value);
    this.#showChanges();
  }

  #undo(setting) {
    const { name } = setting;
    const isEdited = this.#settings.edits.has(name);
    this.#settings.edit(name, isEdited ? this.#settings.pending[name] : this.#settings.current[name]);
    this.#showChanges();
    this.#view.rows.get(name)?.focus();
    this.#announce(isEdited ? "The change is undone." : "The saved change will be taken back.");
  }

  // Shows a setting wherever it is.
  #goTo(name) {
    if (!this.#view.rows.has(name)) {
      const { menu } = this.#settings.byName.get(name);
      at("search").value = menu.isHidden ? name : "";
      at("filter").value = "all";
      history.pushState(null, "", menuAddress(menu.path));
      this.#show();
      this.#markHistory();
      if (!this.#view.rows.has(name)) {
        // It is further down than the first rows.
        at("search").value = name;
        this.#show();
      }
    }
    this.#view.rows.get(name)?.focus();
  }

  // A list of settings with reasons, each a way to its control.
  #reasonList(reasons) {
    const most = 20;
    const shown = reasons.slice(0, most).map(([name, text]) => {
      const setting = this.#settings.byName.get(name);
      return element("li", {},
        element("button", { type: "button", class: "link", onclick: () => this.#goTo(name) },
          this.#settings.displayName(setting)),
        text === "" ? "" : `: ${text}`);
    });
    if (reasons.length > most) {
      shown.push(element("li", {}, `and ${reasons.length - most} more`));
    }
    return element("ul", {}, ...shown);
  }

  // --- what the user does

  async #logOut() {
    const edits = this.#settings?.edits.size ?? 0;
    if (edits > 0 && !await confirmAction({ title: "Log out?", label: "Log out",
      content: [element("p", {}, `${plural(edits, "change")} will be lost.`)] })) {
      return;
    }
    this.#settings?.discard();
    this.#live.stop();
    try {
      await this.#api.logOut();
    } finally {
      this.#onLogout();
    }
  }

  // `isAgain`: the pending values had another version, but are those that the user saw.
  async #save(isAgain = false) {
    const settings = this.#settings;
    if (this.#isSaving) {
      return;
    }
    this.#clearBanners();
    const problems = settings.problems();
    if (problems.length > 0) {
      this.#banner("problem", "error",
        `Nothing was saved: ${plural(problems.length, "value is", "values are")} not allowed.`,
        [this.#reasonList(problems.map(([{ name }, reason]) => [name, reason]))]).focus();
      return;
    }
    const wanted = Object.fromEntries(settings.edits);
    this.#isSaving = true;
    this.#showChanges();
    let answer;
    try {
      answer = await this.#api.request("PATCH", BIOS_SETTINGS, {
        headers: { "If-Match": this.#tags.pending },
        body: { Attributes: wanted },
      });
    } catch (problem) {
      this.#isSaving = false;
      this.#showChanges();
      await this.#showRefusal(problem, isAgain);
      this.#update().catch(() => {}); // what came meanwhile was left for later
      return;
    }
    this.#isSaving = false;
    settings.refusals.clear();
    settings.forgetSaved(wanted);
    const hasValues = answer.status === 200 && answer.etag !== "" && answer.body?.Attributes !== undefined;
    this.#take({ pending: hasValues ? answer : await this.#api.getUnless(BIOS_SETTINGS, "") });
    this.#showSaved(Object.keys(wanted).length, messagesOf(answer.body));
    this.#update().catch(() => {});
  }

  #showSaved(count, messages) {
    const { bySetting } = sortMessages(messages.filter((message) => isMessage(message, "PropertyValueModified")),
      (name) => this.#settings.byName.has(name));
    const also = [...bySetting].map(([name, texts]) => [name, texts.join(" ")]);
    const text = `${plural(count, "change")} saved. The server uses ${count === 1 ? "it" : "them"} after a restart.`;
    const details = also.length === 0 ? []
      : [element("p", {}, "Dependencies changed more:"), this.#reasonList(also)];
    const banner = this.#banner("result", "success", text, details);
    // The button that had the focus is gone.
    banner.focus();
  }

  async #showRefusal(problem, isAgain) {
    if (!(problem instanceof Refusal)) {
      throw problem;
    }
    if (problem.status === 412) {
      await this.#showConflict(isAgain);
      return;
    }
    if (needsLogin(problem)) {
      return;
    }
    const { bySetting, others } = sortMessages(problem.messages, (name) => this.#settings.byName.has(name));
    this.#settings.refusals = bySetting;
    this.#showChanges();
    const reasons = [...bySetting].map(([name, texts]) => [name, texts.join(" ")]);
    const text = problem.status === 503
      ? `Nothing was saved: ${problem.message}${problem.retryAfter > 0
        ? ` Try again in ${plural(problem.retryAfter, "second")}.` : ""}`
      : `Nothing was saved. ${others.join(" ") || `The service refused ${plural(reasons.length, "value")}.`}`;
    this.#banner("problem", "error", text, reasons.length === 0 ? [] : [this.#reasonList(reasons)]).focus();
  }

  // The pending values are not those that the user saw: reads them, and keeps the edits.
  async #showConflict(isAgain) {
    const changed = this.#take({ pending: await this.#api.getUnless(BIOS_SETTINGS, "") });
    if (changed.length === 0 && this.hasEdits && !isAgain) {
      await this.#save(true);
      return;
    }
    const own = changed.filter((name) => this.#settings.edits.has(name));
    const reasons = changed.map((name) => {
      const setting = this.#settings.byName.get(name);
      const value = this.#settings.quotedValue(setting, this.#settings.pending[name]);
      return [name, own.includes(name)
        ? `is now ${value}; you want ${this.#settings.quotedValue(setting, this.#settings.value(setting))}`
        : `is now ${value}`];
    });
    const left = this.#settings.edits.size;
    const event = changed.length === 0 ? "the settings changed"
      : `somebody else changed ${plural(changed.length, "setting")}`;
    this.#banner("conflict", "warning", `Nothing was saved yet: ${event} meanwhile. ` +
      (left > 0 ? "Your changes are kept; look at them and save again." : "Your values are saved already."),
      [this.#reasonList(reasons)]).focus();
  }

  #discard() {
    const count = this.#settings.edits.size;
    this.#settings.discard();
    this.#clearBanners();
    this.#show();
    this.#focusTitle();
    this.#announce(`${plural(count, "change")} discarded.`);
  }

  #changeTable(changes) {
    const cell = (className, ...children) => element("td", { class: className }, ...children);
    const rows = changes.map(({ setting, from, to, note = "" }) => element("tr", {},
      element("th", { scope: "row" }, this.#settings.displayName(setting),
        element("code", { class: "setting-code" }, setting.name)),
      cell("", this.#settings.shownValue(setting, from)),
      cell("change-to", this.#settings.shownValue(setting, to),
        note === "" ? null : element("p", { class: "setting-problem" }, note))));
    const head = ["Setting", "Saved", "New"].map((title) => element("th", { scope: "col" }, title));
    return element("div", { class: "table-frame", tabIndex: 0, role: "region", "aria-label": "Changes" },
      element("table", {}, element("thead", {}, element("tr", {}, ...head)), element("tbody", {}, ...rows)));
  }

  async #review() {
    const settings = this.#settings;
    const changes = [...settings.edits].map(([name, to]) => {
      const setting = settings.byName.get(name);
      return { setting, from: settings.pending[name], to,
        note: settings.problemOf(setting, to) || settings.forbidden.get(name) || "" };
    });
    for (const [name, reason] of settings.dependent) {
      const setting = settings.byName.get(name);
      changes.push({ setting, from: settings.pending[name], to: settings.value(setting),
        note: `Because ${reason}` });
    }
    const chosen = await showDialog({ title: "Changes that are not saved", wide: true,
      content: [this.#changeTable(changes)],
      actions: [{ label: "Close", value: null }, { label: "Save", value: "save", kind: "primary" }] });
    if (chosen === "save") {
      await this.#save();
    }
  }

  async #reset() {
    const settings = this.#settings;
    const edits = settings.edits.size;
    const isSure = await confirmAction({ title: "Reset all settings to their defaults?", label: "Reset to defaults",
      content: [
        element("p", {}, "Every setting that can be changed gets its default, except those that identify " +
          "the server. The server uses the defaults after a restart; until then, the change can be taken " +
          "back setting by setting."),
        element("p", {}, edits === 0 ? "" : `${plural(edits, "change")} that you did not save will be lost.`),
      ] });
    if (!isSure) {
      return;
    }
    this.#clearBanners();
    await this.#api.request("POST", `${BIOS}/Actions/Bios.ResetBios`, { body: {} });
    settings.discard();
    await this.#update();
    this.#show();
    this.#banner("result", "success", "The settings have their defaults after the next restart.").focus();
  }

  async #restart() {
    const action = this.#system.Actions?.["#ComputerSystem.Reset"];
    const types = action?.["ResetType@Redfish.AllowableValues"];
    const type = !Array.isArray(types) || types.includes("GracefulRestart") ? "GracefulRestart" : String(types[0]);
    const settings = this.#settings;
    const edits = settings.edits.size;
    const pending = settings.list.filter((setting) => settings.isPending(setting)).length;
    const isSure = await confirmAction({ title: "Restart the server?", label: "Restart",
      content: [
        element("p", {}, pending === 0 ? "No saved change waits for a restart."
          : `${plural(pending, "saved change")} will be in effect afterwards.`),
        element("p", {}, edits === 0 ? "" : `${plural(edits, "change")} not saved will not be; ` +
          `${edits === 1 ? "it stays" : "they stay"} on this page.`),
      ] });
    if (!isSure) {
      return;
    }
    this.#clearBanners();
    await this.#api.request("POST", String(action?.target ?? `${SYSTEM}/Actions/ComputerSystem.Reset`),
      { body: { ResetType: type } });
    await this.#update();
    this.#banner("result", "success", "The server was restarted. Saved settings are in effect.").focus();
  }

  get #identity() {
    return { registryVersion: this.#settings.registry.version, buildId: String(this.#system.BiosVersion ?? "") };
  }

  #export() {
    const build = this.#identity.buildId.replace(/[^A-Za-z0-9.-]+/g, "_");
    offerFile(`settings${build === "" ? "" : `-${build}`}.json`, exportState(this.#settings, this.#identity));
    const edits = this.#settings.edits.size;
    if (edits > 0) {
      this.#banner("result", "info", `The file has the saved values, without ${plural(edits, "change")} that ` +
        `${edits === 1 ? "is" : "are"} not saved.`);
    }
    this.#announce("The saved values were exported.");
  }

  async #import() {
    const file = await chooseFile(".json,.txt,.conf,application/json,text/plain");
    if (file === null) {
      return;
    }
    this.#clearBanners();
    if (file.size > SIZE_LIMIT) {
      this.#banner("problem", "error", `${file.name} is larger than ${SIZE_LIMIT / 1024 / 1024} MiB.`).focus();
      return;
    }
    let text;
    let bytes;
    try {
      bytes = await file.arrayBuffer();
    } catch {
      this.#banner("problem", "error", `${file.name} cannot be read.`).focus();
      return;
    }
    try {
      text = new TextDecoder("utf-8", { fatal: true }).decode(bytes);
    } catch {
      this.#banner("problem", "error", `${file.name} is not a UTF-8 text.`).focus();
      return;
    }
    const plan = planState(parseState(text), this.#settings, this.#identity);
    const list = (title, texts) => (texts.length === 0 ? []
      : [element("h3", {}, title), element("ul", { class: "problems" },
        ...texts.slice(0, 100).map((line) => element("li", {}, line)),
        ...(texts.length > 100 ? [element("li", {}, `and ${texts.length - 100} more`)] : []))]);
    const facts = [`${plural(plan.changes.length, "setting")} would change, ${plan.same} already ` +
      `${plan.same === 1 ? "has its value" : "have their values"}.`];
    if (plan.remaining.length > 0) {
      facts.push(`${plural(plan.remaining.length, "read-only setting")} would remain as ` +
        `${plan.remaining.length === 1 ? "it is" : "they are"}.`);
    }
    const chosen = await showDialog({ title: `Import ${file.name}`, wide: true,
      content: [
        element("p", {}, facts.join(" "), " Nothing is saved yet."),
        ...list("Notes", plan.warnings),
        ...list("These entries are left out", plan.problems),
        ...(plan.changes.length === 0 ? [] : [this.#changeTable(plan.changes)]),
      ],
      actions: [{ label: "Cancel", value: null },
        { label: `Take ${plural(plan.changes.length, "change")}`, value: "take", kind: "primary",
          isDisabled: plan.changes.length === 0 }] });
    if (chosen !== "take") {
      return;
    }
    this.#settings.editAll(plan.changes.map(({ setting, to }) => [setting.name, to]));
    at("search").value = "";
    at("filter").value = "changed";
    this.#show();
    this.#focusTitle();
    this.#announce(`${plural(plan.changes.length, "change")} imported and not saved.`);
  }
}
