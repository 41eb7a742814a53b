// A setting on the page: its name, help, control, pending and current value, and what is wrong.

import { button, element, icon, newId, setText } from "./dom.js";
import { makeValueInput } from "./value_input.js";

export class SettingRow {
  #settings;
  #lockReason;
  #input;
  #parts;

  /** `onEdit(setting, value)` and `onUndo(setting)`, which takes back an edit or otherwise a saved
   * change, are called when the user does so. `lockReason()` is why the user may change nothing, or an
   * empty text. */
  constructor(setting, settings, { onEdit, onUndo, lockReason }) {
    this.setting = setting;
    this.#settings = settings;
    this.#lockReason = lockReason;
    this.#input = makeValueInput(setting, (value) => onEdit(setting, value));
    const id = newId("setting");
    const text = (part, className, tag = "p") => element(tag, { class: className, id: `${id}-${part}` });
    this.#parts = {
      label: element("label", { for: id, class: "setting-name" }),
      help: text("help", "setting-help"),
      warning: element("p", { class: "setting-warning", id: `${id}-warning` }, icon("warning"), element("span")),
      locked: element("p", { class: "setting-locked", id: `${id}-locked` }, icon("lock"), element("span")),
      allowed: text("allowed", "setting-allowed"),
      state: text("state", "setting-state"),
      problem: element("p", { class: "setting-problem", id: `${id}-problem` }, icon("warning"), element("span")),
      undo: button("", { class: "quiet small", onclick: () => onUndo(setting) }, "undo"),
    };
    const parts = this.#parts;
    this.#input.control.id = id;
    this.element = element("div", { class: "setting" },
      element("div", { class: "setting-about" }, parts.label,
        element("code", { class: "setting-code" }, setting.name), parts.help, parts.warning),
      element("div", { class: "setting-value" },
        element("div", { class: "setting-control" }, this.#input.control, this.#input.extra ?? null, parts.undo),
        parts.allowed, parts.problem, parts.state, parts.locked));
    this.element.dataset.setting = setting.name;
    this.update();
  }

  /** Where the focus goes when a message refers to the setting. */
  focus() {
    const target = this.#input.control.disabled ? this.element : this.#input.control;
    if (target === this.element) {
      this.element.tabIndex = -1;
    }
    target.focus();
    this.element.scrollIntoView({ block: "center" });
  }

  #show(part, text) {
    const target = this.#parts[part];
    setText(target.querySelector("span") ?? target, text);
    target.hidden = text === "";
    return text === "" ? "" : target.id;
  }

  #problem(value) {
    const settings = this.#settings;
    const { setting } = this;
    const refused = settings.refusals.get(setting.name);
    if (refused !== undefined) {
      return `Refused: ${refused.join(" ")}`;
    }
    if (!settings.edits.has(setting.name)) {
      return "";
    }
    const own = settings.problemOf(setting, value);
    if (own !== "") {
      return own;
    }
    const forbidden = settings.forbidden.get(setting.name);
    if (forbidden !== undefined) {
      return `The service will refuse this: ${forbidden}.`;
    }
    return settings.mayDifferFromPattern(setting, value)
      ? `Seems not to match the pattern ${settings.property(setting, "ValueExpression")}.` : "";
  }

  #state() {
    const settings = this.#settings;
    const { setting } = this;
    const name = (value) => settings.quotedValue(setting, value);
    const current = name(settings.current[setting.name]);
    const pending = name(settings.pending[setting.name]);
    const lines = [];
    if (settings.edits.has(setting.name)) {
      lines.push(settings.isPending(setting) ? `Not saved. Saved: ${pending}; now: ${current}.`
        : `Not saved. Now: ${pending}.`);
    } else if (settings.dependent.has(setting.name)) {
      lines.push(`Will be set too, because ${settings.dependent.get(setting.name)}. Now: ${pending}.`);
    } else if (settings.isPending(setting)) {
      lines.push(`From the next restart on. Now: ${current}.`);
    }
    if (settings.conflicts.has(setting.name)) {
      const before = name(settings.conflicts.get(setting.name));
      lines.push(`Somebody else changed the saved value from ${before} to ${pending}.`);
    }
    return lines.join(" ");
  }

  /** Shows what the settings say now. */
  update() {
    const settings = this.#settings;
    const { setting } = this;
    const value = settings.value(setting);
    const { control } = this.#input;
    const isEdited = settings.edits.has(setting.name);
    setText(this.#parts.label, settings.displayName(setting));
    this.#input.show(value);
    this.#input.limit?.({
      lower: settings.property(setting, "LowerBound"),
      upper: settings.property(setting, "UpperBound"),
      step: settings.property(setting, "ScalarIncrement"),
    });
    const menu = setting.menu;
    const lockReason = this.#lockReason();
    const locked = settings.lockedBecause(setting) ||
      (menu.isReadOnly ? "The menu is read-only" : menu.isGray ? "The menu is not available" : "");
    control.disabled = lockReason !== "" || locked !== "";
    const described = [
      this.#show("help", settings.property(setting, "HelpText") || ""),
      this.#show("warning", settings.property(setting, "WarningText") || ""),
      this.#show("allowed", locked === "" ? settings.allowedValues(setting) : ""),
      this.#show("problem", this.#problem(value)),
      this.#show("state", this.#state()),
      this.#show("locked", locked === "" ? "" : `${locked}.`),
    ].filter((id) => id !== "");
    if (described.length > 0) {
      control.setAttribute("aria-describedby", described.join(" "));
    } else {
      control.removeAttribute("aria-describedby");
    }
    const isWrong = !this.#parts.problem.hidden;
    control.setAttribute("aria-invalid", String(isWrong));
    const mayTakeBack = isEdited || (settings.isPending(setting) && !control.disabled &&
      !settings.dependent.has(setting.name) && setting.type !== "Password");
    this.#parts.undo.hidden = !mayTakeBack || lockReason !== "";
    setText(this.#parts.undo.querySelector("span"), isEdited ? "Undo" : "Take back");
    this.#parts.undo.setAttribute("aria-label",
      `${isEdited ? "Undo" : "Take back"} the change of ${settings.displayName(setting)}`);
    this.element.classList.toggle("is-edited", isEdited);
    this.element.classList.toggle("is-dependent", settings.dependent.has(setting.name));
    this.element.classList.toggle("is-pending", !isEdited && settings.isPending(setting));
    this.element.classList.toggle("is-wrong", isWrong);
    this.element.classList.toggle("is-locked", locked !== "");
    this.element.hidden = settings.isHidden(setting) && !isEdited;
  }
}
